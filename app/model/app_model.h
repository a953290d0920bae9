// AppModel is the one object every window of the application observes. It
// owns the Library (the pipeline) and a LibraryStore of its own for reading,
// holds what the windows show, and turns the user's actions into calls on
// the Library. It never writes to the store: the Library does, and its
// change callback brings a reload, which reads everything again.
//
// Threads: everything here belongs to the GUI thread. The Library's change
// callback may come from any thread and is moved there; edits and searches
// run on a queue of the model's, so that a store write or a model call never
// stalls the windows.
#pragma once

#include <QObject>
#include <QString>
#include <atomic>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "app/model/capture_list.h"
#include "core/model/serial_queue.h"
#include "app/model/shelf.h"
#include "core/library/library.h"
#include "core/model/capture_collection.h"
#include "core/model/capture_media.h"
#include "core/model/time_shelf.h"
#include "core/search/search_findings.h"
#include "core/store/library_store.h"

namespace brindlemoor {

class AppModel : public QObject {
  Q_OBJECT
  Q_PROPERTY(int total READ total NOTIFY totalChanged)
  Q_PROPERTY(int understanding READ understanding NOTIFY understandingChanged)
  Q_PROPERTY(int importing READ importing NOTIFY importingChanged)
  Q_PROPERTY(QString query READ query WRITE setQuery NOTIFY queryChanged)
  Q_PROPERTY(bool searching READ searching NOTIFY searchingChanged)
  Q_PROPERTY(bool searchingNow READ searchingNow NOTIFY queryChanged)
  Q_PROPERTY(QString shelfTitle READ shelfTitle NOTIFY shelfTitleChanged)
  Q_PROPERTY(QString selectedID READ selectedID WRITE setSelectedID NOTIFY selectedIDChanged)
  Q_PROPERTY(brindlemoor::CaptureList* latest READ latestList CONSTANT)
  Q_PROPERTY(brindlemoor::CaptureList* shown READ shownList CONSTANT)

 public:
  // How long the model waits after the last change of the query.
  static constexpr int kQueryPauseMilliseconds = 250;

  // Opens the library's two connections at `root` and the Library with the
  // user's vision model, talking to Ollama at `ollamaHost`. Throws what
  // LibraryStore throws. Call start() once the callers are connected.
  AppModel(const std::filesystem::path& root, const std::string& ollamaHost,
           const std::string& visionModel, std::unique_ptr<const MediaWork> media,
           QObject* parent = nullptr);
  ~AppModel() override;

  // Hears the Library's changes, reloads, and starts the pipeline.
  void start();

  Library& library() { return *m_library; }
  LibraryStore& store() { return *m_store; }

  // --- What is shown ---
  int total() const { return static_cast<int>(m_total); }
  int understanding() const { return static_cast<int>(m_understanding); }
  int importing() const { return m_importing; }
  void addImporting(int delta);
  QString query() const { return m_query; }
  void setQuery(const QString& query);  // also the same text: searches again soon
  bool searching() const { return m_searching; }
  // The query has words, not only spaces: the search page is what shows.
  bool searchingNow() const { return !m_query.trimmed().isEmpty(); }
  QString shelfTitle() const;
  QString selectedID() const { return m_selectedID ? QString::fromStdString(*m_selectedID) : ""; }
  void setSelectedID(const QString& id);
  CaptureList* latestList() { return &m_latest; }
  CaptureList* shownList() { return &m_shown; }

  const Shelf& shelf() const { return m_shelf; }
  // A different shelf forgets the media tab and reloads; the same does
  // nothing. The time filter stays.
  void setShelf(const Shelf& shelf);
  void setMediaFilter(std::optional<CaptureMedia> media);
  void setTimeFilter(std::optional<TimeShelf> time);

  const std::vector<Capture>& captures() const { return m_captures; }
  const std::optional<SearchFindings>& findings() const { return m_findings; }
  int searchMilliseconds() const { return m_searchMilliseconds; }
  const std::vector<CaptureCollection>& collections() const { return m_collections; }
  const std::map<std::string, std::vector<Capture>>& covers() const { return m_covers; }
  const std::vector<std::pair<CaptureKind, std::int64_t>>& kinds() const { return m_kinds; }
  const std::vector<std::pair<std::string, std::int64_t>>& sources() const { return m_sources; }
  std::int64_t favoritesCount() const { return m_favoritesCount; }
  std::int64_t unsortedCount() const { return m_unsortedCount; }
  const std::map<TimeShelf, std::int64_t>& timeCounts() const { return m_timeCounts; }
  const std::map<CaptureMedia, std::int64_t>& mediaCounts() const { return m_mediaCounts; }
  // The captures on screen: the search's hits in their order while one
  // stands, else the shelf's captures through the media and time filters.
  const std::vector<Capture>& shown() const { return m_shown.captures(); }
  // The shelf's captures through the time filter alone, counted by media.
  std::map<CaptureMedia, std::int64_t> shelfMediaCounts() const;
  std::optional<Capture> newest() const;
  // The capture of selectedID: from what is shown, else from the store.
  std::optional<Capture> selected();
  std::optional<CaptureCollection> collection(const std::optional<std::string>& id) const;
  const std::optional<Capture>& lastKept() const { return m_lastKept; }
  void setLastKept(const Capture& capture);

  // --- Actions ---
  Q_INVOKABLE void reload();
  // Searches for the query after `delay`, replacing a search that waits or
  // runs: the answer of a replaced one is dropped.
  void searchSoon(int delayMilliseconds);
  void setVisionModel(const QString& name);
  void setNote(const std::string& id, const std::string& note);
  void toggleFavorite(const Capture& capture);
  void setTags(const std::string& id, const std::vector<std::string>& tags);
  void move(const std::string& id, const std::optional<std::string>& to);
  void renameCollection(const std::string& id, const std::string& name, const std::string& emoji);
  // Closes the capture first when it is the one open.
  void deleteCapture(const std::string& id);
  // The open capture's favourite, turned over.
  Q_INVOKABLE void toggleSelectedFavorite();
  // Moves the selection through what is shown, without wrapping.
  Q_INVOKABLE void step(int delta);
  // Starts the pipeline without waiting for it.
  void startWork();

 Q_SIGNALS:
  void totalChanged();
  void understandingChanged();
  void importingChanged();
  void queryChanged();
  void searchingChanged();
  void shelfTitleChanged();
  void selectedIDChanged();
  // After every reload and every search answer: anything read may differ.
  void reloaded();
  void lastKeptChanged();
  // Space on an open capture: a closer look is wanted.
  void closerLook();

 private:
  void libraryChanged();
  void refreshShown();
  // Runs `edit` on the library's queue, never on the GUI thread.
  void later(std::function<void(Library&)> edit);

  std::unique_ptr<Library> m_library;
  std::unique_ptr<LibraryStore> m_store;
  SerialQueue m_queue;
  std::atomic<bool> m_reloadPosted = false;

  Shelf m_shelf;
  QString m_query;
  std::optional<CaptureMedia> m_mediaFilter;
  std::optional<TimeShelf> m_timeFilter;
  std::vector<Capture> m_captures;
  std::optional<SearchFindings> m_findings;
  int m_searchMilliseconds = 0;
  bool m_searching = false;
  std::uint64_t m_searchGeneration = 0;
  std::map<std::string, std::vector<Capture>> m_covers;
  std::vector<CaptureCollection> m_collections;
  std::vector<std::pair<CaptureKind, std::int64_t>> m_kinds;
  std::vector<std::pair<std::string, std::int64_t>> m_sources;
  std::int64_t m_total = 0;
  std::int64_t m_favoritesCount = 0;
  std::int64_t m_unsortedCount = 0;
  std::map<TimeShelf, std::int64_t> m_timeCounts;
  std::map<CaptureMedia, std::int64_t> m_mediaCounts;
  int m_importing = 0;
  std::int64_t m_understanding = 0;
  std::optional<std::string> m_selectedID;
  std::optional<Capture> m_lastKept;
  CaptureList m_latest;
  CaptureList m_shown;
};

}  // namespace brindlemoor
