#include "core/library/library_search.h"

#include <future>

#include "core/model/text.h"
#include "core/search/search_merge.h"
#include "core/understanding/embedding_text.h"

namespace brindlemoor {
namespace {

constexpr std::int64_t kWordsTaken = 100;
constexpr std::size_t kMerged = 60;
constexpr double kQueryTimeout = 60;

std::vector<std::string> idsOf(const std::vector<SearchMerge::Score>& scores) {
  std::vector<std::string> ids;
  ids.reserve(scores.size());
  for (const auto& score : scores) ids.emplace_back(score.id);
  return ids;
}

}  // namespace

LibrarySearch::LibrarySearch(LibraryStore& store, VectorIndex& index, const OllamaClient& client,
                             std::string embeddingModel)
    : m_store(store),
      m_index(index),
      m_client(client),
      m_embeddingModel(std::move(embeddingModel)) {}

SearchFindings LibrarySearch::findings(std::string_view query) const {
  const std::string trimmed = Text::trimmed(query);
  if (trimmed.empty()) return {};

  std::map<SearchReason, std::vector<std::string>> lists;
  std::vector<std::string>& words = lists[SearchReason::words];
  try {
    for (auto& hit : m_store.textSearch(trimmed, kWordsTaken)) words.push_back(std::move(hit.id));
  } catch (const Database::Failure&) {
    // Dropped on purpose: the other judges answer without the words.
  }

  std::optional<std::vector<float>> meaning;
  try {
    meaning =
        m_client
            .embed(m_embeddingModel, {{EmbeddingText::query(trimmed), std::nullopt}}, kQueryTimeout)
            .at(0);
  } catch (const std::exception&) {
    // Dropped on purpose: without the daemon the words alone answer.
  }
  std::vector<std::string> merged;
  std::vector<std::string> ids;
  SearchFindings findings;
  {
    const VectorIndex::Reading index = m_index.current();
    if (meaning) {
      // Each space is a scan of every stored vector, so the two run side by
      // side.
      auto standouts = [&](VectorSpace space) {
        return idsOf(index.space(space).standouts(*meaning));
      };
      auto look = std::async(std::launch::async, standouts, VectorSpace::look);
      lists[SearchReason::meaning] = standouts(VectorSpace::meaning);
      lists[SearchReason::look] = look.get();
    }
    std::vector<std::vector<std::string>> ranked;
    for (const auto& [reason, list] : lists) ranked.push_back(list);
    merged = SearchMerge::merge(ranked, kMerged);
    ids = SearchMerge::completingCollections(merged, index.members());
    findings.collectionIDs = SearchMerge::coveredCollections(merged, index.members());
  }
  const auto why = SearchMerge::reasons(lists, ids);

  try {
    for (auto& capture : m_store.captures(ids)) {
      const auto reasons = why.find(capture.id);
      findings.hits.push_back(
          {std::move(capture), reasons == why.end() ? std::set<SearchReason>{} : reasons->second});
    }
  } catch (const Database::Failure&) {
    // Dropped on purpose: no captures to show, as for a search that found none.
  }
  return findings;
}

std::vector<Capture> LibrarySearch::related(const std::string& id, std::size_t limit) const {
  try {
    const auto own = m_store.vector(id, VectorSpace::meaning);
    if (!own) return {};
    std::vector<std::string> ids;
    {
      const VectorIndex::Reading index = m_index.current();
      auto scores = index.space(VectorSpace::meaning).atLeast(*own, relatedFloor, id);
      if (scores.size() > limit) scores.resize(limit);
      ids = idsOf(scores);
    }
    return m_store.captures(ids);
  } catch (const Database::Failure&) {
    return {};  // dropped on purpose: nothing related to show
  }
}

}  // namespace brindlemoor
