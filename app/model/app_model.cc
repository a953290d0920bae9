#include "app/model/app_model.h"

#include <unicode/calendar.h>

#include <QElapsedTimer>
#include <QTimer>
#include <algorithm>

#include "core/understanding/models.h"

namespace brindlemoor {

namespace {

// Store reads of the interface drop their errors and show the empty value.
template <class Read, class Value = std::invoke_result_t<Read>>
Value orEmpty(Read read) {
  try {
    return read();
  } catch (const std::exception&) {
    return Value{};
  }
}

std::unique_ptr<icu::Calendar> calendar() {
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<icu::Calendar> made(icu::Calendar::createInstance(status));
  return U_SUCCESS(status) ? std::move(made) : nullptr;
}

// Where the time filter's period begins, now, or nothing without one.
std::optional<Date> periodStart(std::optional<TimeShelf> time) {
  if (!time) return std::nullopt;
  const auto cal = calendar();
  if (!cal) return std::nullopt;
  return time->start(now(), *cal);
}

}  // namespace

AppModel::AppModel(const std::filesystem::path& root, const std::string& ollamaHost,
                   const std::string& visionModel, std::unique_ptr<const MediaWork> media,
                   QObject* parent)
    : QObject(parent),
      m_library(std::make_unique<Library>(std::make_unique<LibraryStore>(root),
                                          OllamaClient(ollamaHost), visionModel,
                                          std::string(Models::embedding), Organizer(),
                                          std::move(media))),
      m_store(std::make_unique<LibraryStore>(root)) {}

AppModel::~AppModel() {
  m_library->setOnChange({});
}

void AppModel::start() {
  m_library->setOnChange([this] { libraryChanged(); });
  reload();
  m_library->startWork();
}

void AppModel::libraryChanged() {
  // Changes come in bursts (a stage, then a filing); one reload serves all
  // that came before it ran.
  if (m_reloadPosted.exchange(true)) return;
  QMetaObject::invokeMethod(
      this,
      [this] {
        m_reloadPosted = false;
        reload();
      },
      Qt::QueuedConnection);
}

void AppModel::reload() {
  LibraryStore& store = *m_store;
  m_captures = orEmpty([&] { return store.captures(500, m_shelf.filter()); });
  m_collections = orEmpty([&] { return store.collections(); });
  std::erase_if(m_collections, [](const CaptureCollection& c) { return c.count <= 0; });
  m_kinds = orEmpty([&] { return store.kindCounts(); });
  m_sources = orEmpty([&] { return store.sourceCounts(30); });
  const std::int64_t total = orEmpty([&] { return store.count(); });
  m_latest.set(orEmpty([&] { return store.captures(4, LibraryFilter::recent()); }));
  m_favoritesCount = orEmpty([&] { return store.count(LibraryFilter::favorites(), 100000); });
  m_unsortedCount = orEmpty([&] { return store.count(LibraryFilter::unsorted(), 100000); });
  m_mediaCounts = orEmpty([&] { return store.mediaCounts(); });
  m_timeCounts.clear();
  if (const auto cal = calendar()) {
    for (const TimeShelf& time : TimeShelf::all()) {
      m_timeCounts[time] = orEmpty([&] { return store.count(time.start(now(), *cal)); });
    }
  }
  // Every unfinished capture counts, also one that waits for its retry.
  const std::int64_t understanding = orEmpty([&] { return store.unfinishedCount(10000); });
  m_covers.clear();
  for (const CaptureCollection& each : m_collections) {
    m_covers[each.id] = orEmpty([&] { return store.captures(3, LibraryFilter::collection(each.id)); });
  }
  if (m_lastKept) {
    if (auto fresh = orEmpty([&] { return store.capture(m_lastKept->id); })) {
      m_lastKept = std::move(fresh);
      Q_EMIT lastKeptChanged();
    }
  }
  if (total != m_total) {
    m_total = total;
    Q_EMIT totalChanged();
  }
  if (understanding != m_understanding) {
    m_understanding = understanding;
    Q_EMIT understandingChanged();
  }
  refreshShown();
  Q_EMIT shelfTitleChanged();
  Q_EMIT reloaded();
  if (!m_query.isEmpty()) searchSoon(0);
}

void AppModel::setQuery(const QString& query) {
  m_query = query;
  Q_EMIT queryChanged();
  searchSoon(kQueryPauseMilliseconds);
}

void AppModel::searchSoon(int delayMilliseconds) {
  const std::uint64_t generation = ++m_searchGeneration;
  const QString trimmed = m_query.trimmed();
  if (trimmed.isEmpty()) {
    m_findings.reset();
    if (m_searching) {
      m_searching = false;
      Q_EMIT searchingChanged();
    }
    refreshShown();
    return;
  }
  if (!m_searching) {
    m_searching = true;
    Q_EMIT searchingChanged();
  }
  QTimer::singleShot(delayMilliseconds, this, [this, generation, text = trimmed.toStdString()] {
    if (generation != m_searchGeneration) return;
    m_queue.post([this, generation, text] {
      QElapsedTimer clock;
      clock.start();
      SearchFindings found = m_library->findings(text);
      const auto elapsed = static_cast<int>(clock.elapsed());
      QMetaObject::invokeMethod(
          this,
          [this, generation, elapsed, found = std::move(found)]() mutable {
            if (generation != m_searchGeneration) return;
            m_searchMilliseconds = elapsed;
            m_findings = std::move(found);
            m_searching = false;
            Q_EMIT searchingChanged();
            refreshShown();
            Q_EMIT reloaded();
          },
          Qt::QueuedConnection);
    });
  });
}

QString AppModel::shelfTitle() const {
  return QString::fromStdString(m_shelf.title(m_collections));
}

void AppModel::setSelectedID(const QString& id) {
  std::optional<std::string> chosen;
  if (!id.isEmpty()) chosen = id.toStdString();
  if (chosen == m_selectedID) return;
  m_selectedID = std::move(chosen);
  Q_EMIT selectedIDChanged();
}

void AppModel::addImporting(int delta) {
  m_importing += delta;
  Q_EMIT importingChanged();
}

void AppModel::setShelf(const Shelf& shelf) {
  if (shelf == m_shelf) return;
  m_shelf = shelf;
  m_mediaFilter.reset();
  reload();
}

void AppModel::setMediaFilter(std::optional<CaptureMedia> media) {
  m_mediaFilter = media;
  refreshShown();
}

void AppModel::setTimeFilter(std::optional<TimeShelf> time) {
  m_timeFilter = time;
  refreshShown();
}

void AppModel::refreshShown() {
  std::vector<Capture> shown;
  if (m_findings) {
    for (const SearchHit& hit : m_findings->hits) shown.push_back(hit.capture);
  } else {
    const std::optional<Date> since = periodStart(m_timeFilter);
    for (const Capture& capture : m_captures) {
      if (m_mediaFilter && capture.media != *m_mediaFilter) continue;
      if (since && capture.createdAt < *since) continue;
      shown.push_back(capture);
    }
  }
  m_shown.set(std::move(shown));
}

std::map<CaptureMedia, std::int64_t> AppModel::shelfMediaCounts() const {
  const std::optional<Date> since = periodStart(m_timeFilter);
  std::map<CaptureMedia, std::int64_t> counts;
  for (const Capture& capture : m_captures) {
    if (since && capture.createdAt < *since) continue;
    ++counts[capture.media];
  }
  return counts;
}

std::optional<Capture> AppModel::newest() const {
  if (m_latest.captures().empty()) return std::nullopt;
  return m_latest.captures().front();
}

std::optional<Capture> AppModel::selected() {
  if (!m_selectedID) return std::nullopt;
  for (const Capture& capture : shown()) {
    if (capture.id == *m_selectedID) return capture;
  }
  return orEmpty([&] { return m_store->capture(*m_selectedID); });
}

std::optional<CaptureCollection> AppModel::collection(const std::optional<std::string>& id) const {
  if (!id) return std::nullopt;
  for (const CaptureCollection& each : m_collections) {
    if (each.id == *id) return each;
  }
  return std::nullopt;
}

void AppModel::setLastKept(const Capture& capture) {
  m_lastKept = capture;
  Q_EMIT lastKeptChanged();
}

void AppModel::later(std::function<void(Library&)> edit) {
  m_queue.post([this, edit = std::move(edit)] { edit(*m_library); });
}

void AppModel::setVisionModel(const QString& name) {
  later([name = name.toStdString()](Library& library) { library.setVisionModel(name); });
}

void AppModel::setNote(const std::string& id, const std::string& note) {
  later([id, note](Library& library) { library.setNote(id, note); });
}

void AppModel::toggleFavorite(const Capture& capture) {
  later([id = capture.id, favorite = !capture.favorite](Library& library) {
    library.setFavorite(id, favorite);
  });
}

void AppModel::setTags(const std::string& id, const std::vector<std::string>& tags) {
  later([id, tags](Library& library) { library.setTags(id, tags); });
}

void AppModel::move(const std::string& id, const std::optional<std::string>& to) {
  later([id, to](Library& library) { library.move(id, to); });
}

void AppModel::renameCollection(const std::string& id, const std::string& name,
                                const std::string& emoji) {
  later([id, name, emoji](Library& library) { library.renameCollection(id, name, emoji); });
}

void AppModel::deleteCapture(const std::string& id) {
  if (m_selectedID == id) setSelectedID({});
  later([id](Library& library) { library.deleteCapture(id); });
}

void AppModel::toggleSelectedFavorite() {
  if (const std::optional<Capture> capture = selected()) toggleFavorite(*capture);
}

void AppModel::step(int delta) {
  if (!m_selectedID) return;
  const std::vector<Capture>& list = shown();
  const auto at = std::find_if(list.begin(), list.end(),
                               [&](const Capture& c) { return c.id == *m_selectedID; });
  if (at == list.end()) return;
  const auto index = (at - list.begin()) + delta;
  if (index < 0 || index >= static_cast<std::ptrdiff_t>(list.size())) return;
  setSelectedID(QString::fromStdString(list[static_cast<std::size_t>(index)].id));
}

void AppModel::startWork() {
  m_library->startWork();
}

}  // namespace brindlemoor
