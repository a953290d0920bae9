#include "tests/testing/child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <stdexcept>

extern char** environ;

namespace brindlemoor::testing {

ChildProcess::ChildProcess(const std::filesystem::path& program,
                           const std::vector<std::string>& args,
                           const std::map<std::string, std::string>& environment) {
  std::vector<std::string> envStrings, argStrings{program.string()};
  for (char** entry = environ; *entry; ++entry) {
    const std::string text(*entry);
    if (!environment.contains(text.substr(0, text.find('=')))) envStrings.push_back(text);
  }
  for (const auto& [name, value] : environment) {
    if (!value.empty()) envStrings.push_back(name + "=" + value);
  }
  argStrings.insert(argStrings.end(), args.begin(), args.end());
  std::vector<char*> envp, argv;
  for (auto& text : envStrings) envp.push_back(text.data());
  for (auto& text : argStrings) argv.push_back(text.data());
  envp.push_back(nullptr);
  argv.push_back(nullptr);

  int out[2], err[2];
  if (::pipe2(out, O_CLOEXEC) != 0 || ::pipe2(err, O_CLOEXEC) != 0) {
    throw std::runtime_error("pipe: " + std::string(std::strerror(errno)));
  }
  m_pid = ::fork();
  if (m_pid < 0) throw std::runtime_error("fork: " + std::string(std::strerror(errno)));
  if (m_pid == 0) {
    ::dup2(out[1], STDOUT_FILENO);
    ::dup2(err[1], STDERR_FILENO);
    const int devNull = ::open("/dev/null", O_RDONLY);
    ::dup2(devNull, STDIN_FILENO);
    ::execve(argv[0], argv.data(), envp.data());
    ::_exit(127);
  }
  ::close(out[1]);
  ::close(err[1]);
  m_outPipe = out[0];
  m_errPipe = err[0];
}

ChildProcess::~ChildProcess() {
  if (m_pid > 0) {
    kill();
    wait();
  }
  if (m_outPipe >= 0) ::close(m_outPipe);
  if (m_errPipe >= 0) ::close(m_errPipe);
}

int ChildProcess::wait() {
  // Both pipes read as they fill, so a child can't block on a full one.
  pollfd fds[2] = {{m_outPipe, POLLIN, 0}, {m_errPipe, POLLIN, 0}};
  std::string* sinks[2] = {&m_out, &m_err};
  int open = 2;
  while (open > 0) {
    if (::poll(fds, 2, -1) < 0) {
      if (errno == EINTR) continue;
      break;
    }
    for (int i = 0; i < 2; ++i) {
      if (fds[i].fd < 0 || !(fds[i].revents & (POLLIN | POLLHUP | POLLERR))) continue;
      char buffer[65536];
      const ssize_t got = ::read(fds[i].fd, buffer, sizeof buffer);
      if (got > 0) {
        sinks[i]->append(buffer, static_cast<std::size_t>(got));
      } else {
        fds[i].fd = -1;
        --open;
      }
    }
  }
  int status = 0;
  if (m_pid > 0) ::waitpid(m_pid, &status, 0);
  m_pid = -1;
  if (WIFSIGNALED(status)) return 128 + WTERMSIG(status);
  return WEXITSTATUS(status);
}

void ChildProcess::kill() {
  if (m_pid > 0) ::kill(m_pid, SIGKILL);
}

}  // namespace brindlemoor::testing
