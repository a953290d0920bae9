// SoundPlayer plays the program's own short sounds (a keep, the start of a
// recording) through the sound server, at a given volume. Without a sound
// server, or with a sound it can't read, it is silent: a missing sound is
// never a failure.
//
// Threads: play() from any thread; sounds are played one after another on
// the player's own thread, so a call never waits for the server.
#pragma once

#include <string>

#include "core/model/serial_queue.h"

namespace brindlemoor {

class SoundPlayer {
 public:
  // Plays a WAV file's bytes (16-bit PCM) at `volume`, 0 to 1.
  void play(std::string wav, float volume);

 private:
  SerialQueue m_queue;
};

}  // namespace brindlemoor
