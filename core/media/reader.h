// Reader turns a picture into the text on it: the first step of the pipeline,
// whose result feeds the vision prompt and becomes a capture's searchable
// words. Recognition is Tesseract's, on the picture as libvips decodes it.
//
// Threads: any thread may call `text`, also concurrently. Each thread keeps
// one recognition engine of its own, made on its first call (about a tenth
// of a second) and reused for the thread's life.
//
// Speed: about 2 s for a full-screen window on one core, growing with the
// amount of text. Tesseract runs its inner loops under OpenMP, which on a few
// cores makes it several times slower, not faster, unless OMP_THREAD_LIMIT=1
// is in the environment when the process starts. So every program that calls
// `text` begins main() with `requireOcrThreadLimit`
// (core/media/ocr_thread_limit.h), and every test that calls it is
// registered with `bm_test(... READS_TEXT ...)` in CMake.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "core/model/bytes.h"
#include "core/model/failure.h"

namespace brindlemoor::Reader {

// Raised when the bytes are no picture libvips can decode, or when the
// engine cannot start or fails on a picture. what() says which.
class Failure : public brindlemoor::Failure {
 public:
  using brindlemoor::Failure::Failure;
};

// The text on the picture encoded in `bytes` (any format libvips reads; the
// first page or frame, without applying its orientation): the recognised
// lines in the engine's reading order, joined by single line feeds, with no
// blank lines. A picture without text gives the empty string, which is a
// success. Confidences are not looked at and the result is not cut.
//
// Made for screens: the picture is read as sparse text, so each line stays
// within its panel and lines come from top to bottom; dark panels from about
// 28 px across are turned light first, so that all text reaches the engine
// dark on light. The picture is never scaled down, which would lose small
// interface text.
//
// Throws Failure for empty bytes, bytes that are no picture, a missing
// English language file, or an engine that fails.
std::string text(const Bytes& bytes);

// The Tesseract languages for a user in `locale` (an ICU or POSIX locale
// name such as "de_DE.UTF-8" or "zh-Hant-TW"), as Tesseract's language
// string: "eng", plus the locale's own language when its traineddata file
// lies in `tessdata`, as in "eng+deu". Used by `text` with ICU's default
// locale and the engine's data directory.
std::string languages(std::string_view locale, const std::filesystem::path& tessdata);

}  // namespace brindlemoor::Reader
