// ChildProcess runs one of our executables as a separate process, as a user
// or another program would, with an environment of the test's choosing, and
// collects what it writes. Tests of whole programs and of crash recovery use
// it; the process is killed if the value goes away while it still runs.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace brindlemoor::testing {

class ChildProcess {
 public:
  // Starts `program` with `args`, in this process's environment changed by
  // `environment` (a variable set to "" is removed). Throws std::runtime_error
  // when it can't start.
  ChildProcess(const std::filesystem::path& program, const std::vector<std::string>& args,
               const std::map<std::string, std::string>& environment);
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  // Waits for the end, reading all it writes; gives its exit code, or 128 +
  // the signal that ended it.
  int wait();
  // Ends it at once with SIGKILL, as a crash or a power cut would.
  void kill();

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
