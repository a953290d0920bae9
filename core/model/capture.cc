#include "core/model/capture.h"

#include "core/model/url.h"

namespace brindlemoor {

std::string Capture::displayTitle() const {
  if (title && !title->empty()) return *title;
  if (!windowTitle.empty()) return windowTitle;
  return app;
}

std::string Capture::sourceName() const {
  if (url) {
    if (auto host = Url::host(*url)) {
      // Only the leading "www." goes; other subdomains tell sites apart.
      if (host->starts_with("www.")) return host->substr(4);
      return *host;
    }
  }
  if (media != CaptureMedia::screen) return std::string(media.title());
  return app;
}

}  // namespace brindlemoor
