#include "core/library/library.h"

namespace brindlemoor {

Library::Library(std::unique_ptr<LibraryStore> store, OllamaClient client, std::string visionModel,
                 std::string embeddingModel, Organizer organizer,
                 std::unique_ptr<const MediaWork> media)
    : m_store(std::move(store)),
      m_client(std::move(client)),
      m_embeddingModel(std::move(embeddingModel)),
      m_visionModel(std::move(visionModel)),
      m_files(*m_store),
      m_index(*m_store, m_embeddingModel, kWindow),
      m_search(*m_store, m_index, m_client, m_embeddingModel),
      m_filing(*m_store, m_index, m_client, organizer, [this] { return this->visionModel(); }),
      m_media(std::move(media)),
      m_pipeline(m_media ? std::make_unique<Pipeline>(
                               *m_store, m_client, m_embeddingModel, m_files, *m_media, m_filing,
                               [this] { return this->visionModel(); }, [this] { changed(); })
                         : nullptr),
      m_loop(m_pipeline
                 ? std::make_unique<WorkLoop>(
                       *m_store, [this](const Capture& capture) { m_pipeline->advance(capture); },
                       [this] { m_pipeline->finish(); })
                 : nullptr) {}

// The loop's thread is stopped first, by m_loop's own destructor, before the
// members it uses go.
Library::~Library() = default;

void Library::work() {
  if (m_loop) m_loop->work();
}

void Library::startWork() {
  if (m_loop) m_loop->startWork();
}

void Library::setWhenOthersWork(WorkLoop::WhenOthersWork choice) {
  if (m_loop) m_loop->setWhenOthersWork(choice);
}

bool Library::othersWork() {
  return m_loop && m_loop->othersWork();
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
  m_files.keep(capture, png, thumbnail);
  m_store->insert(capture);
  changed();
  startWork();
}

void Library::keepImported(const ImportedCapture& imported, const std::filesystem::path& original) {
  m_files.keepImported(imported, original);
  m_store->insert(imported.capture);
  changed();
  startWork();
}

std::vector<Capture> Library::search(std::string_view query) const {
  std::vector<Capture> captures;
  for (auto& hit : findings(query).hits) captures.push_back(std::move(hit.capture));
  return captures;
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
  edit({[&] {
          // The row goes first: a capture is never shown without its files.
          const std::optional<Capture> found = m_store->capture(id);
          m_store->deleteCapture(id);
          m_files.remove(id, found);
        },
        [&] { m_store->dropEmptyCollections(); }});
}

}  // namespace brindlemoor
