#include "tests/testing/x_session.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <thread>
#include <vector>

#include "app/platform/x11/x_connection.h"

namespace brindlemoor::testing {
namespace {

// Click to focus and nothing more: the default binds chords to menus and dialogs.
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

// The manager announces itself before it handles maps, and a window mapped in
// between stays unmanaged for good: it is ready once it lists a fresh probe.
bool managing() {
  const XConnection x;
  const xcb_window_t probe = xcb_generate_id(x.get());
  xcb_create_window(x.get(), XCB_COPY_FROM_PARENT, probe, x.root(), 0, 0, 1, 1, 0,
                    XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
  xcb_map_window(x.get(), probe);
  xcb_flush(x.get());
  bool managed = false;
  for (int i = 0; i < 50 && !managed; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    managed = std::ranges::count(x.values(x.root(), "_NET_CLIENT_LIST", XCB_ATOM_WINDOW), probe);
  }
  xcb_destroy_window(x.get(), probe);
  xcb_flush(x.get());
  return managed;
}

}  // namespace

XSession::XSession() {
  if (const char* display = std::getenv("DISPLAY")) m_previousDisplay = display;
  int ready[2];
  if (::pipe2(ready, O_CLOEXEC) != 0) throw std::runtime_error("pipe failed");
  // The server picks a free display and writes its number once it listens.
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
  ::setenv("DISPLAY", (":" + number).c_str(), 1);

  const auto config = m_dir.path() / "openbox.xml";
  std::ofstream(config) << kManagerConfig;
  m_manager = spawn({"openbox", "--sm-disable", "--config-file", config.string()});
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!managing()) {
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
  // The manager first, or it fails on a lost connection.
  stop(m_manager);
  stop(m_server);
  if (m_previousDisplay.empty())
    ::unsetenv("DISPLAY");
  else
    ::setenv("DISPLAY", m_previousDisplay.c_str(), 1);
}

}  // namespace brindlemoor::testing
