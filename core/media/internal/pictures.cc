#include "core/media/internal/pictures.h"

// After vips8, which it needs.
#include <sys/statvfs.h>
#include <unistd.h>
#include <vips/vector.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <mutex>
#include <string>
#include <utility>

#include "core/media/internal/column_reducer.h"
#include "core/media/internal/row_reducer.h"

namespace brindlemoor::Pictures {
namespace {

using vips::VImage;

// The loaders fail on a picture cut short rather than fill the rest with
// grey; smaller flaws that still give the whole picture are accepted. The
// thumbnail of a file takes this as its own option, that of a buffer only in
// the option string it hands its loader.
constexpr VipsFailOn kFailOn = VIPS_FAIL_ON_TRUNCATED;
constexpr const char* kBufferLoadOptions = "[fail_on=truncated]";

VImage checked(VImage header) {
  checkSize(header.width(), header.height());
  return header;
}

vips::VOption* scaling(int maxPixel) {
  return VImage::option()->set("height", maxPixel)->set("size", VIPS_SIZE_DOWN);
}

// The largest shrink the JPEG decoder can do (by 2, 4 or 8, in its DCT)
// that still leaves at least `maxPixel` on the longest side.
int jpegShrink(const VImage& header, int maxPixel) {
  const int longest = std::max(header.width(), header.height());
  int shrink = 1;
  while (shrink < 8 && longest / (shrink * 2) >= maxPixel) shrink *= 2;
  return shrink;
}

// Strips of this many lines pass from libvips to the reducers: enough to
// keep the decoder's calls few, little enough to stay in the cache.
constexpr int kStripLines = 16;

// An 8-bit picture of 1 to 4 bands in memory, scaled with a linear kernel as
// wide as the reduction so that its longest side is at most `maxPixel`,
// never enlarged, with the picture's metadata (its orientation among them).
// Its rows are reduced here (see ColumnReducer and RowReducer) strip by strip
// as libvips decodes them, straight into the new picture's memory, so nothing
// is held at full size. Throws vips::VError when the picture can't be
// decoded.
VImage reduced(const VImage& image, int maxPixel) {
  const double scale = static_cast<double>(maxPixel) / std::max(image.width(), image.height());
  if (scale >= 1) return image.copy_memory();
  const int width = std::max(1, static_cast<int>(std::lround(image.width() * scale)));
  const int height = std::max(1, static_cast<int>(std::lround(image.height() * scale)));
  VImage out(vips_image_new_memory());
  if (vips_image_pipelinev(out.get_image(), VIPS_DEMAND_STYLE_ANY, image.get_image(), nullptr) !=
      0) {
    throw vips::VError();
  }
  vips_image_init_fields(out.get_image(), width, height, image.bands(), image.format(),
                         image.coding(), image.interpretation(), image.xres(), image.yres());
  if (vips_image_write_prepare(out.get_image()) != 0) throw vips::VError();
  ColumnReducer columns(image.height(), height,
                        static_cast<std::size_t>(image.width()) * image.bands());
  RowReducer rows(image.width(), width, image.bands());
  const auto strip = vips::VRegion::new_from_image(image);
  int next = 0;  // the next row of `image` for the column reducer
  for (int y = 0; y < height; ++y) {
    for (; next <= columns.lastRowFor(y); ++next) {
      if (next % kStripLines == 0) {
        strip.prepare(0, next, image.width(), std::min(kStripLines, image.height() - next));
      }
      columns.add(strip.addr(0, next));
    }
    rows.reduce(columns.reduce(y), VIPS_IMAGE_ADDR(out.get_image(), 0, y));
  }
  return out;
}

// A JPEG file decoded with shrink-on-load and reduced the rest of the way.
// For the reductions left after shrink-on-load (under 2) a linear kernel
// looks as good as the default lanczos3 of thumbnail() at a fraction of the
// cost, which matters most for the 12-megapixel photos that import reads.
// The picture is turned upright as it is read.
VImage scaledJpeg(const std::filesystem::path& path, const VImage& header, int maxPixel) {
  const VImage image =
      VImage::new_from_file(path.c_str(), VImage::option()
                                              ->set("access", VIPS_ACCESS_SEQUENTIAL)
                                              ->set("fail_on", kFailOn)
                                              ->set("shrink", jpegShrink(header, maxPixel)));
  return reduced(image, maxPixel).autorot();
}

}  // namespace

void checkSize(std::int64_t width, std::int64_t height) {
  if (width * height > kMaxPixels) {
    throw Failure("the picture is " + std::to_string(width) + " by " + std::to_string(height) +
                  " pixels, more than " + std::to_string(kMaxPixels / 1'000'000) + " megapixels");
  }
}

namespace {

// Whether the folder that receives libvips's generated vector code has room
// for it. The code generator writes the code into a file it maps, in the
// first of these folders it can write; a page of that file that can't be
// stored, on a full disk, ends the process with SIGBUS instead of failing.
// With too little room the plain loops run instead, and the import goes on
// to fail in words where it writes its own files.
bool roomForGeneratedCode() {
  constexpr unsigned long long kRoom = 4ull << 20;
  for (const char* folder : {static_cast<const char*>(std::getenv("XDG_RUNTIME_DIR")),
                             static_cast<const char*>(std::getenv("HOME")),
                             static_cast<const char*>(std::getenv("TMPDIR")), "/tmp"}) {
    if (!folder || ::access(folder, W_OK | X_OK) != 0) continue;
    struct statvfs space {};
    if (::statvfs(folder, &space) != 0) return true;
    return static_cast<unsigned long long>(space.f_bavail) * space.f_frsize >= kRoom;
  }
  return true;  // no such folder: the generator maps memory of its own
}

}  // namespace

void start() {
  static std::once_flag once;
  std::call_once(once, [] {
    if (VIPS_INIT("brindlemoor") != 0) throw Failure("libvips did not start");
    if (!roomForGeneratedCode()) vips_vector_set_enabled(FALSE);
    vips_cache_set_max(0);
    // We run one picture per thread, and a batch import gives every core a
    // file of its own; libvips's workers on top of that would only compete
    // with those threads for the same cores.
    vips_concurrency_set(1);
    // Pictures come from the web and from any file the user drops; the
    // loaders libvips doesn't vouch for (ImageMagick's above all, which
    // reads scripts and documents as pictures) never see them.
    vips_block_untrusted_set(TRUE);
    // A damaged picture reaches the caller as a failure; libvips's warnings
    // about it would only be noise on the terminal.
    g_log_set_handler(
        "VIPS", G_LOG_LEVEL_WARNING, [](const gchar*, GLogLevelFlags, const gchar*, gpointer) {},
        nullptr);
  });
}

PictureSource::PictureSource(std::filesystem::path path, const Bytes* bytes, VImage header)
    : m_path(std::move(path)), m_bytes(bytes), m_header(std::move(header)) {}

PictureSource PictureSource::file(const std::filesystem::path& path) {
  start();
  try {
    return PictureSource(
        path, nullptr,
        checked(VImage::new_from_file(
            path.c_str(),
            VImage::option()->set("access", VIPS_ACCESS_SEQUENTIAL)->set("fail_on", kFailOn))));
  } catch (const vips::VError&) {
    throw Failure("it isn't a picture that can be decoded here");
  }
}

PictureSource PictureSource::bytes(const Bytes& bytes) {
  start();
  if (bytes.empty()) throw Failure("there are no bytes");
  try {
    return PictureSource(
        {}, &bytes,
        checked(VImage::new_from_buffer(
            bytes.data(), bytes.size(), "",
            VImage::option()->set("access", VIPS_ACCESS_SEQUENTIAL)->set("fail_on", kFailOn))));
  } catch (const vips::VError&) {
    throw Failure("it isn't a picture that can be decoded here");
  }
}

VImage PictureSource::scaled(int maxPixel) const {
  if (maxPixel < 1) throw Failure("no picture fits in " + std::to_string(maxPixel) + " pixels");
  try {
    if (m_bytes == nullptr && m_header.get_string("vips-loader") == std::string("jpegload")) {
      return scaledJpeg(m_path, m_header, maxPixel);
    }
    if (m_bytes == nullptr) {
      return VImage::thumbnail(m_path.c_str(), maxPixel, scaling(maxPixel)->set("fail_on", kFailOn))
          .copy_memory();
    }
    // The blob borrows the bytes: nothing is copied, and nothing is freed.
    VipsBlob* blob = vips_blob_new(nullptr, m_bytes->data(), m_bytes->size());
    try {
      VImage image =
          VImage::thumbnail_buffer(blob, maxPixel,
                                   scaling(maxPixel)->set("option_string", kBufferLoadOptions))
              .copy_memory();
      vips_area_unref(VIPS_AREA(blob));
      return image;
    } catch (...) {
      vips_area_unref(VIPS_AREA(blob));
      throw;
    }
  } catch (const vips::VError&) {
    throw Failure("the picture is damaged");
  }
}

VImage fitted(const VImage& image, int maxPixel) {
  if (maxPixel < 1) throw Failure("no picture fits in " + std::to_string(maxPixel) + " pixels");
  try {
    return reduced(opaqueRgb(image), maxPixel);
  } catch (const vips::VError&) {
    throw Failure("the picture can't be scaled");
  }
}

VImage opaqueRgb(const VImage& image) {
  VImage rgb = image.colourspace(VIPS_INTERPRETATION_sRGB);
  if (rgb.has_alpha()) {
    rgb = rgb.flatten(VImage::option()->set("background", std::vector<double>{255, 255, 255}));
  }
  return rgb.cast(VIPS_FORMAT_UCHAR);
}

}  // namespace brindlemoor::Pictures
