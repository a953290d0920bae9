// A private PulseAudio server for one test, playing into a null sink at
// 48 kHz; PULSE_SERVER names it while it lives and is put back when it goes.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "tests/testing/child_process.h"
#include "tests/testing/temp_dir.h"

namespace brindlemoor::testing {

class SoundServer {
 public:
  // Returns once the server answers; throws std::runtime_error when it doesn't.
  SoundServer();
  ~SoundServer();
  SoundServer(const SoundServer&) = delete;
  SoundServer& operator=(const SoundServer&) = delete;

 private:
  TempDir m_dir;
  std::optional<std::string> m_previous;
  std::unique_ptr<ChildProcess> m_server;
};

}  // namespace brindlemoor::testing
