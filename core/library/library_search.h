// LibrarySearch answers the library's searches: the captures that answer a
// query, with why each came up and the collections it covered, and the
// captures that resemble one. It reads the vectors through the shared
// VectorIndex. Search never fails: a judge that can't answer is left out,
// so with Ollama down the words alone still answer.
//
// Thread rules: any thread, any number at once.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "core/library/vector_index.h"
#include "core/search/search_findings.h"
#include "core/store/library_store.h"
#include "core/understanding/ollama_client.h"

namespace brindlemoor {

class LibrarySearch {
 public:
  // The least similarity in the `meaning` space for a capture to be related.
  static constexpr float relatedFloor = 0.76f;

  // Everything given must outlive the search.
  LibrarySearch(LibraryStore& store, VectorIndex& index, const OllamaClient& client,
                std::string embeddingModel);

  // The captures that answer `query`, best first, each with why it came up,
  // and the collections it covered: full text and both vector spaces merged
  // by rank, then the rest of each collection the first 60 results nearly
  // cover. A blank query gives nothing and asks nobody.
  SearchFindings findings(std::string_view query) const;
  // At most `limit` captures whose meaning is at least relatedFloor alike to
  // the capture `id`'s, the most alike first, never the capture itself.
  std::vector<Capture> related(const std::string& id, std::size_t limit) const;

 private:
  LibraryStore& m_store;
  VectorIndex& m_index;
  const OllamaClient& m_client;
  const std::string m_embeddingModel;
};

}  // namespace brindlemoor
