// The application as a user starts it: `brindlemoor` on a fresh home, on a
// private X11 desktop with a session bus and accessibility, talking to an
// imitation Ollama. Keys are pressed through XTEST (xdotool) and what the
// island says is read off the screen with the program's own text reader.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vips/vips8>

#include <chrono>
#include <fstream>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "core/media/reader.h"
#include "core/store/library_store.h"
#include "tests/testing/browsing.h"
#include "tests/testing/child_process.h"
#include "tests/testing/imitation_ollama.h"
#include "tests/testing/pictures.h"
#include "tests/testing/temp_dir.h"
#include "tests/testing/test_window.h"

namespace brindlemoor {
namespace {

using namespace std::chrono_literals;
using testing::Browser;
using testing::ChildProcess;
using testing::ImitationOllama;
using testing::PageDesktop;
using testing::TempDir;
using testing::TestWindow;

constexpr auto kPatience = 30s;

// What a command prints, once it has ended.
std::string output(const std::string& program, const std::vector<std::string>& args) {
  ChildProcess process(program, args, {});
  process.wait();
  return process.out();
}

// Polls `done` until it holds or `patience` is up; whether it held.
template <class Condition>
bool eventually(Condition done, std::chrono::milliseconds patience = kPatience) {
  const auto until = std::chrono::steady_clock::now() + patience;
  while (std::chrono::steady_clock::now() < until) {
    if (done()) return true;
    std::this_thread::sleep_for(100ms);
  }
  return done();
}

// The visible windows of process `pid` named exactly `name`.
std::vector<std::string> windowsOf(pid_t pid, const std::string& name) {
  const std::string found = output(
      "/usr/bin/xdotool",
      {"search", "--all", "--onlyvisible", "--pid", std::to_string(pid), "--name", "^" + name + "$"});
  std::vector<std::string> ids;
  std::size_t from = 0;
  for (std::size_t end; (end = found.find('\n', from)) != std::string::npos; from = end + 1) {
    ids.push_back(found.substr(from, end - from));
  }
  return ids;
}

std::string textOf(const vips::VImage& picture) {
  void* buffer = nullptr;
  std::size_t size = 0;
  picture.resize(3).write_to_buffer(".png", &buffer, &size);
  const Bytes png(static_cast<std::uint8_t*>(buffer), static_cast<std::uint8_t*>(buffer) + size);
  g_free(buffer);
  return Reader::text(png);
}

// The text on the island, upper-cased, read at three times its size, then without the
// picture at the island's start and the black beyond its rounded ends,
// which throw the reading off.
std::string islandText(const std::string& window) {
  ChildProcess shot("/usr/bin/import", {"-window", window, "png:-"}, {});
  if (shot.wait() != 0 || shot.out().empty()) return "";
  const vips::VImage picture =
      vips::VImage::new_from_buffer(shot.out().data(), shot.out().size(), "");
  // The island is a short window; the library's, of the same name, is not.
  if (picture.width() <= 100 || picture.height() > 200) return "";
  std::string text = textOf(picture) + "\n" +
                     textOf(picture.crop(56, 0, picture.width() - 56 - 30, picture.height()));
  for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

void pressBothSuperKeys() {
  output("/usr/bin/xdotool", {"keydown", "Super_L", "keydown", "Super_R"});
  output("/usr/bin/xdotool", {"keyup", "Super_R", "keyup", "Super_L"});
}

class Application : public ::testing::Test {
 protected:
  Application() {
    VIPS_INIT("application_test");
    m_daemon.setModels({"qwen3.5:4b", "embeddinggemma-2:440m"});
    m_daemon.setReply(R"({"title": "Moorland field notes", "kind": "document"})");
    std::filesystem::create_directories(m_home.path() / "config" / "Brindlemoor");
    // The same vision model on every machine the test runs on.
    settings("visionModel=qwen3.5:4b\n");
  }

  void settings(const std::string& lines) {
    std::ofstream(m_home.path() / "config" / "Brindlemoor" / "Brindlemoor.conf")
        << "[General]\n" << lines;
  }

  std::map<std::string, std::string> environment(const std::string& ollama) const {
    return {{"HOME", m_home.path().string()},
            {"XDG_DATA_HOME", (m_home.path() / "data").string()},
            {"XDG_CONFIG_HOME", (m_home.path() / "config").string()},
            {"OLLAMA_HOST", ollama},
            {"OMP_THREAD_LIMIT", "1"}};
  }

  std::unique_ptr<ChildProcess> start(const std::vector<std::string>& files = {},
                                      std::optional<std::string> ollama = std::nullopt) {
    return std::make_unique<ChildProcess>(BM_APP, files,
                                          environment(ollama.value_or(m_daemon.host())));
  }

  std::vector<Capture> captures() {
    try {
      return LibraryStore(m_home.path() / "data" / "Brindlemoor")
          .captures(100, LibraryFilter::recent());
    } catch (const std::exception&) {
      return {};
    }
  }

  // Whether the island comes to say `words` (in capitals), with what it
  // said last when it doesn't.
  ::testing::AssertionResult islandSays(pid_t app, const std::string& words) {
    std::string text;
    const bool said = eventually([&] {
      for (const std::string& window : windowsOf(app, "Brindlemoor")) {
        text = islandText(window);
        if (text.find(words) != std::string::npos) return true;
      }
      return false;
    });
    if (said) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "the island said: " << text;
  }

  PageDesktop m_desktop;
  ImitationOllama m_daemon;
  TempDir m_home;
};

TEST_F(Application, KeepsTheWindowInFrontWithBothSuperKeysAndTellsOfItOnTheIsland) {
  const auto app = start();
  // Setup was never completed, so its window opens first.
  ASSERT_TRUE(eventually([&] { return !windowsOf(app->pid(), "Set up Brindlemoor").empty(); }));
  TestWindow window("Field notes", {200, 150, 640, 400}, 3);
  ASSERT_TRUE(eventually([&] {
    output("/usr/bin/xdotool", {"windowactivate", "--sync", std::to_string(window.id())});
    return output("/usr/bin/xdotool", {"getactivewindow"}) == std::to_string(window.id()) + "\n";
  }));
  output("/usr/bin/xdotool", {"mousemove", "500", "400"});

  pressBothSuperKeys();
  ASSERT_TRUE(eventually([&] { return captures().size() == 1; }));
  const Capture kept = captures().front();
  EXPECT_EQ(kept.windowTitle, "Field notes");
  EXPECT_EQ(kept.app, "bm-test-window");
  EXPECT_EQ(kept.width, 640);
  EXPECT_EQ(kept.height, 400);
  EXPECT_TRUE(std::filesystem::is_regular_file(m_home.path() / "data" / "Brindlemoor" /
                                               "captures" / (kept.id + ".png")));
  // The first capture of all is a milestone.
  EXPECT_TRUE(islandSays(app->pid(), "YOUR FIRST THING KEPT."));
  ASSERT_TRUE(eventually([&] {
    const auto all = captures();
    return all.size() == 1 && all.front().stage == CaptureStage::organized;
  }, 60s));
  EXPECT_EQ(captures().front().title, "Moorland field notes");

  // A second keep says what it kept, then what the model made of it.
  pressBothSuperKeys();
  // The reading can't tell the middle dot.
  EXPECT_TRUE(islandSays(app->pid(), "THE WINDOW"));
  ASSERT_TRUE(eventually([&] { return captures().size() == 2; }));
  EXPECT_TRUE(islandSays(app->pid(), "MOORLAND FIELD NOTES"));
}

TEST_F(Application, TheLibraryInFrontAndAPressWithoutAWindowAreAnsweredInWords) {
  // Everything ready and setup done: without a tray the library opens.
  settings("visionModel=qwen3.5:4b\nsetupCompleted=true\n");
  const auto app = start();
  std::vector<std::string> library;
  ASSERT_TRUE(eventually([&] {
    library = windowsOf(app->pid(), "Brindlemoor");
    return library.size() == 1;
  }));
  output("/usr/bin/xdotool", {"windowactivate", "--sync", library.front()});

  pressBothSuperKeys();
  EXPECT_TRUE(islandSays(app->pid(), "I KEEP THE OTHERS."));

  output("/usr/bin/xdotool", {"windowclose", library.front()});
  ASSERT_TRUE(eventually([&] { return windowsOf(app->pid(), "Brindlemoor").size() <= 1; }));
  std::this_thread::sleep_for(5s);  // the island of the last press goes
  pressBothSuperKeys();
  EXPECT_TRUE(islandSays(app->pid(), "NO WINDOW TO KEEP HERE."));
  EXPECT_TRUE(captures().empty());
  EXPECT_TRUE(windowsOf(app->pid(), "Set up Brindlemoor").empty());
}

TEST_F(Application, ASecondStartHandsItsFilesToTheFirstAndLeaves) {
  const auto first = start();
  ASSERT_TRUE(eventually([&] { return !windowsOf(first->pid(), "Set up Brindlemoor").empty(); }));
  const TempDir files;
  const Bytes jpeg = testing::encoded(testing::halves(640, 480), ".jpg");
  std::ofstream(files.path() / "moor.jpg", std::ios::binary)
      .write(reinterpret_cast<const char*>(jpeg.data()), static_cast<std::streamsize>(jpeg.size()));
  std::ofstream(files.path() / "notes.txt") << "not a photo";

  const auto second = start({(files.path() / "moor.jpg").string()});
  EXPECT_EQ(second->wait(), 0);
  ASSERT_TRUE(eventually([&] { return captures().size() == 1; }));
  EXPECT_EQ(captures().front().media, CaptureMedia::photo);
  // The first instance opened its library to show it.
  EXPECT_TRUE(eventually([&] { return windowsOf(first->pid(), "Brindlemoor").size() >= 1; }));
}

TEST_F(Application, SetupOpensWhenOllamaIsDownAndNotWhenAllIsReady) {
  settings("visionModel=qwen3.5:4b\nsetupCompleted=true\n");
  {
    const testing::ClosedPort down;
    const auto app = start({}, down.host());
    EXPECT_TRUE(eventually([&] { return !windowsOf(app->pid(), "Set up Brindlemoor").empty(); }));
  }
  // A tray, so that the library needn't open in its stead.
  ChildProcess tray("/usr/bin/trayer", {"--edge", "top", "--align", "right", "--widthtype",
                                        "pixel", "--width", "200", "--heighttype", "pixel",
                                        "--height", "32"},
                    {});
  ASSERT_TRUE(eventually([&] {
    return !output("/usr/bin/xdotool", {"search", "--class", "trayer"}).empty();
  }));
  const auto app = start();
  std::this_thread::sleep_for(4s);
  EXPECT_TRUE(windowsOf(app->pid(), "Set up Brindlemoor").empty());
  EXPECT_TRUE(windowsOf(app->pid(), "Brindlemoor").empty());
  tray.kill();
}

}  // namespace
}  // namespace brindlemoor
