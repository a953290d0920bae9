// VectorIndex keeps in memory what search, related and filing read in full:
// the vectors of the embedding model in both spaces, in the store's order,
// and where the newest captures stand (collection and stage). Reading them
// afresh costs most of a second with 100,000 captures, a search or a filing
// decision a few tens of milliseconds; so the index asks the store which
// captures this connection has written since it last looked and reads only
// those again, and reads everything when another connection has committed
// meanwhile. What it holds is therefore what reading the store each time
// gives. It is the one taker of its store's changes.
//
// Thread rules: current() may be called from any thread. A Reading holds the
// index still for as long as it lives; a thread must not ask for a second
// one while it holds one, nor write to the store meanwhile from the thread
// that waits on it.
#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <string>
#include <vector>

#include "core/search/search_merge.h"
#include "core/search/vector_block.h"
#include "core/store/library_store.h"

namespace brindlemoor {

class VectorIndex {
 public:
  // A part of the index could not be read; the words are the store's.
  class Failure : public brindlemoor::Failure {
   public:
    using brindlemoor::Failure::Failure;
  };

  // `store` must outlive the index; `window` is how many of the newest
  // captures the filings and the collections' members look at.
  VectorIndex(LibraryStore& store, std::string model, std::int64_t window);

  class Reading;

  // The index brought up to what the store holds, held still for reading.
  // Never throws but for exhausted memory: a part that can't be read is
  // empty, failure() says why, and it is read again next time.
  Reading current();

 private:
  struct Space {
    VectorBlock block;
    std::vector<std::int64_t> rowids;  // beside the block's entries
  };
  // An empty space whose floats lie in a file in the library's folder.
  Space emptySpace() const { return {VectorBlock(m_store.root()), {}}; }

  void refresh();
  void readEverything();
  void readAgain(const std::vector<std::string>& ids);
  // Whether the written `ids` could be taken in without reading the space
  // again: new vectors at the end of the store's order, the rest untouched.
  bool tookIn(Space& space, VectorSpace which, const std::vector<std::string>& ids);
  void readSpace(Space& space, VectorSpace which);
  void readFilings();
  void readFilingsAgain(const std::vector<std::string>& ids);
  void placeFilings();

  LibraryStore& m_store;
  const std::string m_model;
  const std::int64_t m_window;

  // Held shared by each Reading, alone while the index is brought up to date.
  std::shared_mutex m_mutex;
  std::optional<std::int64_t> m_dataVersion;  // none until all has been read
  std::optional<Failure> m_failure;
  // Moves on whenever `meaning` is read whole, so that places in it taken
  // before can be told from places taken after.
  std::uint64_t m_meaningGeneration = 0;
  Space m_look = emptySpace();
  Space m_meaning = emptySpace();
  std::vector<LibraryStore::Filing> m_filings;
  // Beside m_filings: the place of each one's vector in m_meaning, if any.
  std::vector<std::optional<std::size_t>> m_filingPlaces;

  // Made from m_filings when a search first asks after a change.
  std::mutex m_membersMutex;
  std::optional<SearchMerge::Members> m_members;  // guarded by m_membersMutex
};

class VectorIndex::Reading {
 public:
  // Each space's vectors in the store's order; empty when it can't be read.
  const VectorBlock& space(VectorSpace which) const {
    return which == VectorSpace::look ? m_index.m_look.block : m_index.m_meaning.block;
  }
  // The newest `window` captures as LibraryStore::filings(window) gives them.
  const std::vector<LibraryStore::Filing>& filings() const { return m_index.m_filings; }
  // The place in space(meaning) of the vector of filings()[i], if it has one.
  std::optional<std::size_t> meaningPlace(std::size_t i) const { return m_index.m_filingPlaces[i]; }
  // The captures of each collection among filings(), newest first.
  const SearchMerge::Members& members() const;
  // Why a part could not be read, if one couldn't.
  const std::optional<Failure>& failure() const { return m_index.m_failure; }
  // Equal generations mean that the `meaning` entries of one are those of
  // the other, with at most more added at the end.
  std::uint64_t meaningGeneration() const { return m_index.m_meaningGeneration; }

 private:
  friend class VectorIndex;
  explicit Reading(VectorIndex& index) : m_index(index), m_lock(index.m_mutex) {}

  VectorIndex& m_index;
  std::shared_lock<std::shared_mutex> m_lock;
};

}  // namespace brindlemoor
