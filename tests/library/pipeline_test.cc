#include <gtest/gtest.h>

#include <atomic>

#include "core/library/library.h"
#include "core/library/local_media_work.h"
#include "core/library/retry_plan.h"
#include "tests/testing/imitation_ollama.h"
#include "tests/testing/pictures.h"
#include "tests/testing/sample_captures.h"
#include "tests/testing/temp_dir.h"

namespace brindlemoor {
namespace {

using testing::sampleCapture;
using testing::sampleID;

constexpr const char* kVision = "vision:test";
constexpr const char* kEmbedding = "embedding:test";

class Pipeline : public ::testing::Test {
 protected:
  Pipeline() {
    m_daemon.setModels({kVision, kEmbedding});
    m_daemon.setReply(R"({"title": "Lemon tart recipe", "kind": "recipe"})");
  }
  std::unique_ptr<Library> open(const std::string& daemonHost) {
    return std::make_unique<Library>(std::make_unique<LibraryStore>(m_dir.path()),
                                     OllamaClient(daemonHost), kVision, kEmbedding, Organizer(),
                                     std::make_unique<LocalMediaWork>());
  }
  LibraryStore& store() { return m_library->store(); }
  void keep(int n) {
    m_library->keep(sampleCapture(n, n),
                    testing::textPicture("Bake the lemon tart\nfor 30 minutes"), {1});
  }

  testing::TempDir m_dir;
  testing::ImitationOllama m_daemon;
  std::unique_ptr<Library> m_library = open(m_daemon.host());
};

// Naming a collection can fail after its captures are filed: they wait for
// nothing, and a later pass names the collection.
TEST_F(Pipeline, CapturesGoFromKeptToOrganizedThoughNamingTheirCollectionFails) {
  std::atomic<bool> naming = false;
  m_daemon.setReply([&](const nlohmann::json& request) -> std::string {
    if (request["prompt"].get<std::string>().find("Name the collection") == std::string::npos) {
      return R"({"title": "Lemon tart recipe", "kind": "recipe"})";
    }
    if (!naming) throw std::runtime_error("out of memory");
    return R"({"name": "Tarts", "emoji": "🥧"})";
  });
  int changes = 0;
  m_library->setOnChange([&] { ++changes; });
  keep(1);
  m_library->work();
  EXPECT_EQ(changes, 3) << "kept, described, organized";
  for (VectorSpace space : VectorSpace::all()) {
    EXPECT_EQ(store().vectors(kEmbedding, space).size(), 1u) << space.raw();
  }
  keep(2);
  m_library->work();
  for (int n : {1, 2}) {
    const auto capture = store().capture(sampleID(n));
    EXPECT_EQ(capture->stage, CaptureStage::organized);
    EXPECT_NE(capture->ocrText->find("lemon tart"), std::string::npos) << *capture->ocrText;
    EXPECT_EQ(capture->title, "Lemon tart recipe");
    EXPECT_EQ(capture->lastError, std::nullopt) << "filed, so waiting for nothing";
  }
  ASSERT_EQ(store().collections().size(), 1u);
  EXPECT_EQ(store().collections().front().name, "New collection");
  naming = true;
  m_library->work();
  EXPECT_EQ(store().collections().front().name, "Tarts");
}

TEST_F(Pipeline, WithTheDaemonDownACaptureIsReadAndWaitsAMinute) {
  testing::ClosedPort closed;
  m_library = open(closed.host());
  const Date before = now();
  keep(1);
  m_library->work();
  m_library->work();
  const auto capture = store().capture(sampleID(1));
  EXPECT_EQ(capture->stage, CaptureStage::read);
  EXPECT_EQ(capture->lastError, "Ollama is not running");
  EXPECT_EQ(store().textSearch("lemon", 10).size(), 1u) << "findable by its words already";
  EXPECT_TRUE(store().pending(before + std::chrono::seconds(59), 1).empty());
  EXPECT_EQ(store().pending(now() + std::chrono::seconds(61), 1).size(), 1u);
}

TEST_F(Pipeline, AfterARestartADescribedCaptureIsOnlyEmbeddedAndFiled) {
  keep(1);
  m_library->work();
  store().setDescribed(sampleID(1), {"Again", "", CaptureKind::other, {}, {}, {}});
  const int generated = m_daemon.requestCount("/api/generate");
  m_library = open(m_daemon.host());
  m_library->work();
  EXPECT_EQ(store().capture(sampleID(1))->stage, CaptureStage::organized);
  EXPECT_EQ(m_daemon.requestCount("/api/generate"), generated);
}

TEST(RetryPlan, ClassesOfFailure) {
  using Failure = OllamaClient::Failure;
  EXPECT_EQ(RetryPlan::forFailure(Failure::server(500, "model not found")),
            (RetryPlan{"A model is missing: model not found", 300}));
  EXPECT_EQ(RetryPlan::forFailure(Failure::server(500, "Not Found")).delay, 600)
      << "only the exact words count";
  const Failure bad = Failure::badReply("no response text");
  EXPECT_EQ(RetryPlan::forFailure(bad), (RetryPlan{bad.what(), 600}));
}

}  // namespace
}  // namespace brindlemoor
