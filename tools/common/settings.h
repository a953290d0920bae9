// Settings reads the user's stored settings, which the application writes:
// one INI file, $XDG_CONFIG_HOME/Brindlemoor/Brindlemoor.conf (by default
// ~/.config/...), group [General]. The headless tools only read it.
#pragma once

#include <filesystem>
#include <istream>
#include <optional>
#include <string>
#include <string_view>

namespace brindlemoor::Settings {

std::filesystem::path file();

// The value of `key` in [General] of the file at `path`, unquoted; nothing
// when the file, the group or the key is missing.
std::optional<std::string> value(const std::filesystem::path& path, std::string_view key);
// The same, of the INI text that `in` gives.
std::optional<std::string> value(std::istream& in, std::string_view key);

// The vision model for this machine's physical memory.
std::string defaultVisionModel();

// The vision model: the user's "visionModel" when set and not empty, else the
// default for this machine's physical memory.
std::string visionModel();

}  // namespace brindlemoor::Settings
