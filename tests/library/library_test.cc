#include "core/library/library.h"

#include <gtest/gtest.h>

#include <atomic>
#include <fstream>

#include "core/library/files.h"
#include "core/library/local_media_work.h"
#include "tests/testing/imitation_ollama.h"
#include "tests/testing/sample_captures.h"
#include "tests/testing/temp_dir.h"

namespace brindlemoor {
namespace {

using testing::sampleCapture;
using testing::sampleID;

Bytes fileBytes(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(file), {});
}

// The daemon is out of reach and the kept bytes no pictures: captures wait at `captured`.
class LibraryEdits : public ::testing::Test {
 protected:
  LibraryStore& store() { return m_library.store(); }
  void keep(int n) {
    m_library.keep(sampleCapture(n, n), {1}, {2});
    m_library.work();
  }

  testing::TempDir m_dir;
  testing::ClosedPort m_daemon;
  Library m_library{std::make_unique<LibraryStore>(m_dir.path()),
                    OllamaClient(m_daemon.host()),
                    "vision",
                    "embedding",
                    Organizer(),
                    std::make_unique<LocalMediaWork>()};
  std::atomic<int> m_changes = 0;
};

TEST_F(LibraryEdits, KeepWritesFilesThenRowAndWakesThePipelineOrWritesNoRow) {
  m_library.setOnChange([this] { ++m_changes; });
  const Bytes png{0x89, 'P', 'N', 'G'};
  const Bytes thumbnail{0xff, 0xd8, 0xff};
  m_library.keep(sampleCapture(1, 10), png, thumbnail);
  EXPECT_EQ(fileBytes(store().imageURL(sampleID(1))), png);
  EXPECT_EQ(fileBytes(store().thumbURL(sampleID(1))), thumbnail);
  m_library.work();
  EXPECT_EQ(m_changes, 2) << "one for the keep, one for the failed reading";
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(m_dir.path() / "captures"), {}), 1)
      << "no temporary file is left behind";

  std::filesystem::remove_all(m_dir.path() / "thumbs");
  std::ofstream(m_dir.path() / "thumbs") << "in the way";
  EXPECT_THROW(m_library.keep(sampleCapture(2, 10), {1}, {2}), Files::Failure);
  EXPECT_FALSE(store().capture(sampleID(2))) << "a failed keep writes no row";
}

TEST_F(LibraryEdits, KeepImportedWritesEveryFileAndCopiesTheOriginal) {
  Capture video = sampleCapture(1, 10);
  video.media = CaptureMedia::video;
  video.imageFile = "media/" + video.id + ".jpg";
  video.originalFile = "media/" + video.id + "-original.mp4";
  const auto original = m_dir.path() / "clip.MP4";
  std::ofstream(original) << "movie bytes";
  std::ofstream(m_dir.path() / *video.originalFile) << "stale";
  m_library.keepImported({video, {1, 2}, {3}, Bytes{4, 5}}, original);
  EXPECT_EQ(fileBytes(store().sheetURL(video.id)), (Bytes{4, 5}));
  EXPECT_EQ(fileBytes(*store().originalURL(*store().capture(video.id))), fileBytes(original));

  Capture photo = sampleCapture(2, 10);
  photo.originalFile = "media/" + photo.id + "-original.jpg";
  EXPECT_THROW(m_library.keepImported({photo, {1}, {2}, std::nullopt}, m_dir.path() / "gone.jpg"),
               Files::Failure);
  EXPECT_FALSE(store().capture(photo.id));
}

TEST_F(LibraryEdits, EveryEditEndsInOneChangeAndTheLastCaptureLeavingDropsItsCollection) {
  keep(1);
  keep(2);
  store().insertCollection({"c1", "One", "", dateFromSeconds(1), dateFromSeconds(1), 0, 0, false});
  store().insertCollection({"c2", "Two", "", dateFromSeconds(1), dateFromSeconds(1), 0, 0, false});
  store().moveCapture(sampleID(1), "c1");
  store().moveCapture(sampleID(2), "c2");
  m_library.setOnChange([this] { ++m_changes; });
  m_library.setNote(sampleID(1), "  a note ");
  m_library.setTags(sampleID(9), {"fails on the foreign key"});
  m_library.move(sampleID(1), std::nullopt);
  EXPECT_EQ(store().collections().size(), 1u);
  m_library.renameCollection("c2", "Mine", "🍋");
  EXPECT_TRUE(store().collections().front().userNamed);
  m_library.deleteCapture(sampleID(2));
  EXPECT_EQ(m_changes, 5);
  EXPECT_TRUE(store().collections().empty());
  EXPECT_EQ(store().capture(sampleID(1))->note, "a note");
  EXPECT_EQ(store().capture(sampleID(1))->stage, CaptureStage::captured)
      << "edits never move a stage";
  EXPECT_FALSE(std::filesystem::exists(store().imageURL(sampleID(2))));
  EXPECT_TRUE(std::filesystem::exists(store().imageURL(sampleID(1))));
}

}  // namespace
}  // namespace brindlemoor
