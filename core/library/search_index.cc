#include "core/library/search_index.h"

namespace brindlemoor {
namespace {

// The captures read to learn the collections, as search has it.
constexpr std::int64_t kMembersRead = 100'000;

// The vectors of `model` in `space`, as the store gives them. Throws
// Database::Failure.
VectorBlock readSpace(LibraryStore& store, const std::string& model, VectorSpace space) {
  // Room made first, so the block is never copied while it grows.
  const auto [count, floats] = store.vectorSize(model, space);
  std::vector<std::string> ids;
  std::vector<float> block;
  std::vector<std::size_t> lengths;
  ids.reserve(static_cast<std::size_t>(count));
  block.reserve(static_cast<std::size_t>(floats));
  lengths.reserve(static_cast<std::size_t>(count));
  store.forEachVector(model, space, [&](LibraryStore::IdVector&& entry) {
    ids.push_back(std::move(entry.id));
    block.insert(block.end(), entry.vector.begin(), entry.vector.end());
    lengths.push_back(entry.vector.size());
  });
  return VectorBlock(std::move(ids), std::move(block), lengths);
}

}  // namespace

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
      return readSpace(m_store, m_model, space);
    } catch (const Database::Failure&) {
      whole = false;  // searched without this space; read again next time
      return VectorBlock();
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
  m_snapshot = std::make_shared<const Snapshot>(
      Snapshot{read(VectorSpace::look), read(VectorSpace::meaning), std::move(members)});
  m_stamp = whole ? stamp : std::nullopt;
  return m_snapshot;
}

}  // namespace brindlemoor
