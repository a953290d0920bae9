// Search: the captures that answer a query, with why each came up and the
// collections the query covered, and the captures that resemble one. Search
// never fails: a judge that can't answer is left out, so with Ollama down the
// words alone still answer.

#include <future>

#include "core/library/library.h"
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

SearchFindings Library::findings(std::string_view query) {
  const std::string trimmed = Text::trimmed(query);
  if (trimmed.empty()) return {};

  std::map<SearchReason, std::vector<std::string>> lists;
  std::vector<std::string>& words = lists[SearchReason::words];
  try {
    for (auto& hit : m_store->textSearch(trimmed, kWordsTaken)) words.push_back(std::move(hit.id));
  } catch (const Database::Failure&) {
    // Dropped on purpose: the other judges answer without the words.
  }

  const auto index = m_searchIndex.current();
  std::optional<std::vector<float>> meaning;
  try {
    meaning =
        m_client
            .embed(m_embeddingModel, {{EmbeddingText::query(trimmed), std::nullopt}}, kQueryTimeout)
            .at(0);
  } catch (const std::exception&) {
    // Dropped on purpose: without the daemon the words alone answer.
  }
  if (meaning) {
    // Each space is a scan of every stored vector, so the two run side by side.
    auto standouts = [&](VectorSpace space) {
      return idsOf(index->space(space).standouts(*meaning));
    };
    auto look = std::async(std::launch::async, standouts, VectorSpace::look);
    lists[SearchReason::meaning] = standouts(VectorSpace::meaning);
    lists[SearchReason::look] = look.get();
  }

  std::vector<std::vector<std::string>> ranked;
  for (const auto& [reason, ids] : lists) ranked.push_back(ids);
  const std::vector<std::string> merged = SearchMerge::merge(ranked, kMerged);
  const std::vector<std::string> ids = SearchMerge::completingCollections(merged, index->members);
  const auto why = SearchMerge::reasons(lists, ids);

  SearchFindings findings;
  try {
    for (auto& capture : m_store->captures(ids)) {
      const auto reasons = why.find(capture.id);
      findings.hits.push_back(
          {std::move(capture), reasons == why.end() ? std::set<SearchReason>{} : reasons->second});
    }
  } catch (const Database::Failure&) {
    // Dropped on purpose: no captures to show, as for a search that found none.
  }
  findings.collectionIDs = SearchMerge::coveredCollections(merged, index->members);
  return findings;
}

std::vector<Capture> Library::search(std::string_view query) {
  std::vector<Capture> captures;
  for (auto& hit : findings(query).hits) captures.push_back(std::move(hit.capture));
  return captures;
}

std::vector<Capture> Library::related(const std::string& id, std::size_t limit) {
  try {
    const auto own = m_store->vector(id, VectorSpace::meaning);
    if (!own) return {};
    const auto index = m_searchIndex.current();
    auto scores = index->meaning.atLeast(*own, relatedFloor, id);
    if (scores.size() > limit) scores.resize(limit);
    return m_store->captures(idsOf(scores));
  } catch (const Database::Failure&) {
    return {};  // dropped on purpose: nothing related to show
  }
}

}  // namespace brindlemoor
