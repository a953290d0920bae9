#include "core/library/filing.h"

#include <string_view>
#include <unordered_map>

#include "core/model/identifier.h"
#include "core/organizing/collection_namer.h"

namespace brindlemoor {

Filing::Filing(LibraryStore& store, VectorIndex& index, const OllamaClient& client,
               Organizer organizer, VisionModel visionModel)
    : m_store(store),
      m_index(index),
      m_client(client),
      m_organizer(organizer),
      m_visionModel(std::move(visionModel)) {}

void Filing::organize(const std::string& id) {
  const auto own = m_store.vector(id, VectorSpace::meaning);
  if (!own) return;  // nothing to decide on: the capture stays as it is

  Organizer::Decision decision = Organizer::Decision::stayUnsorted();
  {
    const VectorIndex::Reading reading = m_index.current();
    if (const auto& failure = reading.failure()) throw *failure;
    std::unordered_map<std::string_view, Organizer::Group> groups;
    std::vector<Organizer::Unsorted> unsorted;
    const std::vector<LibraryStore::Filing>& filings = reading.filings();
    for (std::size_t i = 0; i < filings.size(); ++i) {
      const LibraryStore::Filing& capture = filings[i];
      const auto vector = reading.meaningOf(i);
      if (!vector || capture.id == id) continue;
      if (capture.collectionID) {
        Organizer::Group& group = groups[*capture.collectionID];
        if (group.id.empty()) group.id = *capture.collectionID;
        group.members.push_back(*vector);
      } else if (capture.stage == CaptureStage::organized) {
        // One still on its way through the pipeline gets its own turn.
        unsorted.push_back({capture.id, *vector});
      }
    }
    std::vector<Organizer::Group> collections;
    collections.reserve(groups.size());
    for (auto& [collectionID, group] : groups) collections.push_back(std::move(group));
    decision = m_organizer.decide(*own, collections, unsorted);
  }

  std::optional<std::string> target;
  std::optional<CaptureCollection> formed;
  std::vector<std::string> gathered;
  if (const auto* join = std::get_if<Organizer::Decision::Join>(&decision.value)) {
    target = join->collectionID;
  } else if (auto* form = std::get_if<Organizer::Decision::Form>(&decision.value)) {
    const Date created = now();
    target = newIdentifier();
    formed = CaptureCollection{*target, "New collection", "📁", created, created, 0, 0, false};
    gathered = std::move(form->with);
  }
  m_store.file(id, target, formed, gathered);
  if (target) nameIfDue(*target);
}

void Filing::nameIfDue(const std::string& collectionID) {
  std::optional<CaptureCollection> collection;
  for (auto& candidate : m_store.collections()) {
    if (candidate.id == collectionID) collection = std::move(candidate);
  }
  if (!collection || !Organizer::shouldRename(*collection)) return;
  const auto captures = m_store.captures(12, LibraryFilter::collection(collectionID));
  const auto naming = CollectionNamer(m_client, m_visionModel()).name(captures);
  m_store.renameCollection(collectionID, naming.name, naming.emoji, collection->count, false);
}

}  // namespace brindlemoor
