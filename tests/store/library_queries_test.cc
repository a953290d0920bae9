#include <gtest/gtest.h>

#include "core/store/internal/fts_query.h"
#include "core/store/library_store.h"
#include "tests/testing/sample_captures.h"
#include "tests/testing/temp_dir.h"

namespace brindlemoor {
namespace {

using testing::sampleCapture;
using testing::sampleID;

std::vector<std::string> ids(const std::vector<Capture>& captures) {
  std::vector<std::string> result;
  for (const auto& capture : captures) result.push_back(capture.id);
  return result;
}

std::vector<std::string> ids(const std::vector<LibraryStore::TextHit>& hits) {
  std::vector<std::string> result;
  for (const auto& hit : hits) result.push_back(hit.id);
  return result;
}

CaptureCollection collection(std::string id, double updatedAt) {
  return {std::move(id), "Name", "📚", dateFromSeconds(1), dateFromSeconds(updatedAt), 0, 0, false};
}

class LibraryQueries : public ::testing::Test {
 protected:
  testing::TempDir m_dir;
  LibraryStore m_store{m_dir.path()};
};

TEST(FtsQuery, QuotesPrefixTermsAndDropsStopwords) {
  EXPECT_EQ(internal::ftsQuery("Photos of Lisbon!"), "\"photos\"* \"lisbon\"*");
  EXPECT_EQ(internal::ftsQuery("the page"), "");
  EXPECT_EQ(internal::ftsQuery("\" NEAR(a b) OR * -x ^y : {z}"),
            "\"near\"* \"b\"* \"x\"* \"y\"* \"z\"*");
  EXPECT_EQ(internal::ftsQuery("Ärger ١٢٣ 日本語"), "\"ärger\"* \"١٢٣\"* \"日本語\"*");
  EXPECT_EQ(internal::ftsQuery("naïve\xff\xfequote"), "\"naïve\"* \"quote\"*");
  EXPECT_EQ(internal::ftsQuery(std::string("nul\0byte", 8)), "\"nul\"* \"byte\"*");
  std::string pasted;
  for (int i = 0; i < 100000; ++i) pasted += "lemon w" + std::to_string(i) + " ";
  const std::string expression = internal::ftsQuery(pasted);
  EXPECT_EQ(expression.substr(0, 20), "\"lemon\"* \"w0\"* \"w1\"*");
  EXPECT_EQ(std::count(expression.begin(), expression.end(), '*'), 32)
      << "a pasted page stays small";
}

TEST_F(LibraryQueries, TextSearchFindsEveryIndexedFieldByPrefix) {
  Capture a = sampleCapture(1, 10);
  a.url = "https://www.lisbon-guide.example/trams";
  m_store.insert(a);
  m_store.insert(sampleCapture(2, 20));
  m_store.insert(sampleCapture(3, 30));
  m_store.setRead(sampleID(2), "Invoice number 4471 from Acme", std::string("spoken words here"));
  m_store.setDescribed(sampleID(3),
                       {"Pastéis de nata", "Custard tarts", CaptureKind::food, {"baking"}, {}, {}});
  m_store.setNote(sampleID(1), "remember the yellow tram");

  EXPECT_EQ(ids(m_store.textSearch("lisbon", 10)), std::vector<std::string>{sampleID(1)});
  EXPECT_EQ(ids(m_store.textSearch("invo 4471", 10)), std::vector<std::string>{sampleID(2)});
  EXPECT_EQ(ids(m_store.textSearch("SPOKEN", 10)), std::vector<std::string>{sampleID(2)});
  EXPECT_EQ(ids(m_store.textSearch("pasteis", 10)), std::vector<std::string>{sampleID(3)})
      << "diacritics are folded";
  EXPECT_TRUE(m_store.textSearch("invoice tram", 10).empty()) << "every word must match";
  EXPECT_EQ(m_store.textSearch("firefox", 2).size(), 2u) << "the app is indexed, and limited";
  EXPECT_TRUE(m_store.textSearch("the page", 10).empty());
  for (const char* hostile : {"\"", "NEAR(\"a\" \"b\")", "* OR *", "x' OR '1'='1", "\xff\xfe"}) {
    EXPECT_NO_THROW(m_store.textSearch(hostile, 10)) << hostile;
  }

  m_store.setTags(sampleID(3), {"Portugal"});
  EXPECT_EQ(ids(m_store.textSearch("portugal", 10)), std::vector<std::string>{sampleID(3)});
  EXPECT_TRUE(m_store.textSearch("baking", 10).empty()) << "the full-text row was rewritten";
}

TEST_F(LibraryQueries, IdsStartingWithAPrefixAreARangeWithoutWildcards) {
  const std::vector<std::string> all{
      "83693166-0000-4000-8000-000000000001", "83693166-0000-4000-8000-000000000002",
      "8369ffff-0000-4000-8000-000000000003", "836a0000-0000-4000-8000-000000000004"};
  for (const auto& id : all) {
    Capture capture = sampleCapture(1, 10);
    capture.id = id;
    m_store.insert(capture);
  }
  using Ids = std::vector<std::string>;
  EXPECT_EQ(m_store.idsStartingWith("8369", 10), (Ids{all[0], all[1], all[2]}));
  EXPECT_EQ(m_store.idsStartingWith("83693166", 1), Ids{all[0]});
  EXPECT_EQ(m_store.idsStartingWith(all[3], 10), Ids{all[3]});
  EXPECT_EQ(m_store.idsStartingWith("", 10), all);
  for (const char* none :
       {"8369%", "8369_", "836_", "8369\xff", "\xff", "83693166-0000-4000-8000-0000000000012"}) {
    EXPECT_TRUE(m_store.idsStartingWith(none, 10).empty()) << none;
  }
}

TEST_F(LibraryQueries, ListingsByEveryFilterNewestFirst) {
  Capture photo = sampleCapture(1, 10);
  photo.media = CaptureMedia::photo;
  photo.app = "Photos";
  Capture site = sampleCapture(2, 20);
  site.url = "https://www.example.org/";
  Capture plain = sampleCapture(3, 30);
  for (const auto& capture : {photo, site, plain}) m_store.insert(capture);
  m_store.insertCollection(collection("c1", 5));
  m_store.setCollection(sampleID(2), "c1");
  m_store.setFavorite(sampleID(3), true);
  m_store.setDescribed(sampleID(1), {"T", "", CaptureKind::place, {}, {}, {}});

  using F = LibraryFilter;
  EXPECT_EQ(ids(m_store.captures(10, F::recent())),
            (std::vector<std::string>{sampleID(3), sampleID(2), sampleID(1)}));
  EXPECT_EQ(ids(m_store.captures(10, F::collection("c1"))), std::vector<std::string>{sampleID(2)});
  EXPECT_EQ(ids(m_store.captures(10, F::unsorted())),
            (std::vector<std::string>{sampleID(3), sampleID(1)}));
  EXPECT_EQ(ids(m_store.captures(10, F::favorites())), std::vector<std::string>{sampleID(3)});
  EXPECT_EQ(ids(m_store.captures(10, F::kind(CaptureKind::place))),
            std::vector<std::string>{sampleID(1)});
  EXPECT_EQ(ids(m_store.captures(10, F::source("example.org"))),
            std::vector<std::string>{sampleID(2)});
  EXPECT_EQ(ids(m_store.captures(10, F::source("Photos"))), std::vector<std::string>{sampleID(1)});
  EXPECT_EQ(ids(m_store.captures(10, F::since(dateFromSeconds(20)))),
            (std::vector<std::string>{sampleID(3), sampleID(2)}));
  EXPECT_EQ(ids(m_store.captures(10, F::media(CaptureMedia::photo))),
            std::vector<std::string>{sampleID(1)});
}

TEST_F(LibraryQueries, ImportedPhotosAreNoSourceOfTheScreen) {
  for (int n = 1; n <= 4; ++n) {
    Capture capture = sampleCapture(n, n * 10);
    capture.app = n <= 2 ? "Terminal" : "Files";
    if (n == 4) capture.media = CaptureMedia::photo;
    m_store.insert(capture);
  }
  EXPECT_EQ(m_store.sourceCounts(30),
            (std::vector<std::pair<std::string, std::int64_t>>{{"Terminal", 2}, {"Files", 1}}));
  EXPECT_EQ(m_store.mediaCounts(), (std::map<CaptureMedia, std::int64_t>{
                                       {CaptureMedia::screen, 3}, {CaptureMedia::photo, 1}}));
}

TEST_F(LibraryQueries, SmallWritesKeepNotesTagsAndFavorites) {
  m_store.insert(sampleCapture(1, 10));
  m_store.setNote(sampleID(1), "  \n\t ");
  EXPECT_FALSE(m_store.capture(sampleID(1))->note);
  m_store.setNote(sampleID(1), "  kept  ");
  EXPECT_EQ(m_store.capture(sampleID(1))->note, "kept");
  const std::string big(1 << 20, 'n');
  m_store.setNote(sampleID(1), big);
  EXPECT_EQ(m_store.capture(sampleID(1))->note, big);
  m_store.setNote(sampleID(1), std::nullopt);
  EXPECT_FALSE(m_store.capture(sampleID(1))->note);

  m_store.setTags(sampleID(1), {"Travel", "travel ", "#travel", "###", "\n#ÜBER\t", "a#b"});
  EXPECT_EQ(m_store.capture(sampleID(1))->tags,
            (std::vector<std::string>{"a#b", "travel", "über"}));
  EXPECT_NO_THROW(m_store.setFavorite(sampleID(9), true));
  EXPECT_THROW(m_store.setTags(sampleID(9), {"x"}), Database::Failure)
      << "tags of a capture that doesn't exist break the foreign key";
}

TEST_F(LibraryQueries, CollectionsCountTheirCapturesAndStayUserNamed) {
  m_store.insertCollection(collection("old", 100));
  m_store.insertCollection(collection("new", 200));
  m_store.insertCollection(collection("empty", 300));
  for (int n = 1; n <= 3; ++n) m_store.insert(sampleCapture(n, n));
  m_store.setCollection(sampleID(1), "old");
  m_store.setCollection(sampleID(2), "old");
  m_store.moveCapture(sampleID(3), "new");
  EXPECT_EQ(m_store.capture(sampleID(3))->stage, CaptureStage::captured)
      << "a move keeps the stage";
  EXPECT_EQ(m_store.capture(sampleID(1))->stage, CaptureStage::organized);

  auto all = m_store.collections();
  ASSERT_EQ(all.size(), 3u);
  EXPECT_EQ(all[0].id, "empty");
  EXPECT_EQ(all[2].id, "old");
  EXPECT_EQ(all[2].count, 2);

  m_store.renameCollection("old", "Mine", "🍋", 2, true);
  m_store.renameCollection("old", "Automatic", "🤖", 3, false);
  all = m_store.collections();
  EXPECT_EQ(all[0].id, "old") << "a rename brings it to the top";
  EXPECT_EQ(all[0].name, "Automatic");
  EXPECT_TRUE(all[0].userNamed) << "once named by the user, always";
  m_store.touchCollection("new");
  EXPECT_EQ(m_store.collections()[0].id, "new");

  m_store.dropEmptyCollections();
  EXPECT_EQ(m_store.collections().size(), 2u);
  for (int n = 1; n <= 3; ++n) m_store.deleteCapture(sampleID(n));
  m_store.dropEmptyCollections();
  EXPECT_TRUE(m_store.collections().empty());
}

}  // namespace
}  // namespace brindlemoor
