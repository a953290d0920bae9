// One of our executables run as a separate process, as a user would run it;
// it is killed if the value goes away while it still runs.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace brindlemoor::testing {

class ChildProcess {
 public:
  // This process's environment changed by `environment` (a variable set to
  // "" is removed). Throws std::runtime_error when it can't start.
  ChildProcess(const std::filesystem::path& program, const std::vector<std::string>& args,
               const std::map<std::string, std::string>& environment);
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  // Reads all it writes until it ends; its exit code, or 128 + its signal.
  int wait();
  void kill();  // SIGKILL, as a crash or a power cut

  pid_t pid() const { return m_pid; }
  const std::string& out() const { return m_out; }
  const std::string& err() const { return m_err; }

 private:
  pid_t m_pid = -1;
  int m_outPipe = -1;
  int m_errPipe = -1;
  std::string m_out;
  std::string m_err;
};

}  // namespace brindlemoor::testing
