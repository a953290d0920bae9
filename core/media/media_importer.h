// MediaImporter turns a photo or a video file into what the library keeps:
// a capture with its working picture, thumbnail and, for a video, contact
// sheet. It reads files and never touches the library; Library::keepImported
// writes what it gives.
//
// Thread rules: free of shared state. Any function may run on any thread,
// and several imports may run at once, each on its own values.
#pragma once

#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>
#include <vips/vips8>

#include "core/model/capture_media.h"
#include "core/model/date.h"
#include "core/model/failure.h"
#include "core/model/imported_capture.h"

namespace brindlemoor::MediaImporter {

// Why a file gave no capture. Nothing has touched the library when it is
// thrown. Failures are equal when they are of one kind and name one file;
// the reason is for the words alone.
class Failure : public brindlemoor::Failure {
 public:
  enum class Kind { notMedia, unreadable };

  // "<name> is neither a photo nor a video.": judged by its extension alone.
  static Failure notMedia(const std::string& name);
  // "Couldn't read <name>." or "Couldn't read <name>: <reason>.": it should
  // be media, but no picture came out of it.
  static Failure unreadable(const std::string& name, const std::string& reason = {});

  Kind kind() const { return m_kind; }
  // The file's last path component.
  const std::string& name() const { return m_name; }

  bool operator==(const Failure& other) const;

 private:
  Failure(Kind kind, std::string name, const std::string& description);

  Kind m_kind;
  std::string m_name;
};

// What an import gives, as Library::keepImported takes it.
using Imported = ImportedCapture;

inline constexpr int kWorkingPixels = 2560;
inline constexpr double kWorkingQuality = 0.88;
inline constexpr int kKeyFrames = 6;
inline constexpr int kFramePixels = 1280;
inline constexpr double kFrameTolerance = 0.5;
inline constexpr double kSheetQuality = 0.85;

// `photo` or `video` by the path's extension, matched without case, from our
// table of the formats libvips and FFmpeg decode here; nothing for any other
// extension or none. The file's contents are not looked at; `screen` is
// never the answer.
std::optional<CaptureMedia> kind(const std::filesystem::path& path);

// The lower-case extensions, without the dot, that kind() takes for
// `media`, for a file dialog's filter; none for `screen`.
std::span<const std::string_view> extensions(CaptureMedia media);

// photo() or video() as kind() says. Throws Failure::notMedia for any other
// file, and whatever those throw.
Imported load(const std::filesystem::path& path, Date now);

// A photo: the picture upright by its orientation tag, at most
// kWorkingPixels on its longest side at kWorkingQuality, and a thumbnail
// drawn from the file's decoded pixels (never from that JPEG). Pictures
// larger than Pictures::kMaxPixels (200 megapixels) are refused from their
// header, before anything is decoded. Throws Failure::unreadable when no
// picture comes out of the file.
Imported photo(const std::filesystem::path& path, Date now);

// A video: its length, kKeyFrames frames at keyTimes() (each within
// kFramePixels square, turned by the stream's display rotation; a frame that
// doesn't decode is skipped), the first frame that decoded as the working
// picture and the source of the thumbnail, and the contact sheet of all the
// frames. The date is the container's "creation_time". Throws
// Failure::unreadable when the file has no video stream, no length, or no
// frame that decodes.
Imported video(const std::filesystem::path& path, Date now);

// When the picture was taken, from the metadata of `picture` as libvips
// reads it: EXIF DateTimeOriginal, else the TIFF DateTime, in the form
// "yyyy:MM:dd HH:mm:ss" and taken as local time (ICU's default time zone).
// Nothing when neither is there or the text is in another form.
std::optional<Date> takenDate(const vips::VImage& picture);

// `count` times in seconds spread evenly from 5% to 95% of `duration`, or
// its middle alone for a count of 1; empty when the duration isn't positive
// or the count is below 1.
std::vector<double> keyTimes(double duration, int count);

// The frames in reading order on a gray sheet laid out by ContactSheet, each
// stretched into its cell; all cells take their height from the first
// frame's shape. Nothing when there are no frames or the sheet can't be made.
std::optional<vips::VImage> contactSheet(const std::vector<vips::VImage>& frames);

}  // namespace brindlemoor::MediaImporter
