#include "core/media/media_importer.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unicode/timezone.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>

#include "core/media/contact_sheet.h"
#include "core/media/thumbnailer.h"
#include "tests/testing/failure_of.h"
#include "tests/testing/media_files.h"
#include "tests/testing/pictures.h"
#include "tests/testing/temp_dir.h"

namespace brindlemoor {
namespace {

using testing::encoded;
using testing::filled;
using testing::halves;
using vips::VImage;

const Date kNow = dateFromSeconds(1'700'000'000);
// 2024-02-29 12:00:00 in UTC, and in New York (UTC-5 then).
constexpr double kLeapNoonUtc = 1'709'208'000;
constexpr double kLeapNoonNewYork = kLeapNoonUtc + 5 * 3600;

void writeFile(const std::filesystem::path& path, const Bytes& bytes) {
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()),
             static_cast<std::streamsize>(bytes.size()));
}

void cutInHalf(const std::filesystem::path& path) {
  std::filesystem::resize_file(path, std::filesystem::file_size(path) / 2);
}

VImage decoded(const Bytes& bytes) {
  return VImage::new_from_buffer(bytes.data(), bytes.size(), "").copy_memory();
}

void expectColour(const VImage& image, int x, int y, std::vector<double> colour,
                  double slack = 20) {
  const std::vector<double> pixel = image.getpoint(x, y);
  for (std::size_t band = 0; band < colour.size(); ++band) {
    EXPECT_NEAR(pixel[band], colour[band], slack) << "band " << band << " at " << x << "," << y;
  }
}

// The gray below the red band of a frame drawn by writeTestVideo, in a cell.
double grayIn(const VImage& image, const ContactSheet::Rect& cell) {
  return image.getpoint(cell.x + cell.width / 2, cell.y + cell.height * 3 / 4)[0];
}

const auto failureOf = [](auto call) { return testing::failureOf<MediaImporter::Failure>(call); };

// Fixes ICU's default time zone, in which picture dates are local times.
class MediaImporterInNewYork : public ::testing::Test {
 protected:
  void SetUp() override {
    icu::TimeZone::adoptDefault(icu::TimeZone::createTimeZone("America/New_York"));
  }
  void TearDown() override { icu::TimeZone::adoptDefault(m_saved.release()); }

 private:
  std::unique_ptr<icu::TimeZone> m_saved{icu::TimeZone::createDefault()};
};

TEST(MediaImporterKind, EveryPhotoExtensionDecodesHere) {
  testing::TempDir dir;
  // Formats libvips saves under another suffix than the extension.
  const std::map<std::string_view, std::string> saveAs{
      {"jpe", ".jpg"}, {"heic", ".heif"}, {"avif", ".avif"}, {"tiff", ".tif"}};
  for (const std::string_view extension : MediaImporter::extensions(CaptureMedia::photo)) {
    const auto suffix =
        saveAs.contains(extension) ? saveAs.at(extension) : "." + std::string(extension);
    vips::VOption* options = VImage::option();
    if (extension == "heic" || extension == "heif")
      options->set("compression", VIPS_FOREIGN_HEIF_COMPRESSION_HEVC);
    const auto path = dir.path() / ("picture." + std::string(extension));
    writeFile(path, encoded(halves(64, 48), suffix.c_str(), options));
    try {
      EXPECT_EQ(MediaImporter::photo(path, kNow).capture.width, 64) << extension;
    } catch (const MediaImporter::Failure& failure) {
      ADD_FAILURE() << failure.what();
    }
  }
}

TEST(MediaImporterSheet, KeyTimesSpreadFrom5To95PercentIntoCellsOfTheFirstFramesShape) {
  EXPECT_TRUE(MediaImporter::keyTimes(0, 6).empty());
  EXPECT_EQ(MediaImporter::keyTimes(10, 1), std::vector<double>{5});
  EXPECT_EQ(MediaImporter::keyTimes(10, 2), (std::vector<double>{0.5, 9.5}));
  const std::vector<double> six = MediaImporter::keyTimes(100, 6);
  ASSERT_EQ(six.size(), 6u);
  EXPECT_DOUBLE_EQ(six[1], 23);
  EXPECT_DOUBLE_EQ(six[5], 95);

  // Cells fit only a sheet of their exact size.
  const auto cells = ContactSheet::cells(1936, 2 * 360 + 8, 6);
  ASSERT_TRUE(cells);
  EXPECT_EQ(cells->at(4), (ContactSheet::Rect{648, 368, 640, 360}));
  EXPECT_FALSE(ContactSheet::cells(1936, 2 * 360 + 9, 6));
  EXPECT_FALSE(ContactSheet::cells(1935, 2 * 360 + 8, 6));
  EXPECT_EQ(ContactSheet::cells(1936, 2 * 100 + 8, 4).value().at(3),
            (ContactSheet::Rect{0, 108, 640, 100}));
  EXPECT_EQ(ContactSheet::cells(640, 360, 1), std::vector<ContactSheet::Rect>(1, {0, 0, 640, 360}));
  EXPECT_FALSE(ContactSheet::cells(1936, 360, 1));

  // Cells take the first frame's shape, and the rest of the sheet stays gray.
  EXPECT_FALSE(MediaImporter::contactSheet({}));
  const auto sheet =
      MediaImporter::contactSheet({filled(400, 300, {250, 0, 0}), filled(100, 400, {0, 250, 0}),
                                   filled(30, 30, {0, 0, 250}), filled(30, 30, {0, 0, 250})});
  ASSERT_TRUE(sheet);
  EXPECT_EQ(sheet->width(), 1936);
  EXPECT_EQ(sheet->height(), 2 * 480 + 8);
  // The narrow second frame is stretched over its whole cell.
  expectColour(*sheet, 648 + 2, 2, {0, 250, 0}, 1);
  expectColour(*sheet, 648 + 637, 477, {0, 250, 0}, 1);
  expectColour(*sheet, 1296 + 320, 488 + 240, {26, 26, 26}, 1);  // an empty cell
  expectColour(*sheet, 643, 100, {26, 26, 26}, 1);               // a gap
}

// The taken date is the original EXIF date, else the TIFF date, in local time.
TEST_F(MediaImporterInNewYork, PhotoHasItsTakenDateCaptureFieldsAndPicturesUprightNeverEnlarged) {
  VImage picture = filled(4, 4, {0, 0, 0}).copy();
  EXPECT_FALSE(MediaImporter::takenDate(picture));
  picture.set("exif-ifd0-DateTime",
              "2023:01:01 08:00:00 (2023:01:01 08:00:00, ASCII, 20 components, 20 bytes)");
  EXPECT_EQ(MediaImporter::takenDate(picture), dateFromSeconds(1'672'578'000));
  picture.set("exif-ifd2-DateTimeOriginal",
              "2024:02:29 12:00:00 (2024:02:29 12:00:00, ASCII, 20 components, 20 bytes)");
  EXPECT_EQ(MediaImporter::takenDate(picture), dateFromSeconds(kLeapNoonNewYork));
  for (const char* text : {"2024-02-29 12:00:00", "2023:02:29 12:00:00", "2024:02:29 12:00"}) {
    VImage other = filled(4, 4, {0, 0, 0}).copy();
    other.set("exif-ifd2-DateTimeOriginal", text);
    EXPECT_FALSE(MediaImporter::takenDate(other)) << text;
  }

  testing::TempDir dir;
  const auto path = dir.path() / "Beach Day.JPG";
  VImage drawn = halves(3000, 2000).copy();
  drawn.set("exif-ifd2-DateTimeOriginal", "2024:02:29 12:00:00");
  drawn.jpegsave(path.c_str());

  const MediaImporter::Imported imported = MediaImporter::load(path, kNow);
  const Capture& capture = imported.capture;
  EXPECT_EQ(capture.app, "Photos");
  EXPECT_EQ(capture.windowTitle, "Beach Day");
  EXPECT_EQ(capture.takenAt, dateFromSeconds(kLeapNoonNewYork));
  EXPECT_EQ(capture.originalFile, "media/" + capture.id + "-original.jpg");

  const VImage image = decoded(imported.image);
  EXPECT_EQ(image.width(), 2560);
  EXPECT_NEAR(image.height(), 1707, 1);
  const VImage thumbnail = decoded(imported.thumbnail);
  EXPECT_EQ(thumbnail.width(), 720);
  expectColour(thumbnail, 100, 240, {255, 0, 0});
  EXPECT_NE(MediaImporter::load(path, kNow).capture.id, capture.id);

  // Turned upright and never enlarged: one small enough to keep its size, one
  // reduced as it is read.
  for (const int length : {400, 3200}) {
    VImage stored = halves(length, length / 2).copy();
    stored.set("orientation", 6);  // shown turned a quarter clockwise: the red left half on top
    const auto turnedPath = dir.path() / ("turned-" + std::to_string(length) + ".jpg");
    stored.jpegsave(turnedPath.c_str());
    const MediaImporter::Imported turned = MediaImporter::photo(turnedPath, kNow);
    const int height = std::min(length, MediaImporter::kWorkingPixels);
    EXPECT_EQ(turned.capture.width, height / 2);
    const VImage upright = decoded(turned.image);
    EXPECT_EQ(upright.height(), height);
    expectColour(upright, height / 4, height / 4, {255, 0, 0});
    expectColour(upright, height / 4, height * 3 / 4, {0, 0, 255});
    const VImage small = decoded(turned.thumbnail);
    EXPECT_EQ(small.height(), std::min(height, Thumbnailer::kThumbnailPixels));
    expectColour(small, small.width() / 2, small.height() / 4, {255, 0, 0});
  }
}

TEST(MediaImporterBadInput, FilesThatGiveNoPictureAreUnreadableWithTheirReason) {
  testing::TempDir dir;
  const auto at = [&](const std::string& name) { return dir.path() / name; };
  std::ofstream{at("empty.jpg")};
  std::ofstream{at("empty.mov")};
  // The small photo is decoded whole, the large one reduced as it is read.
  for (const auto& [name, width] : {std::pair{"cut.jpg", 600}, {"cut-large.jpg", 3000}}) {
    halves(width, width * 2 / 3).jpegsave(at(name).c_str());
    cutInHalf(at(name));
  }
  std::ofstream(at("notes.jpg")) << "Just some notes, not a picture.\n";
  writeFile(at("huge.png"), testing::blackPng(50'000, 50'000));
  // A pipe or a device would keep a decoder reading for ever.
  std::filesystem::create_directory(at("folder.jpg"));
  std::filesystem::create_symlink(at("loop-b.png"), at("loop-a.png"));
  std::filesystem::create_symlink(at("loop-a.png"), at("loop-b.png"));
  std::filesystem::create_symlink("/dev/zero", at("zero.jpg"));
  ASSERT_EQ(::mkfifo(at("pipe.mp4").c_str(), 0600), 0);
  writeFile(at("private.png"), testing::blackPng(8, 8));
  std::filesystem::permissions(at("private.png"), std::filesystem::perms::none);
  testing::writeTestVideo(at("voice.mp4"),
                          {.seconds = 1, .width = 0, .height = 0, .sound = testing::tone(1, 300)});
  testing::writeTestVideo(at("cut.mp4"), {.seconds = 1});
  cutInHalf(at("cut.mp4"));
  testing::writeTestVideo(at("all-damaged.mp4"), {.seconds = 2, .damagedSeconds = 3});
  // An index whose one track can't be recognised lists no streams at all.
  testing::writeTestVideo(at("index.mp4"), {.seconds = 1});
  {
    std::fstream file(at("index.mp4"), std::ios::in | std::ios::out | std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    file.seekp(static_cast<std::streamoff>(bytes.find("trak")));
    file << "junk";
  }
  const std::map<std::string, std::string> reasons{
      {"empty.jpg", "the file is empty"},
      {"empty.mov", "the file is empty"},
      {"cut.jpg", ""},
      {"cut-large.jpg", ""},
      {"notes.jpg", ""},
      {"huge.png", "the picture is 50000 by 50000 pixels, more than 200 megapixels"},
      {"missing.jpg", "there is no such file"},
      {"folder.jpg", "it is a folder"},
      {"loop-a.png", "its symbolic links go round in a loop"},
      {"zero.jpg", "it isn't a regular file"},
      {"pipe.mp4", "it isn't a regular file"},
      {"private.png", "permission to read it is denied"},
      {"voice.mp4", "it has no video stream"},
      {"index.mp4", "no streams can be found in it; its index may be damaged"},
      {"all-damaged.mp4", "none of its frames could be decoded"},
      {"cut.mp4", ""}};
  for (const auto& [name, reason] : reasons) {
    if (name == "private.png" && ::geteuid() == 0) continue;  // root reads it regardless
    const auto failure = failureOf([&] { MediaImporter::load(at(name), kNow); });
    EXPECT_EQ(failure, MediaImporter::Failure::unreadable(name)) << failure.what();
    if (!reason.empty()) {
      EXPECT_EQ(failure.what(), "Couldn't read " + name + ": " + reason + ".");
    }
  }
  const auto notMedia = failureOf([] { MediaImporter::load("/nowhere/notes.txt", kNow); });
  EXPECT_EQ(notMedia, MediaImporter::Failure::notMedia("notes.txt"));
  EXPECT_STREQ(notMedia.what(), "notes.txt is neither a photo nor a video.");
}

TEST(MediaImporterVideo, HasItsCaptureFieldsPosterAndSheetTurnedAndFittedToTheLargestSize) {
  testing::TempDir dir;
  const auto path = dir.path() / "Walk.MP4";
  testing::writeTestVideo(path, {.seconds = 4,
                                 .keyframeInterval = 10,
                                 .sound = testing::tone(4, 440),
                                 .creationTime = "2024-02-29T12:00:00.000000Z"});

  const MediaImporter::Imported imported = MediaImporter::load(path, kNow);
  const Capture& capture = imported.capture;
  EXPECT_EQ(capture.app, "Videos");
  ASSERT_TRUE(capture.duration);
  EXPECT_NEAR(*capture.duration, 4, 0.15);
  EXPECT_EQ(capture.takenAt, dateFromSeconds(kLeapNoonUtc));
  EXPECT_EQ(capture.originalFile, "media/" + capture.id + "-original.mp4");
  expectColour(decoded(imported.image), 160, 10, {255, 0, 0}, 40);

  // Six frames, each near its key time and in order.
  ASSERT_TRUE(imported.sheet);
  const VImage sheet = decoded(*imported.sheet);
  const auto cells = ContactSheet::cells(sheet.width(), sheet.height(), 6);
  ASSERT_TRUE(cells) << sheet.width() << "x" << sheet.height();
  const std::vector<double> times = MediaImporter::keyTimes(4, 6);
  double previous = -1;
  for (std::size_t i = 0; i < cells->size(); ++i) {
    const double gray = grayIn(sheet, cells->at(i));
    EXPECT_NEAR(gray, testing::timeLevel(times[i], 4), 255 * 0.5 / 4 + 10) << "frame " << i;
    EXPECT_GT(gray, previous) << "frame " << i;
    previous = gray;
  }

  // Stored landscape, red band on top; a player turns it a quarter clockwise,
  // which puts the band on the right.
  testing::writeTestVideo(dir.path() / "portrait.mov", {.seconds = 1, .rotation = 90});
  const MediaImporter::Imported turned = MediaImporter::video(dir.path() / "portrait.mov", kNow);
  EXPECT_EQ(turned.capture.width, 240);
  const VImage poster = decoded(turned.image);
  expectColour(poster, 230, 160, {255, 0, 0}, 40);
  EXPECT_NEAR(poster.getpoint(10, 160)[0], poster.getpoint(10, 160)[1], 10);  // gray, not red

  testing::writeTestVideo(dir.path() / "wide.mp4", {.seconds = 0.5, .width = 1920, .height = 1080});
  const MediaImporter::Imported wide = MediaImporter::video(dir.path() / "wide.mp4", kNow);
  EXPECT_EQ(wide.capture.width, 1280);
  EXPECT_EQ(decoded(wide.thumbnail).width(), 720);
}

TEST(MediaImporterVideo, FramesThatFailAreSkipped) {
  testing::TempDir dir;
  // Key frames every second; the first two seconds are damaged, which
  // spoils the frames for 0.3 s and 1.38 s: the nearest that decode, at 2 s,
  // lie more than half a second away. The poster is the first that worked.
  testing::writeTestVideo(dir.path() / "damaged.mp4",
                          {.seconds = 6, .keyframeInterval = 10, .damagedSeconds = 2});
  const MediaImporter::Imported imported = MediaImporter::video(dir.path() / "damaged.mp4", kNow);
  const VImage sheet = decoded(*imported.sheet);
  EXPECT_TRUE(ContactSheet::cells(sheet.width(), sheet.height(), 4))
      << sheet.width() << "x" << sheet.height();
  const VImage poster = decoded(imported.image);
  EXPECT_NEAR(grayIn(poster, {0, 0, poster.width(), poster.height()}),
              testing::timeLevel(MediaImporter::keyTimes(6, 6)[2], 6), 255 * 0.5 / 6 + 10);

  // Of frames at 0.5, 2.3, 4.1, 5.9, 7.7 and 9.5 s only the last lies within
  // half a second of the key frame at 9 s that ends the damage: one cell.
  testing::writeTestVideo(dir.path() / "mostly-damaged.mp4",
                          {.seconds = 10, .keyframeInterval = 10, .damagedSeconds = 9});
  const VImage single =
      decoded(*MediaImporter::video(dir.path() / "mostly-damaged.mp4", kNow).sheet);
  EXPECT_EQ(single.width(), 640);
  EXPECT_EQ(single.height(), 480);
}

}  // namespace
}  // namespace brindlemoor
