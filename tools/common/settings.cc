#include "tools/common/settings.h"

#include <unistd.h>

#include <cstdlib>
#include <fstream>

#include "core/model/text.h"
#include "core/understanding/models.h"

namespace brindlemoor::Settings {
namespace {

std::int64_t physicalMemoryGiB() {
  const long pages = ::sysconf(_SC_PHYS_PAGES);
  const long pageSize = ::sysconf(_SC_PAGESIZE);
  if (pages <= 0 || pageSize <= 0) return 0;
  return static_cast<std::int64_t>(pages) * pageSize / (std::int64_t{1} << 30);
}

}  // namespace

std::filesystem::path file() {
  const char* configHome = std::getenv("XDG_CONFIG_HOME");
  const std::filesystem::path base =
      configHome && *configHome == '/'
          ? std::filesystem::path(configHome)
          : std::filesystem::path(std::getenv("HOME") ? std::getenv("HOME") : "") / ".config";
  return base / "Brindlemoor" / "Brindlemoor.conf";
}

std::optional<std::string> value(const std::filesystem::path& path, std::string_view key) {
  std::ifstream in(path);
  return value(in, key);
}

std::optional<std::string> value(std::istream& in, std::string_view key) {
  std::string line;
  bool inGeneral = false;
  while (std::getline(in, line)) {
    const std::string trimmed = Text::trimmed(line);
    if (trimmed.starts_with('[')) {
      inGeneral = trimmed == "[General]";
      continue;
    }
    const auto equals = trimmed.find('=');
    if (!inGeneral || equals == std::string::npos) continue;
    if (Text::trimmed(std::string_view(trimmed).substr(0, equals)) != key) continue;
    std::string found = Text::trimmed(std::string_view(trimmed).substr(equals + 1));
    if (found.size() >= 2 && found.front() == '"' && found.back() == '"') {
      found = found.substr(1, found.size() - 2);
    }
    return found;
  }
  return std::nullopt;
}

std::string visionModel() {
  auto chosen = value(file(), "visionModel");
  if (chosen && !chosen->empty()) return *chosen;
  return defaultVisionModel();
}

std::string defaultVisionModel() {
  return Models::vision(physicalMemoryGiB());
}

}  // namespace brindlemoor::Settings
