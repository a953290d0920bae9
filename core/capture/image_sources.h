// ImageSources says where to download an image that the pointer rests on.
// Pages often show a scaled-down copy while the full-size file lies at an
// address one can work out; those addresses come first, then the page's own
// as the fallback. Pure, safe from any thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace brindlemoor::ImageSources {

// The addresses to try for the image at `url`, best first; never empty, and
// `url` itself always last. Wikimedia's thumbnails, of the form
// /wikipedia/commons/thumb/a/ab/Fox.jpg/330px-Fox.jpg, are preceded by the
// full file at https://upload.wikimedia.org/wikipedia/commons/a/ab/Fox.jpg;
// no other address is rewritten, and no query is kept or looked at.
std::vector<std::string> candidates(std::string_view url);

}  // namespace brindlemoor::ImageSources
