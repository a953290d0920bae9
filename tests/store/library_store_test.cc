#include "core/store/library_store.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>

#include "core/store/internal/schema.h"
#include "tests/testing/sample_captures.h"
#include "tests/testing/temp_dir.h"

namespace brindlemoor {
namespace {

using testing::sampleCapture;
using testing::sampleID;

void touch(const std::filesystem::path& path) {
  std::ofstream(path) << "x";
}

std::int64_t scalar(const std::filesystem::path& root, const std::string& sql) {
  Database db(root / "library.sqlite");
  return db.query(sql)[0]["n"].intValue().value_or(-1);
}

TEST(LibraryStore, AFreshRootGetsItsFoldersAndSchema) {
  testing::TempDir dir;
  const auto root = dir.path() / "deep" / "Brindlemoor";
  LibraryStore store(root);
  for (const char* name : {"captures", "thumbs", "media"}) {
    EXPECT_TRUE(std::filesystem::is_directory(root / name)) << name;
  }
  struct stat info {};
  ASSERT_EQ(::stat(root.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0700u) << "the library holds pictures of the screen";
  EXPECT_EQ(scalar(root, "SELECT user_version AS n FROM pragma_user_version"), 2);
  LibraryStore again(root);  // opening twice migrates nothing
  EXPECT_EQ(again.count(), 0);
}

TEST(LibraryStore, ARootThatCannotBeMadeOrADamagedDatabaseIsAFailure) {
  testing::TempDir dir;
  touch(dir.path() / "file");
  try {
    LibraryStore store(dir.path() / "file" / "Brindlemoor");
    FAIL() << "expected a failure";
  } catch (const LibraryStore::Failure& failure) {
    EXPECT_NE(std::string(failure.what()).find((dir.path() / "file").string()), std::string::npos);
  }

  LibraryStore(dir.path() / "good").insert(sampleCapture(1, 10));
  {
    // Scramble the pages after the header so the schema can't be read.
    std::fstream file(dir.path() / "good" / "library.sqlite",
                      std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(100);
    file << std::string(4000, '\xff');
  }
  std::filesystem::remove(dir.path() / "good" / "library.sqlite-wal");
  EXPECT_THROW(LibraryStore(dir.path() / "good").count(), Database::Failure);
}

TEST(LibraryStore, MigratesAVersionOneLibrary) {
  testing::TempDir dir;
  {
    Database db(dir.path() / "library.sqlite");
    db.execute(internal::kSchemaVersion1);
    db.run(
        "INSERT INTO captures (id, created_at, app, window_title, source) VALUES (?, ?, ?, ?, ?)",
        {sampleID(1), 100.0, "Terminal", "zsh", "Terminal"});
    db.setUserVersion(1);
  }
  LibraryStore store(dir.path());
  const auto capture = store.capture(sampleID(1));
  ASSERT_TRUE(capture);
  EXPECT_EQ(capture->media, CaptureMedia::screen);
  EXPECT_EQ(capture->app, "Terminal");
  EXPECT_FALSE(capture->transcript);
  EXPECT_EQ(scalar(dir.path(), "SELECT user_version AS n FROM pragma_user_version"), 2);
}

TEST(LibraryStore, AFailedMigrationLeavesTheOldVersionWhole) {
  testing::TempDir dir;
  {
    Database db(dir.path() / "library.sqlite");
    db.execute(internal::kSchemaVersion1);
    db.execute("CREATE INDEX idx_captures_media ON captures(app)");  // in the way of version 2
    db.setUserVersion(1);
  }
  EXPECT_THROW(LibraryStore{dir.path()}, Database::Failure);
  EXPECT_EQ(scalar(dir.path(), "SELECT user_version AS n FROM pragma_user_version"), 1);
  EXPECT_EQ(scalar(dir.path(),
                   "SELECT count(*) AS n FROM pragma_table_info('captures') WHERE name = 'media'"),
            0);
}

TEST(LibraryStore, ACaptureReadsBackAsItWasKept) {
  testing::TempDir dir;
  LibraryStore store(dir.path());
  Capture capture = sampleCapture(1, 1700000000.25);
  capture.url = "https://www.example.com/it's/\"quoted\"";
  capture.windowTitle = "Emoji 👩‍👩‍👧 and שלום'; DROP TABLE captures; --";
  capture.note = "a note";
  capture.favorite = true;
  capture.media = CaptureMedia::video;
  capture.duration = 12.5;
  capture.takenAt = dateFromSeconds(1600000000);
  capture.imageFile = "media/" + capture.id + ".jpg";
  capture.originalFile = "media/" + capture.id + "-original.mov";
  store.insert(capture);
  EXPECT_EQ(store.capture(capture.id), capture);
  EXPECT_THROW(store.insert(capture), Database::Failure) << "ids are unique";
}

TEST(LibraryStore, StageWritesMoveTheStageAndClearTheError) {
  testing::TempDir dir;
  LibraryStore store(dir.path());
  const Capture capture = sampleCapture(1, 10);
  store.insert(capture);
  store.recordFailure(capture.id, "Ollama is not running", 60, dateFromSeconds(1000));
  EXPECT_EQ(store.capture(capture.id)->lastError, "Ollama is not running");
  EXPECT_TRUE(store.pending(dateFromSeconds(1059), 10).empty());
  EXPECT_EQ(store.pending(dateFromSeconds(1060), 10).size(), 1u);

  store.setRead(capture.id, "text on screen", std::nullopt);
  EXPECT_FALSE(store.capture(capture.id)->lastError);

  // A retry's description replaces the tags whole; highlights that can't be
  // encoded are stored empty.
  store.setDescribed(capture.id, {"A", "", CaptureKind::recipe, {"Soup", "Winter"}, {"hot"}, {}});
  store.setDescribed(capture.id,
                     {"A", "", CaptureKind::other, {"#Beta ", "alpha", "beta"}, {"bad \xff"}, {}});
  const auto read = store.capture(capture.id);
  EXPECT_EQ(read->stage, CaptureStage::described);
  EXPECT_EQ(read->tags, (std::vector<std::string>{"alpha", "beta"}));
  EXPECT_TRUE(read->highlights.empty());

  store.setEmbedding(capture.id, "m1",
                     {{VectorSpace::look, {1, 0}}, {VectorSpace::meaning, {0, 1}}});
  store.setEmbedding(capture.id, "m2", {{VectorSpace::look, {0.5f, 0.5f, 0.25f}}});
  EXPECT_EQ(store.capture(capture.id)->stage, CaptureStage::embedded);
  EXPECT_EQ(store.vector(capture.id, VectorSpace::look), (std::vector<float>{0.5f, 0.5f, 0.25f}));
  EXPECT_EQ(store.vectors("m1", VectorSpace::look).size(), 0u) << "the later vector replaced it";
  EXPECT_EQ(store.vectors("m1", VectorSpace::meaning).size(), 1u);
}

TEST(LibraryStore, RowMappingGivesDefaultsForMissingAndIllTypedCells) {
  testing::TempDir dir;
  LibraryStore store(dir.path());
  {
    Database db(dir.path() / "library.sqlite");
    db.execute(
        "INSERT INTO captures (id, created_at, app, width, height, stage, kind, highlights, links, "
        "favorite, media, duration, taken_at, title) VALUES ('" +
        sampleID(1) +
        "', 42, X'41', 'wide', 3.5, 'unknown', 'poem', 'not json', '[1, \"x\"]', 2, 'hologram', "
        "'long', 5, X'00')");
    db.execute("INSERT INTO vectors VALUES ('" + sampleID(1) +
               "', 'look', 'm', 9, X'00000000AABBCC')");
  }
  const auto read = store.capture(sampleID(1));
  ASSERT_TRUE(read);
  EXPECT_EQ(secondsSince1970(read->createdAt), 42);
  EXPECT_EQ(read->app, "") << "a blob is no text";
  EXPECT_EQ(read->width, 0);
  EXPECT_EQ(read->height, 0) << "a double is no integer";
  EXPECT_EQ(read->stage, CaptureStage::captured);
  EXPECT_FALSE(read->kind);
  EXPECT_TRUE(read->highlights.empty());
  EXPECT_TRUE(read->links.empty()) << "an array with a number is not an array of strings";
  EXPECT_TRUE(read->favorite);
  EXPECT_EQ(read->media, CaptureMedia::screen);
  EXPECT_FALSE(read->duration);
  EXPECT_EQ(read->takenAt, dateFromSeconds(5));
  EXPECT_FALSE(read->title);
  EXPECT_EQ(store.vector(sampleID(1), VectorSpace::look), std::vector<float>{0.0f})
      << "seven bytes hold one whole float";
}

TEST(LibraryStore, DeleteRemovesTheRowItsCompanionsAndItsFiles) {
  testing::TempDir dir;
  LibraryStore store(dir.path());
  Capture capture = sampleCapture(1, 10);
  capture.media = CaptureMedia::photo;
  capture.imageFile = "media/" + capture.id + ".jpg";
  capture.originalFile = "media/" + capture.id + "-original.heic";
  store.insert(capture);
  store.setTags(capture.id, {"a"});
  store.setEmbedding(capture.id, "m", {{VectorSpace::look, {1}}});
  for (const auto& file :
       {store.thumbURL(capture.id), store.imageURL(capture), *store.originalURL(capture)}) {
    touch(file);
  }
  store.deleteCapture(capture.id);
  EXPECT_FALSE(store.capture(capture.id));
  EXPECT_FALSE(std::filesystem::exists(store.thumbURL(capture.id)));
  EXPECT_FALSE(std::filesystem::exists(store.imageURL(capture)));
  EXPECT_FALSE(std::filesystem::exists(*store.originalURL(capture)));
  EXPECT_EQ(scalar(dir.path(), "SELECT count(*) AS n FROM capture_tags"), 0);
  EXPECT_EQ(scalar(dir.path(), "SELECT count(*) AS n FROM vectors"), 0);
  EXPECT_TRUE(store.textSearch("window", 10).empty());

  // An unknown id still clears the files its id would name.
  const std::string stranger = sampleID(2);
  touch(store.sheetURL(stranger));
  EXPECT_NO_THROW(store.deleteCapture(stranger));
  EXPECT_FALSE(std::filesystem::exists(store.sheetURL(stranger)));
}

TEST(LibraryStore, FullTextRowsStayOneACaptureWhenRowidsWereRenumbered) {
  testing::TempDir dir;
  LibraryStore store(dir.path());
  for (int n = 1; n <= 3; ++n) store.insert(sampleCapture(n, n));
  {
    // As after a VACUUM that renumbered the captures: the full-text rows sit at
    // other rowids, and capture 1's rowid now holds capture 2's row.
    Database db(dir.path() / "library.sqlite");
    db.execute("UPDATE captures_fts SET rowid = rowid + 100");
    db.run("UPDATE captures_fts SET rowid = (SELECT rowid FROM captures WHERE id = ?) WHERE id = ?",
           {sampleID(1), sampleID(2)});
  }
  store.setNote(sampleID(1), "marmalade");
  store.setNote(sampleID(2), "quince");
  store.setNote(sampleID(3), "medlar");
  for (const char* word : {"marmalade", "quince", "medlar"}) {
    EXPECT_EQ(store.textSearch(word, 10).size(), 1u) << word;
  }
  EXPECT_EQ(store.textSearch("window", 10).size(), 3u);
  store.deleteCapture(sampleID(2));
  EXPECT_TRUE(store.textSearch("quince", 10).empty());
  EXPECT_EQ(scalar(dir.path(), "SELECT count(*) AS n FROM captures_fts"), 2);
}

TEST(LibraryStore, DefaultRootFollowsXdgDataHome) {
  ::setenv("XDG_DATA_HOME", "/data/home", 1);
  EXPECT_EQ(LibraryStore::defaultRoot(), "/data/home/Brindlemoor");
  ::setenv("XDG_DATA_HOME", "relative", 1);  // ignored, as the base directory rules say
  EXPECT_EQ(LibraryStore::defaultRoot(),
            std::filesystem::path(std::getenv("HOME")) / ".local/share/Brindlemoor");
  ::unsetenv("XDG_DATA_HOME");
}

}  // namespace
}  // namespace brindlemoor
