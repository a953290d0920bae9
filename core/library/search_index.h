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
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/store/library_store.h"

namespace brindlemoor {

class SearchIndex {
 public:
  // One space's vectors in the store's order, their floats one after
  // another in one block, so a search streams through memory instead of
  // chasing 100,000 allocations.
  class Space {
   public:
    struct Entry {
      std::string_view id;
      std::span<const float> vector;
    };
    Space() = default;
    // A move keeps the blocks where they are, and so the views valid.
    Space(Space&&) = default;
    Space& operator=(Space&&) = default;

    const std::vector<Entry>& entries() const { return m_entries; }

    // Reads the space of `model` from `store`. Throws Database::Failure.
    static Space read(LibraryStore& store, const std::string& model, VectorSpace space);

   private:
    std::vector<std::string> m_ids;
    std::vector<float> m_floats;
    std::vector<Entry> m_entries;  // views into m_ids and m_floats
  };

  struct Snapshot {
    // A space whose read failed is empty.
    Space look;
    Space meaning;
    // The captures of each collection, among the newest 100,000, newest
    // first; empty when the read failed.
    std::map<std::string, std::vector<std::string>> members;

    const Space& space(VectorSpace which) const {
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
