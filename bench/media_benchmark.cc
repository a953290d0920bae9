// Speed of importing. Photos: camera-like 12-megapixel JPEGs through kind,
// photo and the writing of everything Library::keepImported writes, on one
// thread and on two as a batch import runs them; read photos/s, which on two
// threads counts the imports of both, so the two rows compare directly.
// Video: MediaImporter::video of a 60-second 1080p H.264 clip with sound;
// read the p50 and p95 rows.
#include <benchmark/benchmark.h>

#include <cmath>
#include <vips/vips8>

#include "bench/one_at_a_time.h"
#include "core/library/files.h"
#include "core/media/media_importer.h"
#include "core/media/picture_memory.h"
#include "core/store/library_store.h"
#include "tests/testing/media_files.h"
#include "tests/testing/temp_dir.h"

namespace brindlemoor {
namespace {

using vips::VImage;

// Broad shapes, fine detail and sensor noise, saved as a camera would at
// quality 92: about as costly to decode as a real photo.
VImage cameraLike(int width, int height, double phase) {
  const VImage xyz = VImage::xyz(width, height);
  const VImage x = xyz[0];
  const VImage y = xyz[1];
  const VImage shapes = (x / 9.0 + phase).sin() * 40 + (y / 7.0 - phase).cos() * 40 + 128;
  const VImage detail = ((x * 7.0 + y * 3.0 + phase).sin() * (x / 23.0).cos()) * 18;
  std::vector<VImage> bands;
  for (int band = 0; band < 3; ++band) {
    bands.push_back(shapes + detail * (band + 1) / 2.0 +
                    VImage::gaussnoise(width, height, VImage::option()->set("sigma", 4.0)) - 128);
  }
  return VImage::bandjoin(bands)
      .cast(VIPS_FORMAT_UCHAR)
      .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
}

struct Photos {
  testing::TempDir dir;
  LibraryStore store{dir.path() / "library"};
  std::vector<std::filesystem::path> files;

  Photos() {
    for (int i = 0; i < 4; ++i) {
      files.push_back(dir.path() / ("photo-" + std::to_string(i) + ".jpg"));
      cameraLike(4000, 3000, i).jpegsave(files.back().c_str(), VImage::option()->set("Q", 92));
    }
  }

  void import(const std::filesystem::path& file) {
    if (MediaImporter::kind(file) != CaptureMedia::photo) throw std::logic_error("not a photo");
    const MediaImporter::Imported imported = MediaImporter::photo(file, now());
    Files::writeAtomically(store.imageURL(imported.capture), imported.image);
    Files::writeAtomically(store.thumbURL(imported.capture.id), imported.thumbnail);
    Files::copyAtomically(file, *store.originalURL(imported.capture));
    store.insert(imported.capture);
  }
};

void BM_ImportPhoto12MP(benchmark::State& state) {
  static Photos photos;
  std::size_t next = static_cast<std::size_t>(state.thread_index());
  for (auto _ : state) {
    photos.import(photos.files[next % photos.files.size()]);
    next += static_cast<std::size_t>(state.threads());
  }
  state.counters["photos/s"] =
      benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_ImportPhoto12MP)
    ->Threads(1)
    ->Threads(2)
    ->UseRealTime()
    ->MinTime(10)
    ->Unit(benchmark::kMillisecond);

struct Clip {
  testing::TempDir dir;
  std::filesystem::path file = dir.path() / "clip.mp4";

  Clip() {
    testing::writeTestVideo(file, {.seconds = 60,
                                   .width = 1920,
                                   .height = 1080,
                                   .framesPerSecond = 30,
                                   .sound = testing::tone(60, 440, 48000),
                                   .textured = true,
                                   .preset = "veryfast"});
  }
};

void BM_ImportVideo60s1080p(benchmark::State& state) {
  static Clip clip;
  for (auto _ : state) benchmark::DoNotOptimize(MediaImporter::video(clip.file, now()));
}
BENCHMARK(BM_ImportVideo60s1080p)->Apply([](benchmark::internal::Benchmark* b) {
  bench::oneAtATime(b, 10);
});

}  // namespace
}  // namespace brindlemoor

int main(int argc, char** argv) {
  brindlemoor::keepPictureMemory();
  if (VIPS_INIT(argv[0]) != 0) return 1;
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
