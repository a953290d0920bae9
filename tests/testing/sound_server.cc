#include "tests/testing/sound_server.h"

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <thread>

namespace brindlemoor::testing {

SoundServer::SoundServer() {
  if (const char* previous = std::getenv("PULSE_SERVER")) m_previous = previous;
  const std::string socket = (m_dir.path() / "native").string();
  std::ofstream(m_dir.path() / "server.pa")
      << "load-module module-native-protocol-unix auth-anonymous=1 socket=" << socket
      << "\nload-module module-null-sink sink_name=nullsink rate=48000"
         "\nset-default-sink nullsink\n";
  // Its home and runtime folders are the test's, so no user's server is found or started.
  const std::string home = m_dir.path().string();
  m_server = std::make_unique<ChildProcess>(
      "/usr/bin/pulseaudio",
      std::vector<std::string>{"-n", "-F", home + "/server.pa", "--daemonize=no",
                               "--exit-idle-time=-1", "--log-target=stderr", "--log-level=error"},
      std::map<std::string, std::string>{{"HOME", home}, {"XDG_RUNTIME_DIR", home}});
  ::setenv("PULSE_SERVER", ("unix:" + socket).c_str(), 1);
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (std::chrono::steady_clock::now() < deadline) {
    ChildProcess info("/usr/bin/pactl", {"info"}, {});
    if (info.wait() == 0) return;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  throw std::runtime_error("the sound server did not answer");
}

SoundServer::~SoundServer() {
  m_server->kill();
  m_server->wait();
  if (m_previous)
    ::setenv("PULSE_SERVER", m_previous->c_str(), 1);
  else
    ::unsetenv("PULSE_SERVER");
}

}  // namespace brindlemoor::testing
