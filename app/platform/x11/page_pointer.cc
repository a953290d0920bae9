#include "app/platform/x11/page_pointer.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <map>
#include <sstream>
#include <thread>

#include "app/platform/x11/at_spi.h"
#include "app/platform/x11/window_list.h"
#include "core/capture/chromium_browsers.h"
#include "core/capture/page_browsers.h"
#include "core/model/url.h"

namespace brindlemoor::PagePointer {
namespace {

constexpr std::size_t kMostNodes = 10;
// An application's windows looked at for the one under the pointer.
constexpr std::size_t kMostWindows = 40;
// How far above the pointer the page's document is looked for, to resolve
// an image's relative address: pages nest deeper than the chain reaches.
constexpr std::size_t kMostAncestors = 64;
constexpr int kMostReadings = 4;
constexpr auto kBetweenReadings = std::chrono::milliseconds(200);

std::atomic<bool> g_prepared = false;

void prepare() {
  if (!g_prepared) g_prepared = AtSpi::enable();
}

// The role by the names PageTarget decides on. A video is known by its tag
// too: Firefox gives a video element the role of a plain panel. Roles that
// PageTarget has no name for keep AT-SPI's own.
std::string roleName(AtspiAccessible* element,
                     const std::map<std::string, std::string>& attributes) {
  const auto tag = attributes.find("tag");
  if (tag != attributes.end() && tag->second == "video") return "AXVideo";
  switch (AtSpi::role(element)) {
    case ATSPI_ROLE_IMAGE:
      return "AXImage";
    case ATSPI_ROLE_VIDEO:
      return "AXVideo";
    case ATSPI_ROLE_DOCUMENT_WEB:
      return "AXWebArea";
    case ATSPI_ROLE_SCROLL_PANE:
      return "AXScrollArea";
    case ATSPI_ROLE_PANEL:
    case ATSPI_ROLE_FILLER:
    case ATSPI_ROLE_GROUPING:
    case ATSPI_ROLE_SECTION:
      return "AXGroup";
    case ATSPI_ROLE_FRAME:
    case ATSPI_ROLE_WINDOW:
      return "AXWindow";
    case ATSPI_ROLE_INVALID:
      // Chromium's placeholder while the page's tree is still on its way:
      // like the containers, it doesn't show the page yet.
      return "AXGroup";
    default:
      return AtSpi::taken(atspi_accessible_get_role_name(element, nullptr));
  }
}

std::optional<std::string> text(std::string value) {
  if (value.empty()) return std::nullopt;
  return value;
}

// The address an element stands for: an image's source, resolved against
// its document as the page resolves it, or a link's target.
std::optional<std::string> url(AtspiAccessible* element,
                               const std::map<std::string, std::string>& attributes,
                               const std::optional<std::string>& document) {
  const auto source = attributes.find("src");
  if (source != attributes.end() && !source->second.empty()) {
    return Url::resolved(document.value_or(""), source->second);
  }
  if (AtSpi::role(element) != ATSPI_ROLE_LINK) return std::nullopt;
  const AtSpi::Ref<AtspiHyperlink> link(atspi_accessible_get_hyperlink(element));
  if (!link) return std::nullopt;
  return text(AtSpi::taken(atspi_hyperlink_get_uri(link.get(), 0, nullptr)));
}

PointerNode node(AtspiAccessible* element, const std::optional<std::string>& document) {
  const std::map<std::string, std::string> attributes = AtSpi::attributes(element);
  PointerNode node;
  node.role = roleName(element, attributes);
  node.roleDescription = AtSpi::taken(atspi_accessible_get_localized_role_name(element, nullptr));
  node.title = AtSpi::taken(atspi_accessible_get_name(element, nullptr));
  node.description = AtSpi::taken(atspi_accessible_get_description(element, nullptr));
  node.url = url(element, attributes, document);
  node.frame = AtSpi::frame(element);
  if (const auto classes = attributes.find("class"); classes != attributes.end()) {
    std::istringstream words(classes->second);
    for (std::string word; words >> word;) node.domClasses.push_back(word);
  }
  if (const auto id = attributes.find("id"); id != attributes.end())
    node.domIdentifier = id->second;
  return node;
}

bool contains(AtspiAccessible* element, Point point) {
  const AtSpi::Ref<AtspiComponent> component(atspi_accessible_get_component_iface(element));
  return component &&
         atspi_component_contains(component.get(), static_cast<gint>(point.x),
                                  static_cast<gint>(point.y), ATSPI_COORD_TYPE_SCREEN, nullptr);
}

// The deepest element at `point`, in the application's window that holds
// it.
AtSpi::Element deepest(AtspiAccessible* app, Point point) {
  for (auto& window : AtSpi::children(app, kMostWindows)) {
    if (contains(window.get(), point)) {
      return AtSpi::deepestAt(std::move(window), static_cast<int>(point.x),
                              static_cast<int>(point.y));
    }
  }
  return nullptr;
}

// The process whose window is the frontmost under `point`.
std::optional<int> pidAt(const XConnection& x, Point point) {
  for (const WindowEntry& entry : WindowList::frontToBack(x)) {
    if (point.x >= entry.x && point.x < entry.x + entry.width && point.y >= entry.y &&
        point.y < entry.y + entry.height) {
      return entry.pid;
    }
  }
  return std::nullopt;
}

}  // namespace

void startPreparing() {
  prepare();
}

Point pointerLocation(const XConnection& x) {
  const auto pointer =
      xReply(xcb_query_pointer_reply(x.get(), xcb_query_pointer(x.get(), x.root()), nullptr));
  if (!pointer) return {};
  return {static_cast<double>(pointer->root_x), static_cast<double>(pointer->root_y)};
}

std::vector<PointerNode> chain(const XConnection& x, Point point, int pid) {
  if (pidAt(x, point) != pid) return {};
  const AtSpi::Element app = AtSpi::application(pid);
  if (!app) return {};
  const std::vector<AtSpi::Element> line =
      AtSpi::ancestors(deepest(app.get(), point), kMostAncestors);
  std::vector<PointerNode> nodes;
  // Each node's document is the nearest above it that has an address; the
  // nodes below one document share it, so it is asked for once.
  std::optional<std::string> document;
  std::size_t documentAt = 0;  // where `document` was found
  for (std::size_t i = 0; i < line.size() && i < kMostNodes; ++i) {
    if (i == 0 || i > documentAt) {
      document.reset();
      for (documentAt = i; documentAt < line.size(); ++documentAt) {
        if ((document = AtSpi::documentAddress(line[documentAt].get()))) break;
      }
    }
    nodes.push_back(node(line[i].get(), document));
  }
  return nodes;
}

PageTarget target(const XConnection& x) {
  const auto window = WindowList::active(x);
  if (!window) return PageTarget::window();
  const auto className = WindowList::className(x, *window);
  const auto pid = WindowList::pid(x, *window);
  if (!className || !PageBrowsers::contains(*className) || !pid) return PageTarget::window();
  prepare();
  const Point point = pointerLocation(x);
  for (int reading = 1;; ++reading) {
    const auto start = std::chrono::steady_clock::now();
    const std::vector<PointerNode> nodes = chain(x, point, *pid);
    const PageTarget decision = PageTarget::decide(nodes);
    // A chain that reaches the page has been read in full: the window is
    // the answer. One of containers alone is a tree still on its way.
    if (decision.kind() != PageTarget::Kind::window || PageTarget::reachesPage(nodes) ||
        reading == kMostReadings) {
      return decision;
    }
    // Nothing after a call's whole time limit: the browser is hung, and
    // each retry would wait as long again.
    if (nodes.empty() && std::chrono::steady_clock::now() - start >= AtSpi::kCallLimit) {
      return decision;
    }
    std::this_thread::sleep_for(kBetweenReadings);
  }
}

std::optional<std::string> restartAdvice(const XConnection& x) {
  const auto window = WindowList::active(x);
  if (!window) return std::nullopt;
  const auto className = WindowList::className(x, *window);
  const auto pid = WindowList::pid(x, *window);
  if (!className || !ChromiumBrowsers::contains(*className) || !pid || !AtSpi::connected() ||
      AtSpi::application(*pid)) {
    return std::nullopt;
  }
  return "Restart " + *className +
         " to keep images and videos from its pages: it started before accessibility was on.";
}

}  // namespace brindlemoor::PagePointer
