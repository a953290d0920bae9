// SearchIndex keeps in memory what every search reads in full: the vectors
// of the embedding model in both spaces, and the captures of each
// collection. Reading 100,000 vectors from SQLite costs far more than
// scoring them, so they are read once and again only after the library has
// changed (through this store's connection or in another process). Its
// answers are thus those of reading the store each time.
//
// Thread rules: current() may be called from any thread; a snapshot, once
// given, never changes and may be read while a newer one is made.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "core/search/vector_block.h"
#include "core/store/library_store.h"

namespace brindlemoor {

class SearchIndex {
 public:
  struct Snapshot {
    // Each space's vectors in the store's order; a space whose read failed
    // is empty.
    VectorBlock look;
    VectorBlock meaning;
    // The captures of each collection, among the newest 100,000, newest
    // first; empty when the read failed.
    std::map<std::string, std::vector<std::string>> members;

    const VectorBlock& space(VectorSpace which) const {
      return which == VectorSpace::look ? look : meaning;
    }
  };

  // `store` must outlive the index.
  SearchIndex(LibraryStore& store, std::string model);

  // What the store holds now. A part that could not be read is empty and is
  // read again next time. Never throws but for exhausted memory.
  std::shared_ptr<const Snapshot> current();

 private:
  LibraryStore& m_store;
  const std::string m_model;

  std::mutex m_mutex;
  std::shared_ptr<const Snapshot> m_snapshot;        // guarded by m_mutex
  std::optional<LibraryStore::ChangeStamp> m_stamp;  // guarded by m_mutex: of a whole snapshot
};

}  // namespace brindlemoor
