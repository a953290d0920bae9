#include "core/library/pipeline.h"

#include <utility>

#include "core/library/retry_plan.h"
#include "core/understanding/describer.h"
#include "core/understanding/embedding_text.h"

namespace brindlemoor {
namespace {

// What the models see: at most 1280 pixels at quality 0.85.
constexpr int kModelPixels = 1280;
constexpr double kModelQuality = 0.85;
constexpr double kEmbedTimeout = 60;

}  // namespace

Pipeline::Pipeline(LibraryStore& store, const OllamaClient& client, std::string embeddingModel,
                   const LibraryFiles& files, const MediaWork& media, Filing& filing,
                   VisionModel visionModel, Changed changed)
    : m_store(store),
      m_client(client),
      m_embeddingModel(std::move(embeddingModel)),
      m_files(files),
      m_media(media),
      m_filing(filing),
      m_visionModel(std::move(visionModel)),
      m_changed(std::move(changed)) {}

void Pipeline::advance(const Capture& capture) {
  Capture current = capture;
  RetryPlan plan;
  try {
    if (current.stage == CaptureStage::captured) read(current);
    if (current.stage == CaptureStage::read) describe(current);
    if (current.stage == CaptureStage::described) embed(current);
    if (current.stage == CaptureStage::embedded) {
      m_filing.organize(current.id);
      m_changed();
    }
    return;
  } catch (const OllamaClient::Failure& error) {
    m_modelFailed = true;
    plan = RetryPlan::forFailure(error);
  } catch (const std::exception& error) {
    plan = RetryPlan::forFailure(error);
  } catch (...) {
    plan = RetryPlan::forUnknownFailure();
  }
  // The stage stays: the next attempt starts at the step that failed. A
  // capture filed before the naming of its collection failed waits for
  // nothing: the collection is named at the end of a later pass.
  try {
    const auto stored = m_store.capture(current.id);
    if (stored && stored->stage != CaptureStage::organized) {
      m_store.recordFailure(current.id, plan.message, plan.delay, now());
    }
  } catch (const Database::Failure&) {
    // Dropped on purpose: without a retry time the capture is simply taken
    // up again by the next work().
  }
  m_changed();
}

void Pipeline::finish() {
  const bool modelFailed = std::exchange(m_modelFailed, false);
  if (modelFailed) return;
  try {
    if (m_filing.nameDue()) m_changed();
  } catch (const std::exception&) {
    // Dropped on purpose: the collection stays due, and the next pass asks
    // again.
  }
}

Bytes Pipeline::scaledPictureOf(const Capture& capture) {
  Bytes picture = m_files.picture(capture);
  if (auto scaled = m_media.scaled(picture, kModelPixels, kModelQuality)) return *scaled;
  return picture;
}

void Pipeline::read(Capture& current) {
  const std::string text = m_media.text(m_files.picture(current));
  std::optional<std::string> transcript;
  if (current.media == CaptureMedia::video) {
    if (auto original = m_store.originalURL(current)) {
      transcript = m_media.speech(*original);
    }
  }
  m_store.setRead(current.id, text, transcript);
  current.ocrText = text;
  current.transcript = transcript;
  current.stage = CaptureStage::read;
}

void Pipeline::describe(Capture& current) {
  const Describer describer(m_client, m_visionModel());
  const Bytes picture = scaledPictureOf(current);
  const CaptureDescription description =
      describer.describe(picture, Describer::Context(current), current.ocrText.value_or(""));
  m_store.setDescribed(current.id, description);
  // Edits may have landed meanwhile; a capture deleted during the call is
  // gone, and its pass ends here with the stage it had.
  if (auto stored = m_store.capture(current.id)) current = std::move(*stored);
  m_changed();
}

void Pipeline::embed(Capture& current) {
  const std::string document = EmbeddingText::document(current);
  const Bytes picture = scaledPictureOf(current);
  const std::string meaning = EmbeddingText::meaning(current);
  const auto vectors = m_client.embed(
      m_embeddingModel, {{document, picture}, {meaning, std::nullopt}}, kEmbedTimeout);
  m_store.setEmbedding(current.id, m_embeddingModel,
                       {{VectorSpace::look, vectors.at(0)}, {VectorSpace::meaning, vectors.at(1)}});
  current.stage = CaptureStage::embedded;
}

}  // namespace brindlemoor
