#include "core/library/library.h"

#include <system_error>

#include "core/library/files.h"

namespace brindlemoor {

Library::Library(std::unique_ptr<LibraryStore> store, std::string visionModel,
                 std::string embeddingModel, Advance advance)
    : m_store(std::move(store)),
      m_embeddingModel(std::move(embeddingModel)),
      m_advance(std::move(advance)),
      m_visionModel(std::move(visionModel)),
      m_pipeline([this] { runPipeline(); }) {}

Library::~Library() {
  {
    std::lock_guard lock(m_mutex);
    m_stopping = true;
  }
  m_wake.notify_all();
  m_pipeline.join();
}

std::string Library::visionModel() const {
  std::lock_guard lock(m_mutex);
  return m_visionModel;
}

void Library::setVisionModel(std::string name) {
  std::lock_guard lock(m_mutex);
  m_visionModel = std::move(name);
}

void Library::setOnChange(OnChange handler) {
  std::lock_guard lock(m_mutex);
  m_onChange = std::move(handler);
}

void Library::changed() {
  OnChange handler;
  {
    std::lock_guard lock(m_mutex);
    handler = m_onChange;
  }
  if (handler) handler();
}

void Library::keep(const Capture& capture, const Bytes& png, const Bytes& thumbnail) {
  Files::writeAtomically(m_store->imageURL(capture.id), png);
  Files::writeAtomically(m_store->thumbURL(capture.id), thumbnail);
  m_store->insert(capture);
  changed();
  startWork();
}

void Library::keepImported(const MediaImporter::Imported& imported,
                           const std::filesystem::path& original) {
  const Capture& capture = imported.capture;
  Files::writeAtomically(m_store->imageURL(capture), imported.image);
  Files::writeAtomically(m_store->thumbURL(capture.id), imported.thumbnail);
  if (imported.sheet) Files::writeAtomically(m_store->sheetURL(capture.id), *imported.sheet);
  if (auto copy = m_store->originalURL(capture)) Files::copyAtomically(original, *copy);
  m_store->insert(capture);
  changed();
  startWork();
}

void Library::work() {
  std::unique_lock lock(m_mutex);
  const std::uint64_t ask = ++m_requested;
  m_wake.notify_all();
  m_answered.wait(lock, [&] { return m_served >= ask || m_stopping; });
}

void Library::startWork() {
  {
    std::lock_guard lock(m_mutex);
    ++m_requested;
  }
  m_wake.notify_all();
}

bool Library::stopping() {
  std::lock_guard lock(m_mutex);
  return m_stopping;
}

void Library::runPipeline() {
  std::unique_lock lock(m_mutex);
  while (true) {
    m_wake.wait(lock, [&] { return m_stopping || m_requested > m_served; });
    if (m_stopping) break;
    // Every ask made until now is answered by this drain; an ask made while it
    // runs gets a drain of its own, which looks at the captures again.
    const std::uint64_t asks = m_requested;
    lock.unlock();
    drain();
    lock.lock();
    m_served = asks;
    m_answered.notify_all();
  }
  m_answered.notify_all();
}

void Library::drain() {
  while (!stopping()) {
    std::vector<Capture> batch;
    try {
      batch = m_store->pending(now(), kBatchSize);
    } catch (const Database::Failure&) {
      return;  // dropped on purpose: the next work() asks again
    }
    if (batch.empty()) return;
    for (const Capture& capture : batch) {
      if (stopping()) return;
      m_advance(capture);
    }
  }
}

// --- Edits ---

void Library::edit(std::initializer_list<std::function<void()>> steps) {
  for (const auto& step : steps) {
    try {
      step();
    } catch (const Database::Failure&) {
      // Dropped on purpose: the interface sees the old value at its next
      // reload, and the next step runs all the same.
    }
  }
  changed();
}

void Library::setNote(const std::string& id, const std::optional<std::string>& note) {
  edit({[&] { m_store->setNote(id, note); }});
}

void Library::setFavorite(const std::string& id, bool favorite) {
  edit({[&] { m_store->setFavorite(id, favorite); }});
}

void Library::setTags(const std::string& id, const std::vector<std::string>& tags) {
  edit({[&] { m_store->setTags(id, tags); }});
}

void Library::move(const std::string& id, const std::optional<std::string>& to) {
  edit({[&] { m_store->moveCapture(id, to); }, [&] { m_store->dropEmptyCollections(); }});
}

void Library::renameCollection(const std::string& id, const std::string& name,
                               const std::string& emoji) {
  edit({[&] {
    std::int64_t count = 0;
    std::vector<CaptureCollection> collections;
    try {
      collections = m_store->collections();
    } catch (const Database::Failure&) {
      // Unreadable collections count as none: the name is kept all the same.
    }
    for (const auto& collection : collections) {
      if (collection.id == id) count = collection.count;
    }
    m_store->renameCollection(id, name, emoji, count, true);
  }});
}

void Library::deleteCapture(const std::string& id) {
  edit({[&] { m_store->deleteCapture(id); }, [&] { m_store->dropEmptyCollections(); }});
}

}  // namespace brindlemoor
