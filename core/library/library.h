// Library keeps captures and carries each one through the pipeline in the
// background: its text is read, the vision model describes it, it is embedded
// in the spaces `look` and `meaning`, and it is filed in a collection. Each
// stage is recorded in the store the moment it is done, so a crash or a quit
// costs at most the stage under way: the next work() takes every unfinished
// capture up at the stage its row names. A failed stage keeps its stage and
// gets the words of the failure and a retry time; there is no failed state
// and no last try.
//
// The pipeline needs a MediaWork to read pictures and hear videos. A Library
// made without one has no pipeline: it keeps, edits and searches, and its
// captures wait at the stage they have for a Library that has one.
//
// Thread rules:
// - The pipeline runs on the thread of its WorkLoop, one capture at a time,
//   so the vision model gets one request at a time. work() waits for it;
//   startWork() only asks.
// - keep, keepImported, the edits and the reads of store() may be called from
//   any thread. They run on the caller's thread against the store, whose
//   connection serialises them with the pipeline's writes, and never wait for
//   the pipeline or a model call. So a stage can't assume the row is as it
//   was: a capture deleted during its description is simply found gone.
// - onChange is called on the thread that made the change: the pipeline's,
//   or the caller of keep and the edits. No lock of the Library is held during
//   the call, so the handler may call back into the Library. The
//   application's handler runs its reload on its UI thread and waits for it;
//   when it is already on that thread it must run the reload directly, and
//   the UI thread must never call work() (it would wait on a pipeline that
//   waits on the UI thread): it calls startWork().
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/library/filing.h"
#include "core/library/library_files.h"
#include "core/library/library_search.h"
#include "core/library/media_work.h"
#include "core/library/pipeline.h"
#include "core/library/vector_index.h"
#include "core/library/work_loop.h"
#include "core/model/bytes.h"
#include "core/model/capture.h"
#include "core/model/imported_capture.h"
#include "core/organizing/organizer.h"
#include "core/search/search_findings.h"
#include "core/store/library_store.h"
#include "core/understanding/ollama_client.h"

namespace brindlemoor {

class Library {
 public:
  using OnChange = std::function<void()>;

  // Starts idle. `visionModel` describes and names, `embeddingModel` embeds;
  // `organizer` holds the thresholds of filing; `media` reads and hears for
  // the pipeline, and with nullptr there is no pipeline.
  Library(std::unique_ptr<LibraryStore> store, OllamaClient client, std::string visionModel,
          std::string embeddingModel, Organizer organizer, std::unique_ptr<const MediaWork> media);
  // Stops the pipeline after the capture in hand.
  ~Library();
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  // The store the pipeline writes to; its reads may be made from any thread.
  LibraryStore& store() { return *m_store; }
  const OllamaClient& client() const { return m_client; }

  // The vision model for descriptions and names. A change applies from the
  // next description; one under way finishes with the old model.
  std::string visionModel() const;
  void setVisionModel(std::string name);
  const std::string& embeddingModel() const { return m_embeddingModel; }

  // Replaces the change callback (nothing to stop calling it).
  void setOnChange(OnChange handler);

  // Writes the picture and its thumbnail, atomically, then the row; calls
  // onChange and starts the pipeline without waiting for it. Throws
  // Files::Failure or Database::Failure; then no row is written (files
  // written before the failure stay) and nothing else happens.
  void keep(const Capture& capture, const Bytes& png, const Bytes& thumbnail);
  // The same for an imported photo or video: its working picture at
  // imageURL(capture), thumbnail, contact sheet if any, and a copy of
  // `original` at the capture's originalFile. Throws as keep does.
  void keepImported(const ImportedCapture& imported, const std::filesystem::path& original);

  // Returns once the pipeline has nothing it can do now: every capture not
  // organized has been taken as far as it goes, or waits for its retry time.
  // Never throws. Not to be called from the thread onChange waits on.
  // Without a pipeline it returns at once.
  void work();
  // Asks for the same without waiting for it; without a pipeline, nothing.
  void startWork();
  // One process's pipeline works on a library at a time. While another's
  // does, a drain leaves the captures to it, or waits for it when told to.
  void setWhenOthersWork(WorkLoop::WhenOthersWork choice);
  // Whether another process's pipeline is working on this library now.
  bool othersWork();

  // --- Search (LibrarySearch). None of these throws. ---

  static constexpr float relatedFloor = LibrarySearch::relatedFloor;

  // LibrarySearch::findings: full text and both vector spaces merged by
  // rank, with why each came up and the collections the query covered.
  SearchFindings findings(std::string_view query) const { return m_search.findings(query); }
  // The captures of findings(query), in order.
  std::vector<Capture> search(std::string_view query) const;
  // LibrarySearch::related: the captures whose meaning is most alike.
  std::vector<Capture> related(const std::string& id, std::size_t limit) const {
    return m_search.related(id, limit);
  }

  // The user's edits. None moves a stage or starts the pipeline; a store
  // failure is dropped, and each ends in one onChange, failed or not.
  void setNote(const std::string& id, const std::optional<std::string>& note);
  void setFavorite(const std::string& id, bool favorite);
  void setTags(const std::string& id, const std::vector<std::string>& tags);
  // Files the capture in `to`, or makes it unsorted; a collection left empty
  // goes at once.
  void move(const std::string& id, const std::optional<std::string>& to);
  // A rename by the user, which automatic naming never undoes.
  void renameCollection(const std::string& id, const std::string& name, const std::string& emoji);
  // Removes the capture and its files; a collection left empty goes at once.
  void deleteCapture(const std::string& id);

 private:
  void changed();
  void edit(std::initializer_list<std::function<void()>> steps);

  std::unique_ptr<LibraryStore> m_store;
  const OllamaClient m_client;
  const std::string m_embeddingModel;

  mutable std::mutex m_mutex;
  std::string m_visionModel;  // guarded by m_mutex
  OnChange m_onChange;        // guarded by m_mutex

  // The captures filing and search look at: the newest 100,000.
  static constexpr std::int64_t kWindow = 100'000;
  LibraryFiles m_files;
  VectorIndex m_index;
  LibrarySearch m_search;
  Filing m_filing;

  const std::unique_ptr<const MediaWork> m_media;
  // None without m_media. The loop last: its thread starts once everything
  // it uses is there.
  const std::unique_ptr<Pipeline> m_pipeline;
  const std::unique_ptr<WorkLoop> m_loop;
};

}  // namespace brindlemoor
