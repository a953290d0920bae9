#include "core/library/search_index.h"

namespace brindlemoor {
namespace {

// The captures read to learn the collections, as search has it.
constexpr std::int64_t kMembersRead = 100'000;

}  // namespace

SearchIndex::Space::Space(const std::vector<LibraryStore::IdVector>& vectors) {
  std::size_t floats = 0;
  for (const auto& entry : vectors) floats += entry.vector.size();
  m_ids.reserve(vectors.size());
  m_floats.reserve(floats);
  for (const auto& entry : vectors) {
    m_ids.push_back(entry.id);
    m_floats.insert(m_floats.end(), entry.vector.begin(), entry.vector.end());
  }
  // The blocks no longer move, so the views can be taken now.
  m_entries.reserve(vectors.size());
  std::size_t start = 0;
  for (std::size_t i = 0; i < vectors.size(); ++i) {
    const std::size_t length = vectors[i].vector.size();
    m_entries.push_back({m_ids[i], std::span<const float>(m_floats.data() + start, length)});
    start += length;
  }
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
  auto read = [&](VectorSpace space) -> std::vector<LibraryStore::IdVector> {
    try {
      return m_store.vectors(m_model, space);
    } catch (const Database::Failure&) {
      whole = false;  // searched without this space; read again next time
      return {};
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
