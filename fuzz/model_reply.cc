// A model's reply, whatever its bytes, read as a description and as the
// naming of a collection. Only ParseError may come out, and what is kept must
// keep its bounds.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "core/organizing/collection_namer.h"
#include "core/understanding/describer.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace brindlemoor;
  const std::string_view reply(reinterpret_cast<const char*>(data), size);
  try {
    const CaptureDescription description =
        Describer::parse(reply, "Grind 18 g for a 1:2 ratio at https://larkspur.org/brew",
                         "https://larkspur.org/espresso", "Espresso");
    if (description.title.empty() || description.tags.size() > 5 ||
        description.highlights.size() > 3 || description.links.size() > 6) {
      std::abort();
    }
  } catch (const Describer::ParseError&) {
  }
  const CollectionNamer::Naming naming = CollectionNamer::parse(reply);
  if (naming.name.empty() || naming.emoji.empty()) std::abort();
  return 0;
}
