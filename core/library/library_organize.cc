// Filing: where a capture goes once it has its vectors, and the naming of
// the collection it joins or forms. Only the `meaning` space counts.

#include <string_view>
#include <unordered_map>

#include "core/library/library.h"
#include "core/model/identifier.h"
#include "core/organizing/collection_namer.h"

namespace brindlemoor {

void Library::organize(const std::string& id) {
  const auto own = m_store->vector(id, VectorSpace::meaning);
  if (!own) return;  // nothing to decide on: the capture stays as it is

  m_filings.refresh();
  std::unordered_map<std::string_view, Organizer::Group> groups;
  std::vector<Organizer::Unsorted> unsorted;
  const std::vector<LibraryStore::Filing>& filings = m_filings.filings();
  for (std::size_t i = 0; i < filings.size(); ++i) {
    const LibraryStore::Filing& capture = filings[i];
    const std::vector<float>* vector = m_filings.vectorOf(i);
    if (!vector || capture.id == id) continue;
    if (capture.collectionID) {
      Organizer::Group& group = groups[*capture.collectionID];
      if (group.id.empty()) group.id = *capture.collectionID;
      group.members.emplace_back(*vector);
    } else if (capture.stage == CaptureStage::organized) {
      // One still on its way through the pipeline gets its own turn.
      unsorted.push_back({capture.id, *vector});
    }
  }
  std::vector<Organizer::Group> collections;
  collections.reserve(groups.size());
  for (auto& [collectionID, group] : groups) collections.push_back(std::move(group));

  const Organizer::Decision decision = m_organizer.decide(*own, collections, unsorted);
  std::optional<std::string> target;
  if (const auto* join = std::get_if<Organizer::Decision::Join>(&decision.value)) {
    target = join->collectionID;
  } else if (const auto* form = std::get_if<Organizer::Decision::Form>(&decision.value)) {
    const Date created = now();
    target = newIdentifier();
    m_store->insertCollection({*target, "New collection", "📁", created, created, 0, 0, false});
    for (const auto& member : form->with) m_store->moveCapture(member, target);
  }
  m_store->setCollection(id, target);
  if (target) {
    m_store->touchCollection(*target);
    nameIfDue(*target);
  }
}

void Library::nameIfDue(const std::string& id) {
  std::optional<CaptureCollection> collection;
  for (auto& candidate : m_store->collections()) {
    if (candidate.id == id) collection = std::move(candidate);
  }
  if (!collection || !Organizer::shouldRename(*collection)) return;
  const auto captures = m_store->captures(12, LibraryFilter::collection(id));
  const auto naming = CollectionNamer(m_client, visionModel()).name(captures);
  m_store->renameCollection(id, naming.name, naming.emoji, collection->count, false);
}

}  // namespace brindlemoor
