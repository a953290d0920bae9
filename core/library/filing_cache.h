// FilingCache keeps what every filing decision reads: the `meaning` vectors
// of the embedding model and where the newest captures stand (collection
// and stage), in the store's order. Reading them afresh costs most of a
// second with 100,000 captures, a decision a few tens of milliseconds; so
// the cache asks the store which captures this connection has written since
// it last looked and reads only those again. When another connection has
// committed meanwhile it reads everything. Its contents are therefore those
// of reading the store each time.
//
// Thread rules: one thread at a time (the pipeline's).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "core/store/library_store.h"

namespace brindlemoor {

class FilingCache {
 public:
  // `store` must outlive the cache. `window` is how many of the newest
  // captures filing looks at.
  FilingCache(LibraryStore& store, std::string model, std::int64_t window);

  // Brings the cache up to what the store holds. Throws Database::Failure;
  // the next refresh then reads everything.
  void refresh();

  // The newest `window` captures, as LibraryStore::filings(window) gives them.
  const std::vector<LibraryStore::Filing>& filings() const { return m_filings; }
  // The vector in `meaning` by the model of filings()[index], or null: found
  // when the filing is read, so a decision looks nothing up.
  const std::vector<float>* vectorOf(std::size_t index) const { return m_filingVectors[index]; }

 private:
  void readEverything();
  void readAgain(const std::vector<std::string>& ids);
  void readFilings();
  const std::vector<float>* vector(const std::string& id) const;

  LibraryStore& m_store;
  const std::string m_model;
  const std::int64_t m_window;

  std::optional<std::int64_t> m_dataVersion;  // none until all has been read
  std::unordered_map<std::string, std::vector<float>> m_vectors;
  std::vector<LibraryStore::Filing> m_filings;
  // Beside m_filings: into m_vectors, whose elements never move.
  std::vector<const std::vector<float>*> m_filingVectors;
};

}  // namespace brindlemoor
