// Autostart is "launch at login" on a freedesktop desktop: an entry in
// $XDG_CONFIG_HOME/autostart (by default ~/.config/autostart) that the
// session starts at login.
//
// Threads: any; it touches one file.
#pragma once

#include <filesystem>
#include <string>

#include "core/model/failure.h"

namespace brindlemoor::Autostart {

class Failure : public brindlemoor::Failure {
 public:
  using brindlemoor::Failure::Failure;
};

// The entry's place.
std::filesystem::path entry();

bool enabled();
// Writes the entry starting `executable`, or removes it. Throws Failure,
// saying why, when the folder or the file can't be written.
void set(bool on, const std::filesystem::path& executable);

}  // namespace brindlemoor::Autostart
