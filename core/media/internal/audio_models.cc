#include "core/media/internal/audio_models.h"

#include <unicode/locid.h>

#include <algorithm>
#include <string>
#include <system_error>
#include <vector>

#include "core/model/text.h"

namespace brindlemoor::AudioModels {
namespace {

namespace fs = std::filesystem;

std::optional<Model> complete(const fs::path& root, const std::string& tag) {
  const fs::path directory = root / tag;
  Model model{directory / tag, directory / (tag + ".lm.bin"),
              directory / ("cmudict-" + tag + ".dict")};
  std::error_code error;
  if (fs::is_regular_file(model.acoustic / "mdef", error) &&
      fs::is_regular_file(model.language, error) && fs::is_regular_file(model.dictionary, error)) {
    return model;
  }
  return std::nullopt;
}

// The names of the directories under `root` for `language`, alone or with a
// country, by name.
std::vector<std::string> tagsOf(const fs::path& root, const std::string& language) {
  std::vector<std::string> tags;
  std::error_code error;
  for (fs::directory_iterator entry(root, error), end; !error && entry != end;
       entry.increment(error)) {
    const std::string name = entry->path().filename().string();
    if (name == language || name.starts_with(language + "-")) tags.push_back(name);
  }
  std::sort(tags.begin(), tags.end());
  return tags;
}

}  // namespace

std::optional<Model> forLocale(std::string_view locale, const std::filesystem::path& root) {
  const icu::Locale parsed = icu::Locale::createCanonical(std::string(locale).c_str());
  const std::string language = Text::lowercased(parsed.getLanguage());
  if (!language.empty()) {
    const std::string country = Text::lowercased(parsed.getCountry());
    std::vector<std::string> tags;
    if (!country.empty()) tags.push_back(language + "-" + country);
    const std::vector<std::string> others = tagsOf(root, language);
    tags.insert(tags.end(), others.begin(), others.end());
    for (const std::string& tag : tags) {
      if (std::optional<Model> model = complete(root, tag)) return model;
    }
  }
  return complete(root, "en-us");
}

}  // namespace brindlemoor::AudioModels
