#include "core/library/search_index.h"

namespace brindlemoor {
namespace {

// The captures read to learn the collections, as search has it.
constexpr std::int64_t kMembersRead = 100'000;

}  // namespace

SearchIndex::Space SearchIndex::Space::read(LibraryStore& store, const std::string& model,
                                            VectorSpace space) {
  Space result;
  // Room made first, so the block is never copied while it grows.
  const auto [count, floats] = store.vectorSize(model, space);
  result.m_ids.reserve(static_cast<std::size_t>(count));
  result.m_floats.reserve(static_cast<std::size_t>(floats));
  std::vector<std::size_t> lengths;
  lengths.reserve(static_cast<std::size_t>(count));
  store.forEachVector(model, space, [&](LibraryStore::IdVector&& entry) {
    result.m_ids.push_back(std::move(entry.id));
    result.m_floats.insert(result.m_floats.end(), entry.vector.begin(), entry.vector.end());
    lengths.push_back(entry.vector.size());
  });
  // The blocks no longer move, so the views can be taken now.
  result.m_entries.reserve(lengths.size());
  std::size_t start = 0;
  for (std::size_t i = 0; i < lengths.size(); ++i) {
    result.m_entries.push_back(
        {result.m_ids[i], std::span<const float>(result.m_floats.data() + start, lengths[i])});
    start += lengths[i];
  }
  return result;
}

SearchIndex::SearchIndex(LibraryStore& store, std::string model)
    : m_store(store), m_model(std::move(model)) {}

std::shared_ptr<const SearchIndex::Snapshot> SearchIndex::current() {
  std::lock_guard lock(m_mutex);
  std::optional<LibraryStore::ChangeStamp> stamp;
  try {
    stamp = m_store.changeStamp();
  } catch (const Database::Failure&) {
    // Without a stamp nothing can be trusted to be current: read afresh.
  }
  if (m_snapshot && stamp && stamp == m_stamp) return m_snapshot;

  bool whole = stamp.has_value();
  auto read = [&](VectorSpace space) {
    try {
      return Space::read(m_store, m_model, space);
    } catch (const Database::Failure&) {
      whole = false;  // searched without this space; read again next time
      return Space();
    }
  };
  std::map<std::string, std::vector<std::string>> members;
  try {
    for (auto& filing : m_store.filings(kMembersRead)) {
      if (filing.collectionID) members[*filing.collectionID].push_back(std::move(filing.id));
    }
  } catch (const Database::Failure&) {
    whole = false;
  }
  m_snapshot = std::make_shared<const Snapshot>(Snapshot{
      Space(read(VectorSpace::look)), Space(read(VectorSpace::meaning)), std::move(members)});
  m_stamp = whole ? stamp : std::nullopt;
  return m_snapshot;
}

}  // namespace brindlemoor
