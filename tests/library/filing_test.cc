// Filing's shortcuts (the shared index, kept centroids, scoring only the unsorted
// that can reach the threshold) must decide exactly as the organizer on fresh vectors.
#include "core/library/filing.h"

#include <gtest/gtest.h>

#include <random>
#include <unordered_map>

#include "core/model/vector_math.h"
#include "tests/testing/imitation_ollama.h"
#include "tests/testing/sample_captures.h"
#include "tests/testing/temp_dir.h"

namespace brindlemoor {
namespace {

using testing::sampleID;

constexpr int kDimension = 32;
const std::string kModel = "e";

// The organizer's decision for `id` on everything the store holds now.
Organizer::Decision plainDecision(LibraryStore& store, const std::string& id) {
  std::unordered_map<std::string, std::vector<float>> vectors;
  for (auto& entry : store.vectors(kModel, VectorSpace::meaning)) {
    vectors[entry.id] = std::move(entry.vector);
  }
  std::vector<Organizer::Group> groups;
  std::vector<Organizer::Unsorted> unsorted;
  for (const auto& filing : store.filings(1000)) {
    const auto vector = vectors.find(filing.id);
    if (vector == vectors.end() || filing.id == id) continue;
    if (filing.collectionID) {
      auto group = std::ranges::find(groups, *filing.collectionID, &Organizer::Group::id);
      if (group == groups.end())
        group = groups.insert(groups.end(), {*filing.collectionID, {}, {}});
      group->members.push_back(vector->second);
    } else if (filing.stage == CaptureStage::organized) {
      unsorted.push_back({filing.id, vector->second});
    }
  }
  return Organizer().decide(vectors.at(id), groups, unsorted);
}

TEST(Filing, DecidesAsTheOrganizerDoesOnVectorsReadAfresh) {
  testing::TempDir dir;
  testing::ImitationOllama daemon;
  daemon.setModels({"v", kModel});
  daemon.setReply(R"({"name": "Group", "emoji": "📁"})");
  LibraryStore store(dir.path());
  VectorIndex index(store, kModel, 1000);
  const OllamaClient client(daemon.host());
  Filing filing(store, index, client, Organizer(), [] { return std::string("v"); });

  std::mt19937 random(3);
  std::normal_distribution<float> normal;
  std::vector<std::vector<float>> centres(5, std::vector<float>(kDimension));
  for (auto& centre : centres) {
    for (float& x : centre) x = normal(random);
  }
  int joined = 0, formed = 0, alone = 0;
  for (int n = 0; n < 160; ++n) {
    const std::string id = sampleID(n);
    // Most near one of a few centres, some anywhere, a few twice the same.
    std::vector<float> vector(kDimension);
    for (std::size_t i = 0; i < vector.size(); ++i) {
      vector[i] = n % 7 == 0 ? normal(random) : centres[n % 5][i] + 0.35f * normal(random);
    }
    if (n % 23 == 22) vector = *store.vector(sampleID(n - 1), VectorSpace::meaning);
    store.insert(testing::sampleCapture(n, n));
    store.setEmbedding(id, kModel,
                       {{VectorSpace::look, VectorMath::unit(vector)},
                        {VectorSpace::meaning, VectorMath::unit(vector)}});

    const Organizer::Decision expected = plainDecision(store, id);
    EXPECT_EQ(filing.organize(id), expected) << n;
    const auto kept = store.capture(id);
    EXPECT_EQ(kept->stage, CaptureStage::organized);
    if (const auto* join = std::get_if<Organizer::Decision::Join>(&expected.value)) {
      ++joined;
      EXPECT_EQ(kept->collectionID, join->collectionID) << n;
    } else if (const auto* form = std::get_if<Organizer::Decision::Form>(&expected.value)) {
      ++formed;
      EXPECT_EQ(store.capture(form->with.front())->collectionID, kept->collectionID) << n;
    } else {
      ++alone;
      EXPECT_FALSE(kept->collectionID.has_value()) << n;
    }
  }
  // Every kind of decision was made and checked.
  EXPECT_GT(joined, 10);
  EXPECT_GT(formed, 1);
  EXPECT_GT(alone, 5);
}

// A collection whose naming failed or was cut short is named on a later pass.
TEST(Filing, ACollectionLeftUnnamedIsNamedOnALaterPass) {
  testing::TempDir dir;
  LibraryStore store(dir.path());
  VectorIndex index(store, kModel, 1000);
  const auto model = [] { return std::string("v"); };
  testing::ImitationOllama failing;
  failing.answer("/api/generate", 500, R"({"error": "out of memory"})");
  const OllamaClient failingClient(failing.host());
  Filing filing(store, index, failingClient, Organizer(), model);
  // Two pairs of captures, each pair alike: each second one forms a collection.
  for (int n = 0; n < 4; ++n) {
    std::vector<float> vector(kDimension, 0.0f);
    vector[n / 2] = 1;
    store.insert(testing::sampleCapture(n, n));
    store.setEmbedding(sampleID(n), kModel,
                       {{VectorSpace::look, vector}, {VectorSpace::meaning, vector}});
    try {
      filing.organize(sampleID(n));
    } catch (const OllamaClient::Failure&) {
    }
  }
  ASSERT_EQ(store.collections().size(), 2u);
  EXPECT_THROW(filing.nameDue(), OllamaClient::Failure);
  EXPECT_EQ(failing.requestCount("/api/generate"), 2 + 1) << "a pass stops at the first failure";

  testing::ImitationOllama daemon;
  daemon.setModels({"v", kModel});
  daemon.setReply(R"({"name": "Pairs", "emoji": "🍐"})");
  const OllamaClient client(daemon.host());
  Filing later(store, index, client, Organizer(), model);
  EXPECT_TRUE(later.nameDue());
  for (const auto& collection : store.collections()) {
    EXPECT_EQ(collection.name, "Pairs");
    EXPECT_EQ(collection.namedAtCount, 2);
  }
  EXPECT_FALSE(later.nameDue()) << "named collections are not due again";
  EXPECT_EQ(daemon.requestCount("/api/generate"), 2);
}

}  // namespace
}  // namespace brindlemoor
