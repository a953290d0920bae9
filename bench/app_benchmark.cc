// The application's figures, on a private 1920x1080 desktop with a window
// manager and a tray: `brindlemoor` started as a user starts it, with a
// library of 10,000 captures. From the second Super key's press (XTEST) to
// the capture's row in the library and to the island on the screen; from
// the start to the icon in the tray, and the memory it then holds; and the
// model's reload on the GUI thread. Read the p50 and p95 rows.
#include <benchmark/benchmark.h>
#include <xcb/xtest.h>

#include <QCoreApplication>
#include <chrono>
#include <fstream>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include "app/model/app_model.h"
#include "app/platform/x11/x_connection.h"
#include "bench/one_at_a_time.h"
#include "core/store/library_store.h"
#include "tests/testing/browsing.h"
#include "tests/testing/child_process.h"
#include "tests/testing/sample_captures.h"
#include "tests/testing/temp_dir.h"
#include "tests/testing/test_window.h"

namespace brindlemoor {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr int kCaptures = 10'000;
// Xvfb's map.
constexpr std::uint8_t kSuperL = 133, kSuperR = 134;

void waitFor(const std::function<bool()>& done, const char* what,
             std::chrono::milliseconds step = 1ms) {
  const auto deadline = Clock::now() + 60s;
  while (!done()) {
    if (Clock::now() > deadline) throw std::runtime_error(std::string(what) + " never came");
    std::this_thread::sleep_for(step);
  }
}

// A home whose library holds kCaptures captures, made once.
const std::filesystem::path& home() {
  static testing::TempDir made;
  static const bool filled = [] {
    LibraryStore store(made.path() / "data" / "Brindlemoor");
    // Understood and filed long ago: the pipeline has nothing to do at start.
    for (int n = 0; n < kCaptures; ++n) {
      store.insert(testing::sampleCapture(n, 1'700'000'000.0 + n));
      store.setCollection(testing::sampleID(n), std::nullopt);
    }
    std::filesystem::create_directories(made.path() / "config" / "Brindlemoor");
    std::ofstream(made.path() / "config" / "Brindlemoor" / "Brindlemoor.conf")
        << "[General]\nsetupCompleted=true\n";
    return true;
  }();
  (void)filled;
  return made.path();
}

testing::PageDesktop& desktop() {
  static testing::PageDesktop made;
  return made;
}

std::string windowProperty(XConnection& x, xcb_window_t window, xcb_atom_t property) {
  const auto reply = xReply(xcb_get_property_reply(
      x.get(), xcb_get_property(x.get(), 0, window, property, XCB_ATOM_ANY, 0, 256), nullptr));
  if (!reply) return "";
  return std::string(static_cast<const char*>(xcb_get_property_value(reply.get())),
                     static_cast<std::size_t>(xcb_get_property_value_length(reply.get())));
}

// Every window below `top`, depth first.
void descendants(XConnection& x, xcb_window_t top, std::vector<xcb_window_t>& into) {
  const auto tree = xReply(xcb_query_tree_reply(x.get(), xcb_query_tree(x.get(), top), nullptr));
  if (!tree) return;
  const xcb_window_t* children = xcb_query_tree_children(tree.get());
  for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i) {
    into.push_back(children[i]);
    descendants(x, children[i], into);
  }
}

// The application, started on the desktop, with a tray there to take its
// icon. No Ollama answers: captures wait after their text is read.
struct Running {
  testing::PageDesktop& place = desktop();
  XConnection x;
  std::unique_ptr<testing::ChildProcess> tray;
  std::unique_ptr<testing::ChildProcess> app;
  double startToTray = 0;  // seconds

  Running() {
    tray = std::make_unique<testing::ChildProcess>(
        "/usr/bin/trayer",
        std::vector<std::string>{"--edge", "top", "--align", "right", "--widthtype", "pixel",
                                 "--width", "200", "--heighttype", "pixel", "--height", "32"},
        std::map<std::string, std::string>{});
    waitFor([&] { return trayIcon() == XCB_WINDOW_NONE && trayOwned(); }, "the tray", 10ms);
    start();
  }

  void start() {
    app.reset();
    const auto begun = Clock::now();
    app = std::make_unique<testing::ChildProcess>(
        BM_APP, std::vector<std::string>{},
        std::map<std::string, std::string>{{"HOME", home().string()},
                                           {"XDG_DATA_HOME", (home() / "data").string()},
                                           {"XDG_CONFIG_HOME", (home() / "config").string()},
                                           {"OLLAMA_HOST", "http://127.0.0.1:9"},
                                           {"OMP_THREAD_LIMIT", "1"}});
    waitFor([&] { return trayIcon() != XCB_WINDOW_NONE; }, "the tray icon");
    startToTray = std::chrono::duration<double>(Clock::now() - begun).count();
  }

  bool trayOwned() {
    const xcb_atom_t selection = x.atom("_NET_SYSTEM_TRAY_S0");
    const auto owner = xReply(xcb_get_selection_owner_reply(
        x.get(), xcb_get_selection_owner(x.get(), selection), nullptr));
    return owner && owner->owner != XCB_WINDOW_NONE;
  }

  // Our icon, embedded in the tray.
  xcb_window_t trayIcon() {
    std::vector<xcb_window_t> all;
    descendants(x, x.root(), all);
    for (xcb_window_t window : all) {
      const std::string name = windowProperty(x, window, XCB_ATOM_WM_CLASS);
      if (name.rfind("brindlemoor", 0) != 0) continue;
      const auto tree =
          xReply(xcb_query_tree_reply(x.get(), xcb_query_tree(x.get(), window), nullptr));
      if (tree && tree->parent != x.root()) return window;
    }
    return XCB_WINDOW_NONE;
  }

  std::int64_t rss() const {
    std::ifstream status("/proc/" + std::to_string(app->pid()) + "/status");
    for (std::string line; std::getline(status, line);) {
      if (line.rfind("VmRSS:", 0) == 0) return std::stoll(line.substr(6));
    }
    return 0;
  }
};

Running& running() {
  static Running made;
  return made;
}

void BM_StartToTrayIcon(benchmark::State& state) {
  Running& run = running();
  for (auto _ : state) {
    run.start();
    state.SetIterationTime(run.startToTray);
  }
}
BENCHMARK(BM_StartToTrayIcon)
    ->Apply([](benchmark::internal::Benchmark* b) { bench::oneAtATime(b, 10); })
    ->UseManualTime();

void BM_IdleMemoryInTheTray(benchmark::State& state) {
  Running& run = running();
  for (auto _ : state) std::this_thread::sleep_for(15s);
  state.counters["rss_MB"] = static_cast<double>(run.rss()) / 1024;
}
BENCHMARK(BM_IdleMemoryInTheTray)->Iterations(1)->Unit(benchmark::kSecond);

// A full-screen window in front, and the keys pressed as a keyboard does.
struct Pressing {
  Running& run = running();
  testing::TestWindow front{"Front", {0, 0, 1920, 1080}, 1};
  XConnection keyboard;
  std::unique_ptr<LibraryStore> store = std::make_unique<LibraryStore>(home() / "data" / "Brindlemoor");
  xcb_window_t island = XCB_WINDOW_NONE;

  Pressing() {
    testing::ChildProcess activate("/usr/bin/xdotool",
                                   {"windowactivate", "--sync", std::to_string(front.id())}, {});
    if (activate.wait() != 0) throw std::runtime_error("the window can't be activated");
  }

  void key(std::uint8_t type, std::uint8_t keycode) {
    xcb_test_fake_input(keyboard.get(), type, keycode, XCB_CURRENT_TIME, XCB_WINDOW_NONE, 0, 0, 0);
    xReply(xcb_get_input_focus_reply(keyboard.get(), xcb_get_input_focus(keyboard.get()), nullptr));
  }

  // Presses both keys; the moment of the second.
  Clock::time_point press() {
    key(XCB_KEY_PRESS, kSuperL);
    const auto at = Clock::now();
    key(XCB_KEY_PRESS, kSuperR);
    return at;
  }

  void release() {
    key(XCB_KEY_RELEASE, kSuperR);
    key(XCB_KEY_RELEASE, kSuperL);
  }

  bool islandShown() {
    if (island == XCB_WINDOW_NONE) {
      std::vector<xcb_window_t> all;
      descendants(keyboard, keyboard.root(), all);
      for (xcb_window_t window : all) {
        if (windowProperty(keyboard, window, XCB_ATOM_WM_NAME) != "Brindlemoor") continue;
        const auto geometry = xReply(xcb_get_geometry_reply(
            keyboard.get(), xcb_get_geometry(keyboard.get(), window), nullptr));
        if (geometry && geometry->height < 200 && geometry->height > 1) island = window;
      }
      if (island == XCB_WINDOW_NONE) return false;
    }
    const auto attributes = xReply(xcb_get_window_attributes_reply(
        keyboard.get(), xcb_get_window_attributes(keyboard.get(), island), nullptr));
    return attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
  }
};

Pressing& pressing() {
  static Pressing made;
  return made;
}

void BM_KeyPressToRow(benchmark::State& state) {
  Pressing& desk = pressing();
  for (auto _ : state) {
    const std::int64_t before = desk.store->count();
    const auto start = desk.press();
    waitFor([&] { return desk.store->count() > before; }, "the row");
    state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
    desk.release();
    std::this_thread::sleep_for(300ms);
  }
}
BENCHMARK(BM_KeyPressToRow)
    ->Apply([](benchmark::internal::Benchmark* b) { bench::oneAtATime(b, 60); })
    ->UseManualTime();

void BM_KeyPressToIsland(benchmark::State& state) {
  Pressing& desk = pressing();
  for (auto _ : state) {
    waitFor([&] { return !desk.islandShown(); }, "the island's leaving", 50ms);
    const auto start = desk.press();
    waitFor([&] { return desk.islandShown(); }, "the island");
    state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
    desk.release();
  }
}
BENCHMARK(BM_KeyPressToIsland)
    ->Apply([](benchmark::internal::Benchmark* b) { bench::oneAtATime(b, 20); })
    ->UseManualTime();

// The model's reload of the whole library, as on every change.
void BM_Reload(benchmark::State& state) {
  static int argc = 1;
  static char name[] = "app_benchmark";
  static char* argv[] = {name, nullptr};
  static QCoreApplication application(argc, argv);
  AppModel model(home() / "data" / "Brindlemoor", "http://127.0.0.1:9", "v", nullptr);
  for (auto _ : state) model.reload();
  state.counters["total"] = model.total();
}
BENCHMARK(BM_Reload)->Unit(benchmark::kMillisecond)->MinTime(3);

}  // namespace
}  // namespace brindlemoor

BENCHMARK_MAIN();
