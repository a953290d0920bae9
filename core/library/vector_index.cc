#include "core/library/vector_index.h"

#include <algorithm>
#include <string_view>
#include <unordered_set>
#include <utility>

namespace brindlemoor {
namespace {

// Past this many written captures (a large import), reading everything is
// as quick as reading them one by one.
constexpr std::size_t kMostReadAgain = 10'000;

}  // namespace

VectorIndex::VectorIndex(LibraryStore& store, std::string model, std::int64_t window)
    : m_store(store), m_model(std::move(model)), m_window(window) {}

VectorIndex::Reading VectorIndex::current() {
  {
    std::unique_lock lock(m_mutex);
    refresh();
  }
  return Reading(*this);
}

void VectorIndex::refresh() {
  // Unknown until this refresh is through: a failure half-way means reading
  // everything next time.
  const std::optional<std::int64_t> known = std::exchange(m_dataVersion, std::nullopt);
  try {
    LibraryStore::Changes changes = m_store.takeChanges();
    if (known == changes.dataVersion && changes.captures.size() <= kMostReadAgain) {
      readAgain(changes.captures);
    } else {
      readEverything();
    }
    m_dataVersion = changes.dataVersion;
    m_failure.reset();
  } catch (const brindlemoor::Failure& failure) {
    // The store's failure, or a disk too full for the vectors' file.
    m_failure = Failure(failure.what());
  }
}

void VectorIndex::readEverything() {
  {
    std::lock_guard lock(m_membersMutex);
    m_members.reset();
  }
  // Emptied first, so that a failure leaves nothing stale behind.
  m_look = emptySpace();
  m_meaning = emptySpace();
  m_filings.clear();
  m_filingPlaces.clear();
  readSpace(m_look, VectorSpace::look);
  readSpace(m_meaning, VectorSpace::meaning);
  readFilings();
}

void VectorIndex::readSpace(Space& space, VectorSpace which) {
  space = emptySpace();
  if (which == VectorSpace::meaning) ++m_meaningGeneration;
  const auto [count, floats] = m_store.vectorSize(m_model, which);
  space.block.reserve(static_cast<std::size_t>(count), static_cast<std::size_t>(floats));
  space.rowids.reserve(static_cast<std::size_t>(count));
  m_store.forEachVector(m_model, which, [&](LibraryStore::IdVector&& entry) {
    space.block.append(std::move(entry.id), entry.vector);
    space.rowids.push_back(entry.rowid);
  });
}

bool VectorIndex::tookIn(Space& space, VectorSpace which, const std::vector<std::string>& ids) {
  std::unordered_set<std::string_view> stored;
  const std::vector<LibraryStore::IdVector> written = m_store.vectors(m_model, which, ids);
  for (const auto& entry : written) stored.insert(entry.id);
  for (const auto& id : ids) {
    // A vector gone, or written again (it moved to the end of the order).
    const auto place = space.block.find(id);
    if (place && !stored.contains(id)) return false;
  }
  const std::int64_t last = space.rowids.empty() ? 0 : space.rowids.back();
  std::vector<const LibraryStore::IdVector*> fresh;
  for (const auto& entry : written) {
    const auto place = space.block.find(entry.id);
    if (place && space.rowids[*place] == entry.rowid) continue;
    if (place || entry.rowid <= last) return false;
    fresh.push_back(&entry);
  }
  for (const auto* entry : fresh) {
    space.block.append(entry->id, entry->vector);
    space.rowids.push_back(entry->rowid);
  }
  return true;
}

void VectorIndex::readAgain(const std::vector<std::string>& ids) {
  if (ids.empty()) return;
  bool placesMoved = false;
  if (!tookIn(m_look, VectorSpace::look, ids)) readSpace(m_look, VectorSpace::look);
  if (!tookIn(m_meaning, VectorSpace::meaning, ids)) {
    readSpace(m_meaning, VectorSpace::meaning);
    placesMoved = true;
  }
  readFilingsAgain(ids);
  if (placesMoved) placeFilings();
  std::lock_guard lock(m_membersMutex);
  m_members.reset();
}

void VectorIndex::readFilings() {
  m_filings = m_store.filings(m_window);
  placeFilings();
}

void VectorIndex::placeFilings() {
  m_filingPlaces.clear();
  m_filingPlaces.reserve(m_filings.size());
  for (const auto& filing : m_filings) m_filingPlaces.push_back(m_meaning.block.find(filing.id));
}

void VectorIndex::readFilingsAgain(const std::vector<std::string>& ids) {
  // A full window may have left older captures out.
  const bool full = m_filings.size() >= static_cast<std::size_t>(m_window);
  const std::unordered_set<std::string_view> written(ids.begin(), ids.end());
  std::size_t kept = 0;
  for (std::size_t i = 0; i < m_filings.size(); ++i) {
    if (written.contains(m_filings[i].id)) continue;
    if (kept != i) {
      m_filings[kept] = std::move(m_filings[i]);
      m_filingPlaces[kept] = m_filingPlaces[i];
    }
    ++kept;
  }
  m_filings.resize(kept);
  m_filingPlaces.resize(kept);
  for (auto& filing : m_store.filings(ids)) {
    const auto place = std::ranges::lower_bound(
        m_filings, filing, [](const auto& a, const auto& b) { return a.comesBefore(b); });
    m_filingPlaces.insert(m_filingPlaces.begin() + (place - m_filings.begin()),
                          m_meaning.block.find(filing.id));
    m_filings.insert(place, std::move(filing));
  }
  const auto window = static_cast<std::size_t>(m_window);
  if (m_filings.size() > window) {
    m_filings.resize(window);
    m_filingPlaces.resize(window);
  } else if (full && m_filings.size() < window) {
    // One left the window: the next in line is outside what is kept here.
    readFilings();
  }
}

const SearchMerge::Members& VectorIndex::Reading::members() const {
  std::lock_guard lock(m_index.m_membersMutex);
  if (!m_index.m_members) {
    SearchMerge::Members members;
    for (const auto& filing : m_index.m_filings) {
      if (filing.collectionID) members[*filing.collectionID].push_back(filing.id);
    }
    m_index.m_members = std::move(members);
  }
  return *m_index.m_members;
}

}  // namespace brindlemoor
