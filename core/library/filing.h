// Filing decides where a capture goes once it has its vectors, carries the
// decision out, and names the collection it joined or formed when that is
// due. Only the `meaning` space counts. It reads the library through the
// shared VectorIndex and writes through the store, each decision in one
// transaction.
//
// Thread rules: one thread at a time (the pipeline's).
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "core/library/vector_index.h"
#include "core/organizing/organizer.h"
#include "core/store/library_store.h"
#include "core/understanding/ollama_client.h"

namespace brindlemoor {

class Filing {
 public:
  using VisionModel = std::function<std::string()>;

  // Everything given must outlive the filing; `visionModel` names the model
  // that names collections at the moment it is asked.
  Filing(LibraryStore& store, VectorIndex& index, const OllamaClient& client, Organizer organizer,
         VisionModel visionModel);

  // Joins, forms or leaves unsorted the capture `id`, which is then
  // organized; then names the collection if that is due. Gives the decision
  // carried out, or nothing for a capture without a `meaning` vector, which
  // stays as it is. Throws the store's and the model's failures, and
  // VectorIndex::Failure; a failure in naming leaves the capture filed.
  std::optional<Organizer::Decision> organize(const std::string& id);

  // Names the collections that are due a name (Organizer::shouldRename) and
  // never got it: their naming failed, or the process ended before it.
  // Stops at the first failure, which the next pass tries again. Gives
  // whether any was named. Throws the store's and the model's failures.
  bool nameDue();

 private:
  // A collection's centroid as it was last worked out, and from which
  // vectors: the places of its members in the `meaning` block of one
  // generation of the index.
  struct KnownCentroid {
    std::uint64_t generation = 0;
    std::vector<std::size_t> places;
    std::vector<float> centroid;
  };

  // Gives each of `groups` its centroid: the known one where its members
  // are the same vectors as then, else worked out afresh, so a decision sums
  // only the members of collections that changed. `places` lie beside
  // `groups` and may be taken.
  void centroidsOf(std::vector<Organizer::Group>& groups,
                   std::vector<std::vector<std::size_t>>& places, std::uint64_t generation);
  void nameIfDue(const std::string& collectionID);
  void name(const CaptureCollection& collection);

  LibraryStore& m_store;
  VectorIndex& m_index;
  const OllamaClient& m_client;
  const Organizer m_organizer;
  const VisionModel m_visionModel;
  std::unordered_map<std::string, KnownCentroid> m_centroids;
};

}  // namespace brindlemoor
