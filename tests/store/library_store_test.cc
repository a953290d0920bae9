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
using Ids = std::vector<std::string>;

std::int64_t scalar(const std::filesystem::path& root, const std::string& sql) {
  return Database(root / "library.sqlite").query(sql)[0]["n"].intValue().value_or(-1);
}

const char* const kVersion = "SELECT user_version AS n FROM pragma_user_version";

void writeVersionOne(const std::filesystem::path& root, const std::string& sql) {
  std::filesystem::create_directories(root);
  Database db(root / "library.sqlite");
  db.execute(internal::kSchemaVersion1);
  db.run("INSERT INTO captures (id, created_at, app, window_title, source) VALUES (?, ?, ?, ?, ?)",
         {sampleID(1), 100.0, "Terminal", "zsh", "Terminal"});
  if (!sql.empty()) db.execute(sql);
  db.setUserVersion(1);
}

Ids ids(const auto& items) {
  Ids result;
  for (const auto& item : items) result.push_back(item.id);
  return result;
}

CaptureCollection collection(std::string id, double updatedAt) {
  return {std::move(id), "Name", "📚", dateFromSeconds(1), dateFromSeconds(updatedAt), 0, 0, false};
}

class LibraryStoreTest : public ::testing::Test {
 protected:
  testing::TempDir m_dir;
  LibraryStore m_store{m_dir.path()};
};

TEST(LibraryStore, OpensAPrivateRootOrFailsOnOneThatCannotBeMade) {
  testing::TempDir dir;
  const auto root = dir.path() / "deep" / "Brindlemoor";
  const auto mode = [](const std::filesystem::path& path) {
    struct stat info {};
    EXPECT_EQ(::stat(path.c_str(), &info), 0) << path;
    return info.st_mode & 0777;
  };
  // A library left open to others by an earlier version is narrowed.
  std::filesystem::create_directories(root / "thumbs");
  ::chmod(root.c_str(), 0755);
  ::chmod((root / "thumbs").c_str(), 0755);
  { LibraryStore store(root); }
  LibraryStore store(root);
  store.insert(sampleCapture(1, 1));  // the write-ahead log is made now
  for (const char* folder : {"", "captures", "thumbs", "media"}) {
    EXPECT_EQ(mode(root / folder), 0700u) << "the library holds pictures of the screen";
  }
  for (const char* file : {"library.sqlite", "library.sqlite-wal", "library.sqlite-shm"}) {
    EXPECT_EQ(mode(root / file), 0600u) << file;
  }
  EXPECT_EQ(scalar(root, kVersion), 2);

  std::ofstream(dir.path() / "file") << "x";
  EXPECT_THROW(LibraryStore(dir.path() / "file" / "Brindlemoor"), LibraryStore::Failure);
}

TEST(LibraryStore, MigratesAVersionOneLibraryOrLeavesItWhole) {
  testing::TempDir dir;
  writeVersionOne(dir.path() / "a", "");
  const auto capture = LibraryStore(dir.path() / "a").capture(sampleID(1));
  EXPECT_EQ(capture->media, CaptureMedia::screen);
  EXPECT_EQ(scalar(dir.path() / "a", kVersion), 2);

  writeVersionOne(dir.path() / "b", "CREATE INDEX idx_captures_media ON captures(app)");
  EXPECT_THROW(LibraryStore{dir.path() / "b"}, Database::Failure);
  EXPECT_EQ(scalar(dir.path() / "b", kVersion), 1);
  EXPECT_EQ(scalar(dir.path() / "b",
                   "SELECT count(*) AS n FROM pragma_table_info('captures') WHERE name = 'media'"),
            0);
}

TEST_F(LibraryStoreTest, ACaptureReadsBackAsItWasKeptAndMovesThroughItsStages) {
  Capture capture = sampleCapture(1, 1700000000.25);
  capture.windowTitle = "Emoji 👩‍👩‍👧 and שלום'; DROP TABLE captures; --";
  capture.media = CaptureMedia::video;
  capture.duration = 12.5;
  m_store.insert(capture);
  EXPECT_EQ(m_store.capture(capture.id), capture);
  EXPECT_THROW(m_store.insert(capture), Database::Failure) << "ids are unique";

  const std::string id = capture.id;
  m_store.recordFailure(id, "Ollama is not running", 60, dateFromSeconds(1000));
  EXPECT_TRUE(m_store.pending(dateFromSeconds(1059), 10).empty());
  EXPECT_EQ(m_store.pending(dateFromSeconds(1060), 10).size(), 1u);
  m_store.setRead(id, "text on screen", std::nullopt);
  EXPECT_FALSE(m_store.capture(id)->lastError);

  // A retry's description replaces the tags whole, a later embedding the vectors.
  m_store.setDescribed(id, {"A", "", CaptureKind::recipe, {"Soup", "Winter"}, {"hot"}, {}});
  m_store.setDescribed(id, {"A", "", CaptureKind::other, {"#Beta ", "beta", "\n#ÜBER\t"}, {}, {}});
  EXPECT_EQ(m_store.capture(id)->tags, (Ids{"beta", "über"}));
  m_store.setEmbedding(id, "m1", {{VectorSpace::look, {1, 0}}});
  m_store.setEmbedding(id, "m2", {{VectorSpace::look, {0.5f, 0.5f, 0.25f}}});
  EXPECT_EQ(m_store.capture(id)->stage, CaptureStage::embedded);
  EXPECT_EQ(m_store.vectors("m1", VectorSpace::look).size(), 0u);
}

TEST_F(LibraryStoreTest, IllTypedCellsReadAsDefaults) {
  {
    Database db(m_dir.path() / "library.sqlite");
    db.execute("INSERT INTO captures (id, created_at, app, stage, links) VALUES ('" + sampleID(1) +
               "', 42, X'41', 'unknown', '[1, \"x\"]')");
    db.execute("INSERT INTO vectors VALUES ('" + sampleID(1) +
               "', 'look', 'm', 9, X'00000000AABBCC')");
  }
  const auto read = m_store.capture(sampleID(1));
  ASSERT_TRUE(read);
  EXPECT_EQ(read->app, "") << "a blob is no text";
  EXPECT_EQ(read->stage, CaptureStage::captured);
  EXPECT_TRUE(read->links.empty()) << "an array with a number is not an array of strings";
  EXPECT_EQ(m_store.vector(sampleID(1), VectorSpace::look), std::vector<float>{0.0f})
      << "seven bytes hold one whole float";
}

TEST_F(LibraryStoreTest, IdsStartingWithAPrefixAreARangeWithoutWildcards) {
  const std::vector<std::string> all{
      "83693166-0000-4000-8000-000000000001", "83693166-0000-4000-8000-000000000002",
      "8369ffff-0000-4000-8000-000000000003", "836a0000-0000-4000-8000-000000000004"};
  for (const auto& id : all) {
    Capture capture = sampleCapture(1, 10);
    capture.id = id;
    m_store.insert(capture);
  }
  EXPECT_EQ(m_store.idsStartingWith("8369", 10), (Ids{all[0], all[1], all[2]}));
  EXPECT_EQ(m_store.idsStartingWith("83693166", 1), Ids{all[0]});
  for (const char* none : {"8369%", "836_", "8369\xff", "83693166-0000-4000-8000-0000000000012"}) {
    EXPECT_TRUE(m_store.idsStartingWith(none, 10).empty()) << none;
  }
}

TEST_F(LibraryStoreTest, TextSearchFindsEveryIndexedFieldByPrefixAndForgetsDeletedCaptures) {
  Capture a = sampleCapture(1, 10);
  a.url = "https://www.lisbon-guide.example/trams";
  m_store.insert(a);
  m_store.insert(sampleCapture(2, 20));
  m_store.insert(sampleCapture(3, 30));
  m_store.setRead(sampleID(2), "Invoice number 4471 from Acme", std::string("spoken words here"));
  m_store.setDescribed(sampleID(3),
                       {"Pastéis de nata", "Custard tarts", CaptureKind::food, {"baking"}, {}, {}});

  EXPECT_EQ(ids(m_store.textSearch("lisbon", 10)), Ids{sampleID(1)});
  EXPECT_EQ(ids(m_store.textSearch("invo 4471", 10)), Ids{sampleID(2)});
  EXPECT_EQ(ids(m_store.textSearch("pasteis", 10)), Ids{sampleID(3)}) << "diacritics are folded";
  EXPECT_TRUE(m_store.textSearch("invoice lisbon", 10).empty()) << "every word must match";
  EXPECT_NO_THROW(m_store.textSearch("\" NEAR(a b) OR * x' OR '1'='1", 10));
  m_store.setTags(sampleID(3), {"Portugal"});
  EXPECT_EQ(ids(m_store.textSearch("portugal", 10)), Ids{sampleID(3)});
  EXPECT_TRUE(m_store.textSearch("baking", 10).empty()) << "the full-text row was rewritten";

  m_store.setEmbedding(sampleID(3), "m", {{VectorSpace::look, {1}}});
  m_store.deleteCapture(sampleID(3));
  EXPECT_FALSE(m_store.capture(sampleID(3)));
  EXPECT_TRUE(m_store.textSearch("portugal", 10).empty());
  EXPECT_EQ(scalar(m_dir.path(), "SELECT count(*) AS n FROM capture_tags"), 0);
  EXPECT_EQ(scalar(m_dir.path(), "SELECT count(*) AS n FROM vectors"), 0);
}

TEST_F(LibraryStoreTest, FullTextRowsStayOneACaptureWhenRowidsWereRenumbered) {
  for (int n = 1; n <= 3; ++n) m_store.insert(sampleCapture(n, n));
  {
    // As after a VACUUM that renumbered the captures: the full-text rows sit at
    // other rowids, and capture 1's rowid now holds capture 2's row.
    Database db(m_dir.path() / "library.sqlite");
    db.execute("UPDATE captures_fts SET rowid = rowid + 100");
    db.run("UPDATE captures_fts SET rowid = (SELECT rowid FROM captures WHERE id = ?) WHERE id = ?",
           {sampleID(1), sampleID(2)});
  }
  const Ids notes = {"marmalade", "quince", "medlar"};
  for (int n = 1; n <= 3; ++n) m_store.setNote(sampleID(n), notes[n - 1]);
  for (const std::string& word : notes) EXPECT_EQ(m_store.textSearch(word, 10).size(), 1u) << word;
  m_store.deleteCapture(sampleID(2));
  EXPECT_TRUE(m_store.textSearch("quince", 10).empty());
  EXPECT_EQ(scalar(m_dir.path(), "SELECT count(*) AS n FROM captures_fts"), 2);
}

TEST_F(LibraryStoreTest, ListingsByEveryFilterNewestFirstCountsOfScreenSourcesAndCollections) {
  Capture photo = sampleCapture(1, 10);
  photo.media = CaptureMedia::photo;
  photo.app = "Photos";
  Capture site = sampleCapture(2, 20);
  site.url = "https://www.example.org/";
  for (const auto& capture : {photo, site, sampleCapture(3, 30)}) m_store.insert(capture);
  m_store.insertCollection(collection("c1", 5));
  m_store.setCollection(sampleID(2), "c1");
  m_store.setFavorite(sampleID(3), true);
  m_store.setDescribed(sampleID(1), {"T", "", CaptureKind::place, {}, {}, {}});

  using F = LibraryFilter;
  const std::vector<std::pair<LibraryFilter, Ids>> cases = {
      {F::recent(), {sampleID(3), sampleID(2), sampleID(1)}},
      {F::collection("c1"), {sampleID(2)}},
      {F::unsorted(), {sampleID(3), sampleID(1)}},
      {F::favorites(), {sampleID(3)}},
      {F::kind(CaptureKind::place), {sampleID(1)}},
      {F::source("example.org"), {sampleID(2)}},
      {F::since(dateFromSeconds(20)), {sampleID(3), sampleID(2)}},
      {F::media(CaptureMedia::photo), {sampleID(1)}},
  };
  for (const auto& [filter, expected] : cases) {
    EXPECT_EQ(ids(m_store.captures(10, filter)), expected);
    EXPECT_EQ(m_store.count(filter, 10), static_cast<std::int64_t>(expected.size()));
  }
  EXPECT_EQ(m_store.count(F::recent(), 2), 2) << "counted no further than the limit";
  // The capture filed in c1 is organized.
  EXPECT_EQ(m_store.unfinishedCount(10), 2);
  EXPECT_EQ(m_store.unfinishedCount(1), 1);
  // An imported photo is no source of the screen.
  EXPECT_EQ(m_store.sourceCounts(30), (std::vector<std::pair<std::string, std::int64_t>>{
                                          {"Firefox", 1}, {"example.org", 1}}));

  m_store.insertCollection(collection("c2", 9));
  EXPECT_EQ(ids(m_store.collections()), (Ids{"c2", "c1"})) << "the latest updated first";
  EXPECT_EQ(m_store.collections()[1].count, 1);
  m_store.renameCollection("c1", "Mine", "🍋", 2, true);
  m_store.renameCollection("c1", "Automatic", "🤖", 3, false);
  EXPECT_EQ(m_store.collections()[0].id, "c1") << "a rename brings it to the top";
  EXPECT_TRUE(m_store.collections()[0].userNamed) << "once named by the user, always";
}

}  // namespace
}  // namespace brindlemoor
