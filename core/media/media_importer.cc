#include "core/media/media_importer.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unicode/locid.h>
#include <unicode/smpdtfmt.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <system_error>

#include "core/media/contact_sheet.h"
#include "core/media/internal/av.h"
#include "core/media/internal/frame_grabber.h"
#include "core/media/internal/pictures.h"
#include "core/media/thumbnailer.h"
#include "core/model/identifier.h"
#include "core/model/text.h"

namespace brindlemoor::MediaImporter {
namespace {

using vips::VImage;

// What libvips decodes here with the loaders it trusts (HEIF and AVIF
// through libheif), and what FFmpeg demuxes and decodes here.
constexpr std::array<std::string_view, 11> kPhotoExtensions{
    "jpg", "jpeg", "jpe", "png", "gif", "webp", "tif", "tiff", "heic", "heif", "avif"};
constexpr std::array<std::string_view, 17> kVideoExtensions{
    "mp4", "m4v",  "mov", "qt",  "mkv",  "webm", "avi", "3gp", "3g2",
    "mpg", "mpeg", "ts",  "mts", "m2ts", "flv",  "ogv", "wmv"};

// Gray 0.1 of 255.
constexpr double kSheetGray = 26;

std::string extensionOf(const std::filesystem::path& path) {
  const std::string extension = path.extension().string();
  return extension.empty() ? std::string() : Text::lowercased(extension.substr(1));
}

Capture newCapture(const std::filesystem::path& path, Date now, CaptureMedia media,
                   const VImage& picture) {
  Capture capture;
  capture.id = newIdentifier();
  capture.createdAt = now;
  capture.app = media == CaptureMedia::photo ? "Photos" : "Videos";
  capture.windowTitle = path.stem().string();
  capture.width = picture.width();
  capture.height = picture.height();
  capture.media = media;
  capture.imageFile = "media/" + capture.id + ".jpg";
  capture.originalFile = "media/" + capture.id + "-original." + extensionOf(path);
  return capture;
}

std::string reasonOf(int error) {
  switch (error) {
    case ENOENT:
      return "there is no such file";
    case EACCES:
      return "permission to read it is denied";
    case ELOOP:
      return "its symbolic links go round in a loop";
    default:
      std::string words = std::generic_category().message(error);
      if (!words.empty()) words[0] = static_cast<char>(std::tolower(words[0]));
      return words;
  }
}

// Why `path` can't be read as media, or nothing when a decoder may try it.
// Only a regular file with something in it is tried: a folder has nothing
// to decode, and a device or a pipe could keep a decoder reading for ever.
std::optional<std::string> whyNotReadable(const std::filesystem::path& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return reasonOf(errno);
  if (S_ISDIR(status.st_mode)) return "it is a folder";
  if (!S_ISREG(status.st_mode)) return "it isn't a regular file";
  if (status.st_size == 0) return "the file is empty";
  const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (file < 0) return reasonOf(errno);
  ::close(file);
  return std::nullopt;
}

// The date an EXIF field holds; libvips gives the value followed by a
// description in parentheses: "2024:02:29 12:00:00 (2024:02:29 12:00:00,
// ASCII, 20 components, 20 bytes)".
std::optional<Date> parseExifDate(const std::string& field) {
  const std::string text = field.substr(0, field.find(" ("));
  UErrorCode status = U_ZERO_ERROR;
  icu::SimpleDateFormat format(icu::UnicodeString("yyyy:MM:dd HH:mm:ss"),
                               icu::Locale("en_US_POSIX"), status);
  if (U_FAILURE(status)) return std::nullopt;
  format.setLenient(false);
  const icu::UnicodeString unicode = icu::UnicodeString::fromUTF8(text);
  icu::ParsePosition position(0);
  const UDate date = format.parse(unicode, position);
  if (position.getErrorIndex() >= 0 || position.getIndex() != unicode.length()) {
    return std::nullopt;
  }
  return dateFromSeconds(date / 1000);
}

}  // namespace

Failure::Failure(Kind kind, std::string name, const std::string& description)
    : brindlemoor::Failure(description), m_kind(kind), m_name(std::move(name)) {}

Failure Failure::notMedia(const std::string& name) {
  return Failure(Kind::notMedia, name, name + " is neither a photo nor a video.");
}

Failure Failure::unreadable(const std::string& name, const std::string& reason) {
  return Failure(Kind::unreadable, name,
                 "Couldn't read " + name + (reason.empty() ? "" : ": " + reason) + ".");
}

bool Failure::operator==(const Failure& other) const {
  return m_kind == other.m_kind && m_name == other.m_name;
}

std::optional<CaptureMedia> kind(const std::filesystem::path& path) {
  const std::string extension = extensionOf(path);
  const auto within = [&](const auto& table) {
    return std::find(table.begin(), table.end(), extension) != table.end();
  };
  if (extension.empty()) return std::nullopt;
  if (within(kVideoExtensions)) return CaptureMedia::video;
  if (within(kPhotoExtensions)) return CaptureMedia::photo;
  return std::nullopt;
}

std::span<const std::string_view> extensions(CaptureMedia media) {
  switch (media) {
    case CaptureMedia::photo:
      return kPhotoExtensions;
    case CaptureMedia::video:
      return kVideoExtensions;
    case CaptureMedia::screen:
      break;
  }
  return {};
}

Imported load(const std::filesystem::path& path, Date now) {
  const std::optional<CaptureMedia> media = kind(path);
  if (media == CaptureMedia::photo) return photo(path, now);
  if (media == CaptureMedia::video) return video(path, now);
  throw Failure::notMedia(path.filename().string());
}

Imported photo(const std::filesystem::path& path, Date now) {
  const std::string name = path.filename().string();
  if (const auto reason = whyNotReadable(path)) throw Failure::unreadable(name, *reason);
  try {
    const auto source = Pictures::PictureSource::file(path);
    const VImage working = source.scaled(kWorkingPixels);
    std::optional<Bytes> image = Thumbnailer::jpeg(working, kWorkingQuality);
    // The thumbnail comes from the file's decoded pixels, not from the JPEG
    // just made. Scaling the working picture down costs less than a tenth of
    // decoding the file again, which for a large JPEG is mostly entropy
    // decoding that no shrink on load avoids.
    std::optional<Bytes> thumbnail = Thumbnailer::thumbnail(working);
    if (!image || !thumbnail) throw Failure::unreadable(name, "the picture can't be encoded");
    Capture capture = newCapture(path, now, CaptureMedia::photo, working);
    capture.takenAt = takenDate(source.header());
    return {std::move(capture), std::move(*image), std::move(*thumbnail), std::nullopt};
  } catch (const Pictures::Failure& failure) {
    throw Failure::unreadable(name, failure.what());
  }
}

Imported video(const std::filesystem::path& path, Date now) {
  const std::string name = path.filename().string();
  if (const auto reason = whyNotReadable(path)) throw Failure::unreadable(name, *reason);
  try {
    Av::Input input(path);
    const std::optional<int> stream = input.bestStream(AVMEDIA_TYPE_VIDEO);
    if (!stream && input.context()->nb_streams == 0) {
      throw Failure::unreadable(name, "no streams can be found in it; its index may be damaged");
    }
    if (!stream) throw Failure::unreadable(name, "it has no video stream");
    const AVCodecParameters* picture = input.context()->streams[*stream]->codecpar;
    Pictures::checkSize(picture->width, picture->height);
    const double seconds = input.duration();
    if (!(seconds > 0) || !std::isfinite(seconds)) {
      throw Failure::unreadable(name, "it has no length");
    }

    FrameGrabber grabber(input, *stream, kFramePixels, kFrameTolerance);
    std::vector<VImage> frames;
    for (const double time : keyTimes(seconds, kKeyFrames)) {
      if (auto frame = grabber.at(time)) frames.push_back(std::move(*frame));
    }
    if (frames.empty()) throw Failure::unreadable(name, "none of its frames could be decoded");

    std::optional<Bytes> image = Thumbnailer::jpeg(frames.front(), kWorkingQuality);
    if (!image) throw Failure::unreadable(name, "its picture can't be encoded");
    std::optional<Bytes> thumbnail =
        Thumbnailer::jpeg(*image, Thumbnailer::kThumbnailPixels, Thumbnailer::kThumbnailQuality);
    if (!thumbnail) throw Failure::unreadable(name, "its thumbnail can't be made");
    const std::optional<VImage> sheet = contactSheet(frames);
    std::optional<Bytes> sheetBytes =
        sheet ? Thumbnailer::jpeg(*sheet, kSheetQuality) : std::nullopt;
    if (!sheetBytes) throw Failure::unreadable(name, "its contact sheet can't be made");

    Capture capture = newCapture(path, now, CaptureMedia::video, frames.front());
    capture.duration = seconds;
    if (auto created = input.metadata("creation_time")) capture.takenAt = Av::parseUtc(*created);
    return {std::move(capture), std::move(*image), std::move(*thumbnail), std::move(sheetBytes)};
  } catch (const Av::Failure& failure) {
    throw Failure::unreadable(name, failure.what());
  } catch (const Pictures::Failure& failure) {
    throw Failure::unreadable(name, failure.what());
  }
}

std::optional<Date> takenDate(const VImage& picture) {
  for (const char* field : {"exif-ifd2-DateTimeOriginal", "exif-ifd0-DateTime"}) {
    if (vips_image_get_typeof(picture.get_image(), field) == 0) continue;
    const char* text = nullptr;
    if (vips_image_get_string(picture.get_image(), field, &text) != 0 || text == nullptr) {
      return std::nullopt;
    }
    return parseExifDate(text);
  }
  return std::nullopt;
}

std::vector<double> keyTimes(double duration, int count) {
  if (!(duration > 0) || count < 1) return {};
  if (count == 1) return {duration * 0.5};
  const double start = duration * 0.05;
  const double end = duration * 0.95;
  std::vector<double> times;
  for (int i = 0; i < count; ++i) times.push_back(start + (end - start) * i / (count - 1));
  return times;
}

std::optional<VImage> contactSheet(const std::vector<VImage>& frames) {
  if (frames.empty()) return std::nullopt;
  try {
    Pictures::start();
    const int count = static_cast<int>(frames.size());
    const std::int64_t cellHeight =
        std::max<std::int64_t>(1, std::int64_t{frames.front().height()} * ContactSheet::kCellWidth /
                                      std::max(1, frames.front().width()));
    const std::int64_t sheetHeight = ContactSheet::rows(count) * cellHeight +
                                     (ContactSheet::rows(count) - 1) * ContactSheet::kGap;
    if (std::int64_t{ContactSheet::width(count)} * sheetHeight > Pictures::kMaxPixels) {
      return std::nullopt;
    }
    const int cell = static_cast<int>(cellHeight);
    VImage sheet = VImage::black(ContactSheet::width(count), ContactSheet::height(count, cell))
                       .new_from_image({kSheetGray, kSheetGray, kSheetGray})
                       .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
    for (int i = 0; i < count; ++i) {
      const VImage frame = Pictures::opaqueRgb(frames[i]);
      VImage fitted =
          frame.resize(double{ContactSheet::kCellWidth} / frame.width(),
                       VImage::option()->set("vscale", static_cast<double>(cell) / frame.height()));
      // Rounding may leave a pixel more or less than the cell.
      if (fitted.width() != ContactSheet::kCellWidth || fitted.height() != cell) {
        fitted = fitted.embed(0, 0, ContactSheet::kCellWidth, cell,
                              VImage::option()->set("extend", VIPS_EXTEND_COPY));
      }
      const ContactSheet::Rect place = ContactSheet::cell(i, count, cell);
      sheet = sheet.insert(fitted, place.x, place.y);
    }
    return sheet;
  } catch (const vips::VError&) {
    return std::nullopt;
  } catch (const Pictures::Failure&) {
    return std::nullopt;
  }
}

}  // namespace brindlemoor::MediaImporter
