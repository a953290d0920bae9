#include "tests/testing/x_session.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

namespace brindlemoor::testing {
namespace {

// Click to focus and nothing more: the default configuration binds Super
// chords to menus and dialogs that would become windows of the test.
constexpr const char* kManagerConfig =
    R"(<openbox_config xmlns="http://openbox.org/3.4/rc"><keyboard/><mouse>
 <context name="Frame"><mousebind button="Left" action="Press"><action name="Focus"/><action name="Raise"/></mousebind></context>
 <context name="Client"><mousebind button="Left" action="Press"><action name="Focus"/><action name="Raise"/></mousebind></context>
</mouse></openbox_config>
)";

// Starts `args` with its output thrown away, keeping `keptFd` open in it.
pid_t spawn(std::vector<std::string> args, int keptFd = -1) {
  std::vector<char*> argv;
  for (auto& arg : args) argv.push_back(arg.data());
  argv.push_back(nullptr);
  const pid_t pid = ::fork();
  if (pid < 0) throw std::runtime_error("fork: " + std::string(std::strerror(errno)));
  if (pid == 0) {
    const int devNull = ::open("/dev/null", O_RDWR);
    ::dup2(devNull, STDIN_FILENO);
    ::dup2(devNull, STDOUT_FILENO);
    ::dup2(devNull, STDERR_FILENO);
    if (keptFd >= 0) ::fcntl(keptFd, F_SETFD, 0);
    ::execvp(argv[0], argv.data());
    ::_exit(127);
  }
  return pid;
}

void stop(pid_t& pid) {
  if (pid <= 0) return;
  ::kill(pid, SIGTERM);
  ::waitpid(pid, nullptr, 0);
  pid = -1;
}

using Connection = std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)>;

xcb_atom_t atom(xcb_connection_t* connection, std::string_view name) {
  std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> reply(
      xcb_intern_atom_reply(connection, xcb_intern_atom(connection, 0, name.size(), name.data()),
                            nullptr),
      std::free);
  return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

bool listed(xcb_connection_t* connection, xcb_window_t root, xcb_window_t window) {
  std::unique_ptr<xcb_get_property_reply_t, decltype(&std::free)> list(
      xcb_get_property_reply(
          connection,
          xcb_get_property(connection, 0, root, atom(connection, "_NET_CLIENT_LIST"),
                           XCB_ATOM_WINDOW, 0, 1024),
          nullptr),
      std::free);
  if (!list || list->format != 32) return false;
  const auto* windows = static_cast<const xcb_window_t*>(xcb_get_property_value(list.get()));
  return std::find(windows, windows + xcb_get_property_value_length(list.get()) / 4, window) !=
         windows + xcb_get_property_value_length(list.get()) / 4;
}

// Whether the window manager of `display` manages new windows: a window it
// announces itself with can come before it handles maps, and a window
// mapped in between stays unmanaged for good. So a probe is mapped, and the
// manager is ready once it lists it.
bool managing(const std::string& display) {
  const Connection connection(xcb_connect(display.c_str(), nullptr), xcb_disconnect);
  if (xcb_connection_has_error(connection.get())) return false;
  const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data;
  const xcb_window_t probe = xcb_generate_id(connection.get());
  xcb_create_window(connection.get(), XCB_COPY_FROM_PARENT, probe, screen->root, 0, 0, 1, 1, 0,
                    XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, 0, nullptr);
  xcb_map_window(connection.get(), probe);
  xcb_flush(connection.get());
  bool managed = false;
  for (int i = 0; i < 50 && !managed; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    managed = listed(connection.get(), screen->root, probe);
  }
  xcb_destroy_window(connection.get(), probe);
  xcb_flush(connection.get());
  return managed;
}

}  // namespace

XSession::XSession() {
  if (const char* display = std::getenv("DISPLAY")) m_previousDisplay = display;
  int ready[2];
  if (::pipe2(ready, O_CLOEXEC) != 0) throw std::runtime_error("pipe failed");
  // The server writes its display number to the pipe once it takes
  // connections, choosing a free one itself.
  m_server = spawn({"Xvfb", "-displayfd", std::to_string(ready[1]), "-screen", "0", "1920x1080x24",
                    "-nolisten", "tcp", "-noreset"},
                   ready[1]);
  ::close(ready[1]);
  std::string number;
  pollfd wait{ready[0], POLLIN, 0};
  char c;
  while (::poll(&wait, 1, 10000) > 0 && ::read(ready[0], &c, 1) == 1 && c != '\n') number += c;
  ::close(ready[0]);
  if (number.empty()) {
    stop(m_server);
    throw std::runtime_error("Xvfb did not start");
  }
  m_display = ":" + number;
  ::setenv("DISPLAY", m_display.c_str(), 1);

  const auto config = m_dir.path() / "openbox.xml";
  std::ofstream(config) << kManagerConfig;
  m_manager = spawn({"openbox", "--sm-disable", "--config-file", config.string()});
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!managing(m_display)) {
    if (std::chrono::steady_clock::now() > deadline) {
      shutDown();
      throw std::runtime_error("openbox did not take the screen");
    }
  }
}

XSession::~XSession() {
  shutDown();
}

void XSession::shutDown() {
  // The manager first: a server that goes first leaves it failing on a lost
  // connection.
  stop(m_manager);
  stop(m_server);
  if (m_previousDisplay.empty()) {
    ::unsetenv("DISPLAY");
  } else {
    ::setenv("DISPLAY", m_previousDisplay.c_str(), 1);
  }
}

}  // namespace brindlemoor::testing
