#include "app/model/app_model.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QSignalSpy>
#include <chrono>
#include <thread>

#include "core/understanding/models.h"
#include "tests/testing/imitation_ollama.h"
#include "tests/testing/pictures.h"
#include "tests/testing/sample_captures.h"
#include "tests/testing/temp_dir.h"

namespace brindlemoor {
namespace {

using namespace std::chrono_literals;

// Runs the GUI thread's events until `done` holds, for at most 10 s.
template <class Condition>
bool settle(Condition done) {
  const auto until = std::chrono::steady_clock::now() + 10s;
  while (!done() && std::chrono::steady_clock::now() < until) {
    QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    std::this_thread::sleep_for(5ms);
  }
  return done();
}

void run(std::chrono::milliseconds duration) {
  const auto until = std::chrono::steady_clock::now() + duration;
  while (std::chrono::steady_clock::now() < until) {
    QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    std::this_thread::sleep_for(5ms);
  }
}

class AppModelTest : public ::testing::Test {
 protected:
  AppModelTest() : m_model(m_root.path(), m_daemon.host(), "v", nullptr) {
    m_daemon.setModels({"v", Models::embedding});
    m_model.start();
  }

  static void SetUpTestSuite() {
    static int argc = 1;
    static char name[] = "app_model_test";
    static char* argv[] = {name, nullptr};
    if (!QCoreApplication::instance()) new QCoreApplication(argc, argv);
  }

  // Keeps a screen capture of `title`, `seconds` after the first.
  Capture keep(const std::string& title, double seconds, CaptureMedia media = CaptureMedia::screen) {
    Capture capture;
    capture.id = testing::sampleID(++m_kept);
    capture.createdAt = dateFromSeconds(1'700'000'000 + seconds);
    capture.app = "Notes";
    capture.windowTitle = title;
    capture.media = media;
    const Bytes png = testing::encoded(testing::filled(8, 8, {200, 30, 30}), ".png");
    m_model.library().keep(capture, png, png);
    return capture;
  }

  std::vector<std::string> shownTitles() const {
    std::vector<std::string> titles;
    for (const Capture& capture : m_model.shown()) titles.push_back(capture.windowTitle);
    return titles;
  }

  testing::TempDir m_root;
  testing::ImitationOllama m_daemon;
  AppModel m_model;
  std::uint64_t m_kept = 0;
};

TEST_F(AppModelTest, AnEmptyLibraryShowsNothingAndEveryChangeIsReadBack) {
  EXPECT_EQ(m_model.total(), 0);
  EXPECT_TRUE(m_model.shown().empty());
  EXPECT_EQ(m_model.newest(), std::nullopt);
  EXPECT_EQ(m_model.selected(), std::nullopt);
  EXPECT_EQ(m_model.favoritesCount(), 0);

  keep("First", 0);
  const Capture second = keep("Second", 10, CaptureMedia::photo);
  ASSERT_TRUE(settle([&] { return m_model.total() == 2; }));
  EXPECT_EQ(shownTitles(), (std::vector<std::string>{"Second", "First"}));
  EXPECT_EQ(m_model.newest()->id, second.id);
  EXPECT_EQ(m_model.understanding(), 2);  // no pipeline: both wait
  EXPECT_EQ(m_model.unsortedCount(), 2);
  EXPECT_EQ(m_model.mediaCounts().at(CaptureMedia::photo), 1);

  m_model.toggleFavorite(second);
  ASSERT_TRUE(settle([&] { return m_model.favoritesCount() == 1; }));
  // The note reaches the island's capture through lastKept.
  m_model.setLastKept(second);
  m_model.setNote(second.id, "for the walk");
  ASSERT_TRUE(settle([&] { return m_model.lastKept()->note == "for the walk"; }));
}

TEST_F(AppModelTest, ShelvesForgetTheMediaTabButKeepTheTimeFilter) {
  keep("Screen", 0);
  keep("Photo", 10, CaptureMedia::photo);
  ASSERT_TRUE(settle([&] { return m_model.total() == 2; }));
  m_model.setMediaFilter(CaptureMedia::photo);
  m_model.setTimeFilter(TimeShelf::today);
  // The captures are of 2023; today's filter leaves none.
  EXPECT_TRUE(shownTitles().empty());
  m_model.setTimeFilter(std::nullopt);
  EXPECT_EQ(shownTitles(), std::vector<std::string>{"Photo"});
  EXPECT_EQ(m_model.shelfMediaCounts().size(), 2u);

  QSignalSpy reloads(&m_model, &AppModel::reloaded);
  m_model.setShelf(Shelf(Shelf::Recent{}));
  EXPECT_EQ(reloads.count(), 0);  // the same shelf does nothing
  EXPECT_EQ(shownTitles(), std::vector<std::string>{"Photo"});
  m_model.setShelf(Shelf(Shelf::Unsorted{}));
  EXPECT_EQ(reloads.count(), 1);
  EXPECT_EQ(shownTitles(), (std::vector<std::string>{"Photo", "Screen"}));
  EXPECT_EQ(m_model.shelfTitle(), "Unsorted");
  EXPECT_EQ(Shelf(Shelf::Collection{"gone"}).title({}), "Collection");
}

TEST_F(AppModelTest, TheSelectionStepsWithoutWrappingAndADeletedOpenCaptureClosesFirst) {
  const Capture a = keep("A", 30);
  const Capture b = keep("B", 20);
  const Capture c = keep("C", 10);
  ASSERT_TRUE(settle([&] { return m_model.total() == 3; }));
  m_model.step(1);
  EXPECT_EQ(m_model.selectedID(), "");
  m_model.setSelectedID(QString::fromStdString(a.id));
  m_model.step(-1);
  EXPECT_EQ(m_model.selectedID().toStdString(), a.id);
  m_model.step(2);
  EXPECT_EQ(m_model.selectedID().toStdString(), c.id);
  m_model.step(1);
  EXPECT_EQ(m_model.selectedID().toStdString(), c.id);
  EXPECT_EQ(m_model.selected()->windowTitle, "C");

  m_model.deleteCapture(c.id);
  EXPECT_EQ(m_model.selectedID(), "");  // at once, before the row goes
  ASSERT_TRUE(settle([&] { return m_model.total() == 2; }));
  // A capture not shown is still found in the store.
  m_model.setMediaFilter(CaptureMedia::video);
  m_model.setSelectedID(QString::fromStdString(b.id));
  EXPECT_EQ(m_model.selected()->windowTitle, "B");
  m_model.step(1);
  EXPECT_EQ(m_model.selectedID().toStdString(), b.id);
}

TEST_F(AppModelTest, TypingSearchesOnceAfterThePauseAndSpacesSearchForNothing) {
  keep("Heather on the moor", 0);
  keep("Tide tables", 10);
  ASSERT_TRUE(settle([&] { return m_model.total() == 2; }));

  for (const char* typed : {"h", "he", "hea", "heather"}) {
    m_model.setQuery(typed);
    run(100ms);
  }
  EXPECT_TRUE(m_model.searching());
  ASSERT_TRUE(settle([&] { return !m_model.searching(); }));
  EXPECT_EQ(m_daemon.requestCount("/api/embed"), 1);
  EXPECT_EQ(shownTitles(), std::vector<std::string>{"Heather on the moor"});
  EXPECT_TRUE(m_model.searchingNow());

  // A change of the library searches again at once.
  keep("Heather honey", 20);
  ASSERT_TRUE(settle([&] { return m_model.shown().size() == 2 && !m_model.searching(); }));

  m_model.setQuery("   ");
  EXPECT_FALSE(m_model.searchingNow());
  EXPECT_FALSE(m_model.searching());
  EXPECT_EQ(m_model.findings(), std::nullopt);
  EXPECT_EQ(m_model.shown().size(), 3u);
}

}  // namespace
}  // namespace brindlemoor
