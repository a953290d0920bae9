#include "core/media/media_importer.h"

#include <gtest/gtest.h>
#include <unicode/timezone.h>

#include <cmath>
#include <fstream>
#include <map>
#include <memory>
#include <regex>
#include <vips/vips8>

#include "core/media/contact_sheet.h"
#include "tests/testing/media_files.h"
#include "tests/testing/temp_dir.h"

namespace brindlemoor {
namespace {

using testing::TestVideo;
using vips::VImage;

// The tests draw their pictures before any call of MediaImporter starts
// libvips.
class Vips : public ::testing::Environment {
 public:
  void SetUp() override { ASSERT_EQ(VIPS_INIT("media_importer_test"), 0); }
};
const ::testing::Environment* const kVips = ::testing::AddGlobalTestEnvironment(new Vips);

const Date kNow = dateFromSeconds(1'700'000'000);
// 2024-02-29 12:00:00 in UTC, and as local time in New York (UTC-5 then).
constexpr double kLeapNoonUtc = 1'709'208'000;
constexpr double kLeapNoonNewYork = kLeapNoonUtc + 5 * 3600;

VImage filled(int width, int height, std::vector<double> colour) {
  return VImage::black(width, height)
      .new_from_image(colour)
      .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
}

// Red on the left half, blue on the right.
VImage halves(int width, int height) {
  return filled(width / 2, height, {255, 0, 0})
      .join(filled(width - width / 2, height, {0, 0, 255}), VIPS_DIRECTION_HORIZONTAL);
}

void writeFile(const std::filesystem::path& path, const Bytes& bytes) {
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()),
             static_cast<std::streamsize>(bytes.size()));
}

Bytes readFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return Bytes((std::istreambuf_iterator<char>(file)), {});
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

template <typename Call>
MediaImporter::Failure failureOf(Call call) {
  try {
    call();
  } catch (const MediaImporter::Failure& failure) {
    return failure;
  }
  ADD_FAILURE() << "no MediaImporter::Failure";
  return MediaImporter::Failure::notMedia("");
}

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

TEST(MediaImporterKind, GoesByTheExtensionWithoutCase) {
  EXPECT_EQ(MediaImporter::kind("/a/Beach.JPG"), CaptureMedia::photo);
  EXPECT_EQ(MediaImporter::kind("b.heic"), CaptureMedia::photo);
  EXPECT_EQ(MediaImporter::kind("Clip.MOV"), CaptureMedia::video);
  EXPECT_EQ(MediaImporter::kind("c.mkv"), CaptureMedia::video);
  EXPECT_EQ(MediaImporter::kind("README"), std::nullopt);
  EXPECT_EQ(MediaImporter::kind("notes.txt"), std::nullopt);
  EXPECT_EQ(MediaImporter::kind("song.mp3"), std::nullopt);
  EXPECT_EQ(MediaImporter::kind("archive.jpg.zip"), std::nullopt);
}

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
    void* buffer = nullptr;
    std::size_t size = 0;
    halves(64, 48).write_to_buffer(suffix.c_str(), &buffer, &size, options);
    const auto path = dir.path() / ("picture." + std::string(extension));
    writeFile(path,
              Bytes(static_cast<std::uint8_t*>(buffer), static_cast<std::uint8_t*>(buffer) + size));
    g_free(buffer);
    try {
      const MediaImporter::Imported imported = MediaImporter::photo(path, kNow);
      EXPECT_EQ(imported.capture.width, 64) << extension;
      EXPECT_EQ(imported.capture.height, 48) << extension;
    } catch (const MediaImporter::Failure& failure) {
      ADD_FAILURE() << failure.what();
    }
  }
}

TEST(MediaImporterKind, CommonVideoContainersDecodeHere) {
  testing::TempDir dir;
  for (const char* name : {"a.mp4", "a.m4v", "a.mov", "a.mkv", "a.avi", "a.ts", "a.3gp"}) {
    ASSERT_EQ(MediaImporter::kind(name), CaptureMedia::video);
    testing::writeTestVideo(dir.path() / name, {.seconds = 1, .width = 64, .height = 48});
    try {
      EXPECT_EQ(MediaImporter::video(dir.path() / name, kNow).capture.width, 64) << name;
    } catch (const MediaImporter::Failure& failure) {
      ADD_FAILURE() << failure.what();
    }
  }
}

TEST(MediaImporterKeyTimes, SpreadFromFiveToNinetyFivePercent) {
  EXPECT_TRUE(MediaImporter::keyTimes(0, 6).empty());
  EXPECT_TRUE(MediaImporter::keyTimes(-3, 6).empty());
  EXPECT_TRUE(MediaImporter::keyTimes(NAN, 6).empty());
  EXPECT_TRUE(MediaImporter::keyTimes(10, 0).empty());
  EXPECT_EQ(MediaImporter::keyTimes(10, 1), std::vector<double>{5});
  EXPECT_EQ(MediaImporter::keyTimes(10, 2), (std::vector<double>{0.5, 9.5}));
  const std::vector<double> six = MediaImporter::keyTimes(100, 6);
  const std::vector<double> expected{5, 23, 41, 59, 77, 95};
  ASSERT_EQ(six.size(), expected.size());
  for (std::size_t i = 0; i < six.size(); ++i) EXPECT_DOUBLE_EQ(six[i], expected[i]);
}

TEST(ContactSheetCells, CutsSixFramesOutOfTwoRows) {
  const auto cells = ContactSheet::cells(1936, 2 * 360 + 8, 6);
  ASSERT_TRUE(cells);
  ASSERT_EQ(cells->size(), 6u);
  EXPECT_EQ(cells->at(0), (ContactSheet::Rect{0, 0, 640, 360}));
  EXPECT_EQ(cells->at(2), (ContactSheet::Rect{1296, 0, 640, 360}));
  EXPECT_EQ(cells->at(4), (ContactSheet::Rect{648, 368, 640, 360}));
  EXPECT_FALSE(ContactSheet::cells(1936, 2 * 360 + 9, 6));
  EXPECT_FALSE(ContactSheet::cells(1935, 2 * 360 + 8, 6));
}

TEST(ContactSheetCells, FollowTheFrameCount) {
  const auto two = ContactSheet::cells(1288, 300, 2);
  ASSERT_TRUE(two);
  const std::vector<ContactSheet::Rect> twoCells{{0, 0, 640, 300}, {648, 0, 640, 300}};
  EXPECT_EQ(*two, twoCells);
  const auto four = ContactSheet::cells(1936, 2 * 100 + 8, 4);
  ASSERT_TRUE(four);
  EXPECT_EQ(four->size(), 4u);
  EXPECT_EQ(four->at(3), (ContactSheet::Rect{0, 108, 640, 100}));
  const auto one = ContactSheet::cells(640, 360, 1);
  ASSERT_TRUE(one);
  EXPECT_EQ(*one, std::vector<ContactSheet::Rect>(1, {0, 0, 640, 360}));
  EXPECT_FALSE(ContactSheet::cells(1936, 360, 1));
  EXPECT_FALSE(ContactSheet::cells(1936, 8, 6));
}

TEST(MediaImporterContactSheet, NeedsAFrame) {
  EXPECT_FALSE(MediaImporter::contactSheet({}));
}

TEST(MediaImporterContactSheet, OneFrameFillsOneCell) {
  const auto sheet = MediaImporter::contactSheet({filled(320, 180, {200, 40, 40})});
  ASSERT_TRUE(sheet);
  EXPECT_EQ(sheet->width(), 640);
  EXPECT_EQ(sheet->height(), 360);
  expectColour(*sheet, 320, 180, {200, 40, 40}, 1);
}

TEST(MediaImporterContactSheet, CellsTakeTheFirstFramesShapeAndTheRestStaysGray) {
  const std::vector<std::vector<double>> colours{
      {250, 0, 0}, {0, 250, 0}, {0, 0, 250}, {250, 250, 0}};
  // Only the first frame's shape counts; the others are stretched.
  const std::vector<VImage> frames{filled(400, 300, colours[0]), filled(100, 400, colours[1]),
                                   filled(1280, 720, colours[2]), filled(30, 30, colours[3])};
  const auto sheet = MediaImporter::contactSheet(frames);
  ASSERT_TRUE(sheet);
  EXPECT_EQ(sheet->width(), 1936);
  EXPECT_EQ(sheet->height(), 2 * 480 + 8);
  const auto cells = ContactSheet::cells(sheet->width(), sheet->height(), 6);
  ASSERT_TRUE(cells);
  for (std::size_t i = 0; i < 4; ++i) {
    const ContactSheet::Rect& cell = cells->at(i);
    expectColour(*sheet, cell.x + 2, cell.y + 2, colours[i], 1);
    expectColour(*sheet, cell.x + cell.width - 3, cell.y + cell.height - 3, colours[i], 1);
  }
  for (std::size_t i = 4; i < 6; ++i) {
    expectColour(*sheet, cells->at(i).x + 320, cells->at(i).y + 240, {26, 26, 26}, 1);
  }
  expectColour(*sheet, 643, 100, {26, 26, 26}, 1);  // a gap
}

TEST_F(MediaImporterInNewYork, TakenDateIsTheOriginalExifDateInLocalTime) {
  VImage picture = filled(4, 4, {0, 0, 0}).copy();
  picture.set("exif-ifd0-DateTime",
              "2023:01:01 08:00:00 (2023:01:01 08:00:00, ASCII, 20 components, 20 bytes)");
  EXPECT_EQ(MediaImporter::takenDate(picture), dateFromSeconds(1'672'578'000));
  picture.set("exif-ifd2-DateTimeOriginal",
              "2024:02:29 12:00:00 (2024:02:29 12:00:00, ASCII, 20 components, 20 bytes)");
  EXPECT_EQ(MediaImporter::takenDate(picture), dateFromSeconds(kLeapNoonNewYork));
}

TEST_F(MediaImporterInNewYork, TakenDateInAnotherFormIsNone) {
  EXPECT_FALSE(MediaImporter::takenDate(filled(4, 4, {0, 0, 0})));
  for (const char* text : {"2024-02-29 12:00:00", "2023:02:29 12:00:00", "2024:02:29 12:00",
                           "2024:02:29 12:00:00 and more", ""}) {
    VImage picture = filled(4, 4, {0, 0, 0}).copy();
    picture.set("exif-ifd2-DateTimeOriginal", text);
    EXPECT_FALSE(MediaImporter::takenDate(picture)) << text;
  }
}

TEST_F(MediaImporterInNewYork, PhotoHasItsCaptureFieldsAndPictures) {
  testing::TempDir dir;
  const auto path = dir.path() / "Beach Day.JPG";
  VImage drawn = halves(3000, 2000).copy();
  drawn.set("exif-ifd2-DateTimeOriginal", "2024:02:29 12:00:00");
  drawn.jpegsave(path.c_str());

  const MediaImporter::Imported imported = MediaImporter::load(path, kNow);
  const Capture& capture = imported.capture;
  EXPECT_TRUE(std::regex_match(
      capture.id,
      std::regex("[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}")))
      << capture.id;
  EXPECT_EQ(capture.createdAt, kNow);
  EXPECT_EQ(capture.app, "Photos");
  EXPECT_EQ(capture.bundleID, std::nullopt);
  EXPECT_EQ(capture.windowTitle, "Beach Day");
  EXPECT_EQ(capture.url, std::nullopt);
  EXPECT_EQ(capture.media, CaptureMedia::photo);
  EXPECT_EQ(capture.stage, CaptureStage::captured);
  EXPECT_EQ(capture.duration, std::nullopt);
  EXPECT_EQ(capture.takenAt, dateFromSeconds(kLeapNoonNewYork));
  EXPECT_EQ(capture.imageFile, "media/" + capture.id + ".jpg");
  EXPECT_EQ(capture.originalFile, "media/" + capture.id + "-original.jpg");
  EXPECT_FALSE(imported.sheet);

  const VImage image = decoded(imported.image);
  EXPECT_EQ(image.width(), 2560);
  EXPECT_NEAR(image.height(), 1707, 1);
  EXPECT_EQ(capture.width, image.width());
  EXPECT_EQ(capture.height, image.height());
  const VImage thumbnail = decoded(imported.thumbnail);
  EXPECT_EQ(thumbnail.width(), 720);
  EXPECT_EQ(thumbnail.height(), 480);
  expectColour(thumbnail, 100, 240, {255, 0, 0});
  EXPECT_NE(MediaImporter::load(path, kNow).capture.id, capture.id);
}

TEST_F(MediaImporterInNewYork, PhotoWithoutExifDateHasTheTiffDateOrNone) {
  testing::TempDir dir;
  VImage dated = halves(40, 30).copy();
  dated.set("exif-ifd0-DateTime", "2024:02:29 12:00:00");
  dated.jpegsave((dir.path() / "dated.jpg").c_str());
  halves(40, 30).pngsave((dir.path() / "plain.png").c_str());
  EXPECT_EQ(MediaImporter::photo(dir.path() / "dated.jpg", kNow).capture.takenAt,
            dateFromSeconds(kLeapNoonNewYork));
  EXPECT_EQ(MediaImporter::photo(dir.path() / "plain.png", kNow).capture.takenAt, std::nullopt);
}

TEST(MediaImporterPhoto, KeepsTheRotationOfItsOrientationTag) {
  testing::TempDir dir;
  VImage stored = halves(400, 200).copy();
  stored.set("orientation", 6);  // shown turned a quarter clockwise: the red left half on top
  stored.jpegsave((dir.path() / "turned.jpg").c_str());
  const MediaImporter::Imported imported = MediaImporter::photo(dir.path() / "turned.jpg", kNow);
  EXPECT_EQ(imported.capture.width, 200);
  EXPECT_EQ(imported.capture.height, 400);
  const VImage image = decoded(imported.image);
  expectColour(image, 100, 50, {255, 0, 0});
  expectColour(image, 100, 350, {0, 0, 255});
  expectColour(decoded(imported.thumbnail), 100, 50, {255, 0, 0});
}

TEST(MediaImporterPhoto, IsNeverEnlarged) {
  testing::TempDir dir;
  halves(300, 200).webpsave((dir.path() / "small.webp").c_str());
  const MediaImporter::Imported imported = MediaImporter::photo(dir.path() / "small.webp", kNow);
  EXPECT_EQ(imported.capture.width, 300);
  EXPECT_EQ(decoded(imported.thumbnail).width(), 300);
  EXPECT_EQ(imported.capture.originalFile, "media/" + imported.capture.id + "-original.webp");
}

TEST(MediaImporterBadInput, WhatIsNoMediaByNameIsRefusedUnread) {
  const auto failure = failureOf([] { MediaImporter::load("/nowhere/notes.txt", kNow); });
  EXPECT_EQ(failure, MediaImporter::Failure::notMedia("notes.txt"));
  EXPECT_STREQ(failure.what(), "notes.txt is neither a photo nor a video.");
}

TEST(MediaImporterBadInput, PhotosThatGiveNoPictureAreUnreadable) {
  testing::TempDir dir;
  void* buffer = nullptr;
  std::size_t size = 0;
  halves(600, 400).write_to_buffer(".jpg", &buffer, &size);
  const Bytes jpeg(static_cast<std::uint8_t*>(buffer), static_cast<std::uint8_t*>(buffer) + size);
  g_free(buffer);
  const std::string text = "Just some notes, not a picture.\n";
  writeFile(dir.path() / "empty.jpg", {});
  writeFile(dir.path() / "cut.jpg",
            Bytes(jpeg.begin(), jpeg.begin() + static_cast<std::ptrdiff_t>(size / 2)));
  writeFile(dir.path() / "notes.jpg", Bytes(text.begin(), text.end()));
  writeFile(dir.path() / "huge.png", testing::blackPng(50'000, 50'000));
  // A document that a loader libvips doesn't trust would draw.
  const std::string svg = "<svg xmlns='http://www.w3.org/2000/svg' width='10' height='10'/>";
  writeFile(dir.path() / "drawing.png", Bytes(svg.begin(), svg.end()));

  for (const char* name :
       {"empty.jpg", "cut.jpg", "notes.jpg", "huge.png", "drawing.png", "missing.png"}) {
    const auto failure = failureOf([&] { MediaImporter::load(dir.path() / name, kNow); });
    EXPECT_EQ(failure, MediaImporter::Failure::unreadable(name));
    EXPECT_EQ(std::string(failure.what()).rfind(std::string("Couldn't read ") + name, 0), 0u)
        << failure.what();
  }
  EXPECT_STREQ(failureOf([&] { MediaImporter::photo(dir.path() / "empty.jpg", kNow); }).what(),
               "Couldn't read empty.jpg: the file is empty.");
  EXPECT_STREQ(failureOf([&] { MediaImporter::photo(dir.path() / "huge.png", kNow); }).what(),
               "Couldn't read huge.png: the picture is 50000 by 50000 pixels, more than 200 "
               "megapixels.");
}

TEST(MediaImporterFailure, IsEqualForOneKindAndOneFile) {
  EXPECT_EQ(MediaImporter::Failure::unreadable("a.mp4"),
            MediaImporter::Failure::unreadable("a.mp4", "it has no length"));
  EXPECT_NE(MediaImporter::Failure::unreadable("a.mp4"), MediaImporter::Failure::notMedia("a.mp4"));
  EXPECT_NE(MediaImporter::Failure::unreadable("a.mp4"),
            MediaImporter::Failure::unreadable("b.mp4"));
  EXPECT_STREQ(MediaImporter::Failure::unreadable("a.mp4").what(), "Couldn't read a.mp4.");
}

TEST(MediaImporterVideo, HasItsCaptureFieldsPosterAndSheet) {
  testing::TempDir dir;
  const auto path = dir.path() / "Walk.MP4";
  testing::writeTestVideo(path, {.seconds = 4,
                                 .keyframeInterval = 10,
                                 .sound = testing::tone(4, 440),
                                 .creationTime = "2024-02-29T12:00:00.000000Z"});

  const MediaImporter::Imported imported = MediaImporter::load(path, kNow);
  const Capture& capture = imported.capture;
  EXPECT_EQ(capture.app, "Videos");
  EXPECT_EQ(capture.media, CaptureMedia::video);
  EXPECT_EQ(capture.windowTitle, "Walk");
  EXPECT_EQ(capture.createdAt, kNow);
  ASSERT_TRUE(capture.duration);
  EXPECT_NEAR(*capture.duration, 4, 0.15);
  EXPECT_EQ(capture.takenAt, dateFromSeconds(kLeapNoonUtc));
  EXPECT_EQ(capture.width, 320);
  EXPECT_EQ(capture.height, 240);
  EXPECT_EQ(capture.imageFile, "media/" + capture.id + ".jpg");
  EXPECT_EQ(capture.originalFile, "media/" + capture.id + "-original.mp4");

  const VImage poster = decoded(imported.image);
  EXPECT_EQ(poster.width(), 320);
  expectColour(poster, 160, 10, {255, 0, 0}, 40);
  EXPECT_EQ(decoded(imported.thumbnail).width(), 320);

  // Six frames, each near its key time and in order.
  ASSERT_TRUE(imported.sheet);
  const VImage sheet = decoded(*imported.sheet);
  const auto cells = ContactSheet::cells(sheet.width(), sheet.height(), 6);
  ASSERT_TRUE(cells) << sheet.width() << "x" << sheet.height();
  EXPECT_EQ(cells->front().height, 480);
  const std::vector<double> times = MediaImporter::keyTimes(4, 6);
  double previous = -1;
  for (std::size_t i = 0; i < cells->size(); ++i) {
    const double gray = grayIn(sheet, cells->at(i));
    EXPECT_NEAR(gray, testing::timeLevel(times[i], 4), 255 * 0.5 / 4 + 10) << "frame " << i;
    EXPECT_GT(gray, previous) << "frame " << i;
    previous = gray;
  }
}

TEST(MediaImporterVideo, TurnsFramesByTheDisplayRotation) {
  testing::TempDir dir;
  const auto path = dir.path() / "portrait.mov";
  // Stored landscape, red band on top; a player turns it a quarter clockwise,
  // which puts the band on the right.
  testing::writeTestVideo(path, {.seconds = 1, .rotation = 90});
  const MediaImporter::Imported imported = MediaImporter::video(path, kNow);
  EXPECT_EQ(imported.capture.width, 240);
  EXPECT_EQ(imported.capture.height, 320);
  const VImage poster = decoded(imported.image);
  expectColour(poster, 230, 160, {255, 0, 0}, 40);
  expectColour(poster, 10, 160, {0, 0, 0}, 255);
  EXPECT_LT(poster.getpoint(10, 160)[1], 200);
  EXPECT_NEAR(poster.getpoint(10, 160)[0], poster.getpoint(10, 160)[1], 10);  // gray, not red
}

TEST(MediaImporterVideo, FramesFitWithinTheLargestSize) {
  testing::TempDir dir;
  testing::writeTestVideo(dir.path() / "wide.mp4", {.seconds = 0.5, .width = 1920, .height = 1080});
  const MediaImporter::Imported imported = MediaImporter::video(dir.path() / "wide.mp4", kNow);
  EXPECT_EQ(imported.capture.width, 1280);
  EXPECT_EQ(imported.capture.height, 720);
  EXPECT_EQ(decoded(imported.thumbnail).width(), 720);
}

TEST(MediaImporterVideo, FramesThatFailAreSkippedAndThePosterIsTheFirstThatWorked) {
  testing::TempDir dir;
  // Key frames every second; the first two seconds are damaged, which
  // spoils the frames for 0.3 s and 1.38 s: the nearest that decode, at 2 s,
  // lie more than half a second away.
  testing::writeTestVideo(dir.path() / "damaged.mp4",
                          {.seconds = 6, .keyframeInterval = 10, .damagedSeconds = 2});
  const MediaImporter::Imported imported = MediaImporter::video(dir.path() / "damaged.mp4", kNow);
  const VImage sheet = decoded(*imported.sheet);
  EXPECT_TRUE(ContactSheet::cells(sheet.width(), sheet.height(), 4))
      << sheet.width() << "x" << sheet.height();
  const VImage poster = decoded(imported.image);
  EXPECT_NEAR(grayIn(poster, {0, 0, poster.width(), poster.height()}),
              testing::timeLevel(MediaImporter::keyTimes(6, 6)[2], 6), 255 * 0.5 / 6 + 10);
}

TEST(MediaImporterVideo, OneFrameThatWorkedMakesASheetOfOneCell) {
  testing::TempDir dir;
  // Frames are asked for at 0.5, 2.3, 4.1, 5.9, 7.7 and 9.5 s; only the last
  // lies within half a second of the key frame at 9 s that ends the damage.
  testing::writeTestVideo(dir.path() / "mostly-damaged.mp4",
                          {.seconds = 10, .keyframeInterval = 10, .damagedSeconds = 9});
  const MediaImporter::Imported imported =
      MediaImporter::video(dir.path() / "mostly-damaged.mp4", kNow);
  const VImage sheet = decoded(*imported.sheet);
  EXPECT_EQ(sheet.width(), 640);
  EXPECT_EQ(sheet.height(), 480);
}

TEST(MediaImporterBadInput, VideosThatGiveNoPictureAreUnreadable) {
  testing::TempDir dir;
  testing::writeTestVideo(dir.path() / "voice.mp4",
                          {.seconds = 1, .width = 0, .height = 0, .sound = testing::tone(1, 300)});
  // Of no length: MP4 leaves out a track without samples, and Matroska
  // writes a file that can't be opened.
  testing::writeTestVideo(dir.path() / "nothing.mp4", {.seconds = 0});
  testing::writeTestVideo(dir.path() / "nothing.mkv", {.seconds = 0});
  testing::writeTestVideo(dir.path() / "whole.mp4", {.seconds = 1});
  const Bytes whole = readFile(dir.path() / "whole.mp4");
  writeFile(dir.path() / "cut.mp4",
            Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(whole.size() / 2)));
  writeFile(dir.path() / "empty.mov", {});
  const std::string text = "Just some notes, not a video.\n";
  writeFile(dir.path() / "notes.mkv", Bytes(text.begin(), text.end()));
  testing::writeTestVideo(dir.path() / "all-damaged.mp4", {.seconds = 2, .damagedSeconds = 3});

  const std::map<std::string, std::string> expected{
      {"voice.mp4", "Couldn't read voice.mp4: it has no video stream."},
      {"nothing.mp4", "Couldn't read nothing.mp4: it has no video stream."},
      {"nothing.mkv", ""},
      {"empty.mov", "Couldn't read empty.mov: the file is empty."},
      {"all-damaged.mp4", "Couldn't read all-damaged.mp4: none of its frames could be decoded."},
      {"cut.mp4", ""},
      {"notes.mkv", ""},
      {"missing.mp4", ""}};
  for (const auto& [name, words] : expected) {
    const auto failure = failureOf([&] { MediaImporter::load(dir.path() / name, kNow); });
    EXPECT_EQ(failure, MediaImporter::Failure::unreadable(name)) << failure.what();
    if (!words.empty()) {
      EXPECT_EQ(failure.what(), words);
    }
  }
}

}  // namespace
}  // namespace brindlemoor
