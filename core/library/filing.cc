#include "core/library/filing.h"

#include <string_view>
#include <unordered_map>

#include "core/model/identifier.h"
#include "core/model/vector_math.h"
#include "core/organizing/collection_namer.h"

namespace brindlemoor {

Filing::Filing(LibraryStore& store, VectorIndex& index, const OllamaClient& client,
               Organizer organizer, VisionModel visionModel)
    : m_store(store),
      m_index(index),
      m_client(client),
      m_organizer(organizer),
      m_visionModel(std::move(visionModel)) {}

std::optional<Organizer::Decision> Filing::organize(const std::string& id) {
  const auto own = m_store.vector(id, VectorSpace::meaning);
  if (!own) return std::nullopt;  // nothing to decide on: the capture stays as it is

  Organizer::Decision decision = Organizer::Decision::stayUnsorted();
  {
    const VectorIndex::Reading reading = m_index.current();
    if (const auto& failure = reading.failure()) throw *failure;
    const std::vector<VectorBlock::Entry>& entries = reading.space(VectorSpace::meaning).entries();
    // Only an unsorted capture that may reach the threshold can be gathered,
    // so the others' floats are never read.
    std::vector<bool> reachable(entries.size());
    for (std::size_t place :
         reading.space(VectorSpace::meaning).reaching(*own, m_organizer.formThreshold)) {
      reachable[place] = true;
    }

    std::unordered_map<std::string_view, std::size_t> groupOf;
    std::vector<Organizer::Group> collections;
    std::vector<std::vector<std::size_t>> places;  // beside collections
    std::vector<Organizer::Unsorted> unsorted;
    const std::vector<LibraryStore::Filing>& filings = reading.filings();
    for (std::size_t i = 0; i < filings.size(); ++i) {
      const LibraryStore::Filing& capture = filings[i];
      const auto place = reading.meaningPlace(i);
      if (!place || capture.id == id) continue;
      if (capture.collectionID) {
        const auto [group, fresh] = groupOf.try_emplace(*capture.collectionID, collections.size());
        if (fresh) {
          collections.push_back({*capture.collectionID, {}, std::nullopt});
          places.emplace_back();
        }
        collections[group->second].members.push_back(entries[*place].vector);
        places[group->second].push_back(*place);
      } else if (capture.stage == CaptureStage::organized && reachable[*place]) {
        // One still on its way through the pipeline gets its own turn.
        unsorted.push_back({capture.id, entries[*place].vector});
      }
    }
    centroidsOf(collections, places, reading.meaningGeneration());
    decision = m_organizer.decide(*own, collections, unsorted);
  }

  std::optional<std::string> target;
  std::optional<CaptureCollection> formed;
  std::vector<std::string> gathered;
  if (const auto* join = std::get_if<Organizer::Decision::Join>(&decision.value)) {
    target = join->collectionID;
  } else if (const auto* form = std::get_if<Organizer::Decision::Form>(&decision.value)) {
    const Date created = now();
    target = newIdentifier();
    formed = CaptureCollection{*target, "New collection", "📁", created, created, 0, 0, false};
    gathered = form->with;
  }
  m_store.file(id, target, formed, gathered);
  if (target) nameIfDue(*target);
  return decision;
}

void Filing::centroidsOf(std::vector<Organizer::Group>& groups,
                         std::vector<std::vector<std::size_t>>& places, std::uint64_t generation) {
  std::unordered_map<std::string, KnownCentroid> known;
  for (std::size_t g = 0; g < groups.size(); ++g) {
    Organizer::Group& group = groups[g];
    auto cached = m_centroids.find(group.id);
    if (cached != m_centroids.end() && cached->second.generation == generation &&
        cached->second.places == places[g]) {
      group.centroid = cached->second.centroid;
      known.emplace(group.id, std::move(cached->second));
      continue;
    }
    group.centroid = VectorMath::centroid(group.members);
    if (group.centroid) {
      known.emplace(group.id, KnownCentroid{generation, std::move(places[g]), *group.centroid});
    }
  }
  // Collections that are gone, or that no capture was filed in, are forgotten.
  m_centroids = std::move(known);
}

void Filing::nameIfDue(const std::string& collectionID) {
  std::optional<CaptureCollection> collection;
  for (auto& candidate : m_store.collections()) {
    if (candidate.id == collectionID) collection = std::move(candidate);
  }
  if (collection && Organizer::shouldRename(*collection)) name(*collection);
}

bool Filing::nameDue() {
  bool named = false;
  for (const CaptureCollection& collection : m_store.collections()) {
    if (!Organizer::shouldRename(collection)) continue;
    name(collection);
    named = true;
  }
  return named;
}

void Filing::name(const CaptureCollection& collection) {
  const auto captures = m_store.captures(12, LibraryFilter::collection(collection.id));
  const auto naming = CollectionNamer(m_client, m_visionModel()).name(captures);
  m_store.renameCollection(collection.id, naming.name, naming.emoji, collection.count, false);
}

}  // namespace brindlemoor
