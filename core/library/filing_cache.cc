#include "core/library/filing_cache.h"

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

FilingCache::FilingCache(LibraryStore& store, std::string model, std::int64_t window)
    : m_store(store), m_model(std::move(model)), m_window(window) {}

void FilingCache::refresh() {
  // Unknown until this refresh is through: a failure half-way means reading
  // everything next time.
  const std::optional<std::int64_t> known = std::exchange(m_dataVersion, std::nullopt);
  LibraryStore::Changes changes = m_store.takeChanges();
  if (known == changes.dataVersion && changes.captures.size() <= kMostReadAgain) {
    readAgain(changes.captures);
  } else {
    readEverything();
  }
  m_dataVersion = changes.dataVersion;
}

const std::vector<float>* FilingCache::vector(const std::string& id) const {
  const auto found = m_vectors.find(id);
  return found == m_vectors.end() ? nullptr : &found->second;
}

void FilingCache::readEverything() {
  m_vectors.clear();
  m_store.forEachVector(m_model, VectorSpace::meaning, [&](LibraryStore::IdVector&& entry) {
    m_vectors.insert_or_assign(std::move(entry.id), std::move(entry.vector));
  });
  readFilings();
}

void FilingCache::readFilings() {
  m_filings = m_store.filings(m_window);
  m_filingVectors.clear();
  for (const auto& filing : m_filings) m_filingVectors.push_back(vector(filing.id));
}

void FilingCache::readAgain(const std::vector<std::string>& ids) {
  if (ids.empty()) return;
  for (const auto& id : ids) m_vectors.erase(id);
  for (auto& entry : m_store.vectors(m_model, VectorSpace::meaning, ids)) {
    m_vectors.insert_or_assign(std::move(entry.id), std::move(entry.vector));
  }

  // A full window may have left older captures out.
  const bool full = m_filings.size() >= static_cast<std::size_t>(m_window);
  const std::unordered_set<std::string_view> written(ids.begin(), ids.end());
  std::size_t kept = 0;
  for (std::size_t i = 0; i < m_filings.size(); ++i) {
    if (written.contains(m_filings[i].id)) continue;
    if (kept != i) {
      m_filings[kept] = std::move(m_filings[i]);
      m_filingVectors[kept] = m_filingVectors[i];
    }
    ++kept;
  }
  m_filings.resize(kept);
  m_filingVectors.resize(kept);
  for (auto& filing : m_store.filings(ids)) {
    const auto place = std::ranges::lower_bound(
        m_filings, filing, [](const auto& a, const auto& b) { return a.comesBefore(b); });
    m_filingVectors.insert(m_filingVectors.begin() + (place - m_filings.begin()),
                           vector(filing.id));
    m_filings.insert(place, std::move(filing));
  }
  const auto window = static_cast<std::size_t>(m_window);
  if (m_filings.size() > window) {
    m_filings.resize(window);
    m_filingVectors.resize(window);
  } else if (full && m_filings.size() < window) {
    // One left the window: the next in line is outside what is kept here.
    readFilings();
  }
}

}  // namespace brindlemoor
