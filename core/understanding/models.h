// Models is the one place that names the models the program expects from
// Ollama, the oldest Ollama it works with, and the rule by which daemon
// versions are compared. Constants and pure functions, safe from any thread.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>
#include <string_view>

namespace brindlemoor::Models {

// The embedding model, the same on every machine.
inline const std::string embedding = "embeddinggemma-2:440m";

// The size of that model's vectors. Nothing in the pipeline enforces it.
inline constexpr int embeddingDimension = 768;

// The oldest daemon the application accepts.
inline const std::string minimumOllama = "0.40.0";

// The download size of each default model, as the setup page shows it.
inline const std::map<std::string, std::string> sizes = {
    {"embeddinggemma-2:440m", "710 MB"},
    {"qwen3.5:4b", "3.4 GB"},
    {"qwen3.5:2b-q4_K_M", "1.9 GB"},
};

// The vision models Settings offers beside those installed, in this order.
inline const std::vector<std::string> offeredVision = {"qwen3.5:4b", "qwen3.5:2b-q4_K_M",
                                                       "gemma4:12b-it-qat", "qwen3.5:9b"};

// The default vision model for a machine with `ramGB` gibibytes of memory:
// the small quantised model below 16, the 4b model from 16 on.
std::string vision(std::int64_t ramGB);

// Whether version `a` is at least `atLeast`. Only the part before the first
// hyphen counts ("0.40.0-rc1" is at least "0.40.0"); the numbers between dots
// are compared in order, a missing one counting as 0 ("0.40" equals
// "0.40.0"), and a piece that is not a decimal integer counting as 0 ("v1.0"
// reads as 0.0). Equal versions give true.
bool isVersion(std::string_view a, std::string_view atLeast);

}  // namespace brindlemoor::Models
