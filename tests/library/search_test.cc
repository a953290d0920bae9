#include <gtest/gtest.h>

#include "core/library/library.h"
#include "core/model/vector_math.h"
#include "core/understanding/embedding_text.h"
#include "tests/testing/imitation_ollama.h"
#include "tests/testing/sample_captures.h"
#include "tests/testing/temp_dir.h"

namespace brindlemoor {
namespace {

using testing::sampleCapture;
using testing::sampleID;

constexpr const char* kEmbedding = "embedding:test";
constexpr int kDimension = 768;  // the imitation daemon's

// Captures are stored directly with the texts and vectors a test chooses.
class Search : public ::testing::Test {
 protected:
  Search() { m_daemon.setModels({kEmbedding}); }
  // The unit vector the daemon gives for `query` as a search embeds it, or its opposite.
  static std::vector<float> queryVector(const std::string& query, float sign = 1) {
    auto vector = testing::ImitationOllama::embeddingOf(EmbeddingText::query(query), kDimension);
    for (float& x : vector) x *= sign;
    return VectorMath::unit(vector);
  }
  void add(int n, const std::string& text, const std::vector<float>& meaning,
           const std::optional<std::string>& collection = std::nullopt) {
    store().insert(sampleCapture(n, n));
    store().setRead(sampleID(n), text, std::nullopt);
    store().setEmbedding(sampleID(n), kEmbedding,
                         {{VectorSpace::look, meaning}, {VectorSpace::meaning, meaning}});
    store().setCollection(sampleID(n), collection);
  }
  LibraryStore& store() { return m_library->store(); }

  testing::TempDir m_dir;
  testing::ImitationOllama m_daemon;
  std::unique_ptr<Library> m_library = std::make_unique<Library>(
      std::make_unique<LibraryStore>(m_dir.path()), OllamaClient(m_daemon.host()), "vision",
      kEmbedding, Organizer(), nullptr);
};

TEST_F(Search, WordsAndVectorsMergeWithTheirReasons) {
  const auto close = queryVector("quince jam");
  add(1, "quince jam on toast", close);                          // words and both spaces
  add(2, "a note about quince", queryVector("quince jam", -1));  // words only
  add(3, "nothing in common", close);                            // both spaces only
  const SearchFindings found = m_library->findings("quince jam");
  ASSERT_EQ(found.hits.size(), 2u) << "the second needs every word";
  EXPECT_EQ(found.hits[1].capture.id, sampleID(3));
  EXPECT_EQ(found.hits[0].reasons, (std::set<SearchReason>{SearchReason::words, SearchReason::look,
                                                           SearchReason::meaning}));
  EXPECT_EQ(found.hits[1].reasons,
            (std::set<SearchReason>{SearchReason::look, SearchReason::meaning}));

  const int embedded = m_daemon.requestCount("/api/embed");
  EXPECT_EQ(m_library->findings("   \n"), SearchFindings{});
  EXPECT_EQ(m_daemon.requestCount("/api/embed"), embedded) << "a blank query asks nobody";
}

TEST_F(Search, ANearlyCoveredCollectionIsCompleted) {
  const auto far = queryVector("lisbon", -1);
  store().insertCollection({"trip", "Trip", "🚋", now(), now(), 0, 0, false});
  for (int n = 1; n <= 3; ++n) add(n, "lisbon tram " + std::to_string(n), far, "trip");
  add(4, "the hotel booking", far, "trip");
  add(5, "lisbon again, unsorted", far);
  add(6, "elsewhere", far);  // a flat field of six or more: no vector stands out
  const SearchFindings found = m_library->findings("lisbon");
  ASSERT_EQ(found.hits.size(), 5u);
  EXPECT_EQ(found.hits.back().capture.id, sampleID(4));
  EXPECT_EQ(found.hits.back().reasons, std::set<SearchReason>{SearchReason::collection});
  EXPECT_EQ(found.collectionIDs, std::vector<std::string>{"trip"});
}

TEST_F(Search, RelatedKeepsTheAlikeAboveTheFloor) {
  auto along = [](float x, float y) {
    std::vector<float> vector(kDimension, 0.0f);
    vector[0] = x;
    vector[1] = y;
    return vector;
  };
  add(1, "one", along(1, 0));
  add(2, "below the floor", along(0.7f, 0.71414284f));
  add(3, "alike", along(0.8f, 0.6f));
  add(4, "the same", along(1, 0));
  std::vector<std::string> ids;
  for (const auto& capture : m_library->related(sampleID(1), 10)) ids.push_back(capture.id);
  EXPECT_EQ(ids, (std::vector<std::string>{sampleID(4), sampleID(3)})) << "never itself";
}

}  // namespace
}  // namespace brindlemoor
