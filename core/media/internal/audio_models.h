// AudioModels finds the installed PocketSphinx model that serves a locale.
// Pure lookups in the file system; safe from any thread.
//
// A model is a directory named after its language tag in lower case, such as
// "en-us", laid out as the distribution's packages lay it out:
//   en-us/en-us/               the acoustic model (holding "mdef")
//   en-us/en-us.lm.bin         the language model
//   en-us/cmudict-en-us.dict   the pronunciation dictionary
#pragma once

#include <filesystem>
#include <optional>
#include <string_view>

namespace brindlemoor::AudioModels {

// Where the distribution's packages install their models.
inline const std::filesystem::path kInstalled = "/usr/share/pocketsphinx/model";

struct Model {
  std::filesystem::path acoustic;
  std::filesystem::path language;
  std::filesystem::path dictionary;

  bool operator==(const Model&) const = default;
};

// The complete model under `root` for `locale` (an ICU or POSIX locale name
// such as "de_DE.UTF-8" or "pt-BR"): the one of the locale's language and
// country, else one of its language alone or with any country (the first by
// name), else "en-us". Nothing when not even "en-us" is complete there.
std::optional<Model> forLocale(std::string_view locale, const std::filesystem::path& root);

}  // namespace brindlemoor::AudioModels
