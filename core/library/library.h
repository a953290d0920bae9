// Library keeps captures and carries each one through the pipeline, from
// `captured` to `organized`, in the background. A capture's progress is its
// stage in the store and nothing else, so the pipeline needs no shutdown: the
// next work() after a crash or a quit takes every unfinished capture up at
// the stage its row names.
//
// Thread rules:
// - One pipeline thread, owned by the Library, is its serial executor: it
//   alone runs the drain, so exactly one drain exists at any moment however
//   many work() calls arrive from however many threads, and one capture at a
//   time is being advanced.
// - keep, keepImported, the edits and the reads of store() may be called from
//   any thread. They run on the caller's thread against the store (whose
//   connection serialises them with the pipeline's writes) and never wait for
//   the drain or a model call.
// - onChange is called on the thread that made the change: the pipeline
//   thread, or the caller of keep and the edits. No lock of the Library is
//   held during the call, so the handler may call back into the Library. The
//   application's handler runs its reload on its UI thread and waits for it;
//   when it is already on that thread it must run the reload directly, and the
//   UI thread must never call work() (it would wait on a drain that waits on
//   the UI thread): it calls startWork().
#pragma once

#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "core/media/media_importer.h"
#include "core/model/bytes.h"
#include "core/model/capture.h"
#include "core/store/library_store.h"

namespace brindlemoor {

class Library {
 public:
  // Carries one capture as far as it can go now and records each stage it
  // passes in the store. It must not throw: a failure is recorded on the
  // capture with a retry time, which keeps it out of the next batch.
  using Advance = std::function<void(const Capture&)>;
  using OnChange = std::function<void()>;

  // Pending captures are taken in batches of this size, oldest first.
  static constexpr std::int64_t kBatchSize = 20;

  // Starts the pipeline thread, idle. `advance` is the per-capture step the
  // drain runs.
  Library(std::unique_ptr<LibraryStore> store, std::string visionModel, std::string embeddingModel,
          Advance advance);
  // Stops the pipeline after the capture in hand (recorded stages stay) and
  // releases every work() still waiting.
  ~Library();
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  // The store the pipeline writes to; its reads may be made from any thread.
  LibraryStore& store() { return *m_store; }

  // The vision model for descriptions. A change applies from the next
  // description; one under way finishes with the old model.
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
  void keepImported(const MediaImporter::Imported& imported, const std::filesystem::path& original);

  // Returns once the pipeline has nothing it can do now: every capture not
  // organized has been advanced, or waits for its retry time. Never throws.
  // Not to be called from the thread onChange waits on (see above).
  void work();
  // Asks for the same without waiting for it.
  void startWork();

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
  void runPipeline();
  void drain();
  void changed();
  void edit(std::initializer_list<std::function<void()>> steps);
  bool stopping();

  std::unique_ptr<LibraryStore> m_store;
  const std::string m_embeddingModel;
  const Advance m_advance;

  mutable std::mutex m_mutex;
  std::string m_visionModel;           // guarded by m_mutex
  OnChange m_onChange;                 // guarded by m_mutex
  std::uint64_t m_requested = 0;       // guarded by m_mutex: work asked for, counted
  std::uint64_t m_served = 0;          // guarded by m_mutex: asks a finished drain has answered
  bool m_stopping = false;             // guarded by m_mutex
  std::condition_variable m_wake;      // the pipeline thread waits here for asks
  std::condition_variable m_answered;  // work() waits here for its ask to be served
  std::thread m_pipeline;              // last, so it starts after everything it uses
};

}  // namespace brindlemoor
