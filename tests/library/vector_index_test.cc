// After any write, its own connection's or another's, the index must hold
// what reading the store afresh gives.
#include "core/library/vector_index.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "tests/testing/sample_captures.h"
#include "tests/testing/temp_dir.h"

namespace brindlemoor {
namespace {

using testing::sampleCapture;
using testing::sampleID;

const std::string kModel = "e";

class VectorIndexTest : public ::testing::Test {
 protected:
  static constexpr std::int64_t kWindow = 6;

  testing::TempDir dir;
  LibraryStore store{dir.path()};
  VectorIndex index{store, kModel, kWindow};

  void embed(int n, float x) {
    store.setEmbedding(sampleID(n), kModel,
                       {{VectorSpace::look, {1, 0}}, {VectorSpace::meaning, {x, 1 - x}}});
  }

  void expectCurrent() {
    const VectorIndex::Reading reading = index.current();
    ASSERT_FALSE(reading.failure().has_value());
    for (VectorSpace space : {VectorSpace::look, VectorSpace::meaning}) {
      const auto stored = store.vectors(kModel, space);
      const auto& entries = reading.space(space).entries();
      ASSERT_EQ(entries.size(), stored.size()) << space.raw();
      for (std::size_t i = 0; i < stored.size(); ++i) {
        EXPECT_EQ(entries[i].id, stored[i].id) << "in the store's order, " << i;
        EXPECT_TRUE(std::ranges::equal(entries[i].vector, stored[i].vector)) << i;
      }
    }
    ASSERT_EQ(reading.filings(), store.filings(kWindow));
    std::map<std::string, std::vector<float>> meaning;
    for (auto& entry : store.vectors(kModel, VectorSpace::meaning))
      meaning[entry.id] = entry.vector;
    for (std::size_t i = 0; i < reading.filings().size(); ++i) {
      const auto stored = meaning.find(reading.filings()[i].id);
      const auto place = reading.meaningPlace(i);
      ASSERT_EQ(place.has_value(), stored != meaning.end()) << i;
      if (place) {
        EXPECT_TRUE(std::ranges::equal(reading.space(VectorSpace::meaning).entries()[*place].vector,
                                       stored->second))
            << i;
      }
    }
  }
};

TEST_F(VectorIndexTest, FollowsItsOwnWritesThroughTheWindowAndAnotherConnectionsCommits) {
  for (int n = 0; n < 4; ++n) store.insert(sampleCapture(n, 100 + n));
  expectCurrent();

  embed(1, 0.5f);
  embed(2, 0.25f);
  store.insertCollection({"c", "Group", "📁", now(), now(), 0, 0, false});
  store.setCollection(sampleID(1), "c");
  store.moveCapture(sampleID(2), "c");
  store.setNote(sampleID(3), "seen");
  expectCurrent();

  // Past the window: newer ones push older ones out, an older one stays out,
  // and three kept at one moment go by the order they were stored in.
  for (int n = 4; n < 7; ++n) store.insert(sampleCapture(n, 200));
  store.insert(sampleCapture(7, 50));
  embed(5, 0.75f);
  embed(2, 0.125f);  // embedded again
  expectCurrent();

  // A capture leaving a full window lets the next older one in.
  store.deleteCapture(sampleID(5));
  expectCurrent();
  store.moveCapture(sampleID(2), std::nullopt);
  store.dropEmptyCollections();
  expectCurrent();
  expectCurrent();  // nothing written since

  // Another connection's commit, after which the index reads everything.
  LibraryStore other(dir.path());
  other.insert(sampleCapture(9, 300));
  other.setEmbedding(sampleID(9), kModel, {{VectorSpace::meaning, {0.5f, 0.5f}}});
  other.setEmbedding(sampleID(0), kModel, {{VectorSpace::meaning, {0.0f, 1.0f}}});
  other.deleteCapture(sampleID(1));
  expectCurrent();
}

}  // namespace
}  // namespace brindlemoor
