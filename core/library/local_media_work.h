// LocalMediaWork is the pipeline's MediaWork: Reader for the text in a
// picture, Transcriber for the speech in a video, Thumbnailer for the
// pictures the models see. A program that runs the pipeline with it begins
// main() with requireOcrThreadLimit (core/media/ocr_thread_limit.h),
// as Reader asks.
//
// Threads: free of shared state; any function may run on any thread.
#pragma once

#include "core/library/media_work.h"

namespace brindlemoor {

class LocalMediaWork final : public MediaWork {
 public:
  std::string text(const Bytes& picture) const override;
  // Heard with the model for ICU's default locale.
  std::optional<std::string> speech(const std::filesystem::path& video) const override;
  std::optional<Bytes> scaled(const Bytes& picture, int maxPixel, double quality) const override;
};

}  // namespace brindlemoor
