// Filing decides where a capture goes once it has its vectors, carries the
// decision out, and names the collection it joined or formed when that is
// due. Only the `meaning` space counts. It reads the library through the
// shared VectorIndex and writes through the store, each decision in one
// transaction.
//
// Thread rules: one thread at a time (the pipeline's).
#pragma once

#include <functional>
#include <string>

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
  // organized; then names the collection if that is due. A capture without a
  // `meaning` vector stays as it is. Throws the store's and the model's
  // failures; a failure in naming leaves the capture filed.
  void organize(const std::string& id);

 private:
  void nameIfDue(const std::string& collectionID);

  LibraryStore& m_store;
  VectorIndex& m_index;
  const OllamaClient& m_client;
  const Organizer m_organizer;
  const VisionModel m_visionModel;
};

}  // namespace brindlemoor
