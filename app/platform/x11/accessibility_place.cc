#include "app/platform/x11/accessibility_place.h"

#include <deque>
#include <utility>
#include <vector>

#include "app/platform/x11/at_spi.h"
#include "core/model/url.h"

namespace brindlemoor::AccessibilityPlace {
namespace {

// A browser's window holds its toolbars, menus and tabs before the page:
// these bound the search for the page's document to a few hundred elements.
constexpr int kMostExamined = 400;
constexpr std::size_t kMostChildren = 40;

bool active(AtspiAccessible* window) {
  const AtSpi::Ref<AtspiStateSet> states(atspi_accessible_get_state_set(window));
  return states && atspi_state_set_contains(states.get(), ATSPI_STATE_ACTIVE);
}

AtSpi::Element focusedWindow(AtspiAccessible* app) {
  std::vector<AtSpi::Element> windows = AtSpi::children(app, kMostChildren);
  for (auto& window : windows) {
    if (active(window.get())) return std::move(window);
  }
  if (windows.size() == 1) return std::move(windows.front());
  return nullptr;
}

// The address of the first web document under `root`, breadth first.
std::optional<std::string> webAreaURL(AtSpi::Element root) {
  std::deque<AtSpi::Element> queue;
  queue.push_back(std::move(root));
  for (int count = 0; !queue.empty() && count < kMostExamined; ++count) {
    const AtSpi::Element element = std::move(queue.front());
    queue.pop_front();
    if (auto address = AtSpi::documentAddress(element.get())) return address;
    for (auto& child : AtSpi::children(element.get(), kMostChildren)) {
      queue.push_back(std::move(child));
    }
  }
  return std::nullopt;
}

}  // namespace

Place read(int pid) {
  const AtSpi::Element app = AtSpi::application(pid);
  if (!app) return {};
  AtSpi::Element window = focusedWindow(app.get());
  if (!window) return {};
  Place place;
  if (std::string title = AtSpi::taken(atspi_accessible_get_name(window.get(), nullptr));
      !title.empty()) {
    place.title = std::move(title);
  }
  place.url = webAreaURL(std::move(window));
  if (place.url) place.documentPath = Url::filePath(*place.url);
  return place;
}

}  // namespace brindlemoor::AccessibilityPlace
