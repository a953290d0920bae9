#include "app/settings/autostart.h"

#include <cstdlib>
#include <fstream>
#include <system_error>

namespace brindlemoor::Autostart {

std::filesystem::path entry() {
  const char* config = std::getenv("XDG_CONFIG_HOME");
  std::filesystem::path folder;
  if (config && std::filesystem::path(config).is_absolute()) {
    folder = config;
  } else {
    const char* home = std::getenv("HOME");
    folder = std::filesystem::path(home ? home : "/") / ".config";
  }
  return folder / "autostart" / "brindlemoor.desktop";
}

bool enabled() {
  std::error_code ignored;
  return std::filesystem::is_regular_file(entry(), ignored);
}

void set(bool on, const std::filesystem::path& executable) {
  const std::filesystem::path file = entry();
  std::error_code error;
  if (!on) {
    std::filesystem::remove(file, error);
    if (error) throw Failure(error.message());
    return;
  }
  std::filesystem::create_directories(file.parent_path(), error);
  if (error) throw Failure(error.message());
  std::ofstream out(file, std::ios::trunc);
  out << "[Desktop Entry]\n"
         "Type=Application\n"
         "Name=Brindlemoor\n"
         "Comment=Keep anything on your screen with both Super keys\n"
         "Exec=\""
      << executable.string()
      << "\"\n"
         "Icon=brindlemoor\n"
         "X-GNOME-Autostart-enabled=true\n";
  out.close();
  if (!out) throw Failure(std::generic_category().message(errno));
}

}  // namespace brindlemoor::Autostart
