#include "app/platform/x11/window_list.h"

#include <xcb/res.h>

#include <algorithm>
#include <fstream>

namespace brindlemoor::WindowList {
namespace {

std::string processName(int pid) {
  std::string name;
  std::getline(std::ifstream("/proc/" + std::to_string(pid) + "/comm"), name);
  return name;
}

// Window types that are no document of an application: they stand on
// another layer and are never kept.
bool onAnotherLayer(const XConnection& x, xcb_window_t window) {
  const auto types = x.values(window, "_NET_WM_WINDOW_TYPE", XCB_ATOM_ATOM);
  for (const char* type :
       {"_NET_WM_WINDOW_TYPE_DOCK", "_NET_WM_WINDOW_TYPE_DESKTOP",
        "_NET_WM_WINDOW_TYPE_NOTIFICATION", "_NET_WM_WINDOW_TYPE_TOOLBAR",
        "_NET_WM_WINDOW_TYPE_MENU", "_NET_WM_WINDOW_TYPE_SPLASH",
        "_NET_WM_WINDOW_TYPE_DROPDOWN_MENU", "_NET_WM_WINDOW_TYPE_POPUP_MENU",
        "_NET_WM_WINDOW_TYPE_TOOLTIP", "_NET_WM_WINDOW_TYPE_COMBO", "_NET_WM_WINDOW_TYPE_DND"}) {
    if (std::ranges::find(types, x.atom(type)) != types.end()) return true;
  }
  return false;
}

// The client an X-Resource query names (a window, and what is wanted of the
// program behind it), read off the request's own parameter.
template <class Request>
struct AskedClient;
template <class Cookie, class Connection, class Count, class Client>
struct AskedClient<Cookie (*)(Connection, Count, const Client*)> {
  using Type = Client;
};

bool shown(const XConnection& x, xcb_window_t window) {
  const auto attributes = xReply(xcb_get_window_attributes_reply(
      x.get(), xcb_get_window_attributes(x.get(), window), nullptr));
  if (!attributes || attributes->map_state != XCB_MAP_STATE_VIEWABLE) return false;
  const auto states = x.values(window, "_NET_WM_STATE", XCB_ATOM_ATOM);
  return std::ranges::find(states, x.atom("_NET_WM_STATE_HIDDEN")) == states.end();
}

}  // namespace

std::vector<WindowEntry> frontToBack(const XConnection& x) {
  std::vector<WindowEntry> entries;
  const auto stacking = x.values(x.root(), "_NET_CLIENT_LIST_STACKING", XCB_ATOM_WINDOW);
  for (auto window = stacking.rbegin(); window != stacking.rend(); ++window) {
    if (!shown(x, *window)) continue;
    const auto bounds = frame(x, *window);
    if (!bounds) continue;
    WindowEntry entry;
    entry.number = *window;
    entry.pid = pid(x, *window).value_or(0);
    entry.owner = entry.pid > 0 ? processName(entry.pid) : "";
    entry.title = x.text(*window, "_NET_WM_NAME").value_or(x.text(*window, "WM_NAME").value_or(""));
    entry.layer = onAnotherLayer(x, *window) ? 1 : 0;
    entry.x = bounds->x;
    entry.y = bounds->y;
    entry.width = bounds->width;
    entry.height = bounds->height;
    entries.push_back(std::move(entry));
  }
  return entries;
}

std::optional<xcb_window_t> active(const XConnection& x) {
  const auto windows = x.values(x.root(), "_NET_ACTIVE_WINDOW", XCB_ATOM_WINDOW);
  if (windows.empty() || windows.front() == XCB_WINDOW_NONE) return std::nullopt;
  return windows.front();
}

xcb_window_t topLevel(const XConnection& x, xcb_window_t window) {
  for (;;) {
    const auto tree =
        xReply(xcb_query_tree_reply(x.get(), xcb_query_tree(x.get(), window), nullptr));
    if (!tree) return XCB_WINDOW_NONE;
    if (tree->parent == x.root() || tree->parent == XCB_WINDOW_NONE) return window;
    window = tree->parent;
  }
}

std::optional<Rect> frame(const XConnection& x, xcb_window_t window) {
  const auto geometry =
      xReply(xcb_get_geometry_reply(x.get(), xcb_get_geometry(x.get(), window), nullptr));
  const auto place = xReply(xcb_translate_coordinates_reply(
      x.get(), xcb_translate_coordinates(x.get(), window, x.root(), 0, 0), nullptr));
  if (!geometry || !place) return std::nullopt;
  // Left, right, top, bottom: what the manager draws around the client.
  auto extents = x.values(window, "_NET_FRAME_EXTENTS", XCB_ATOM_CARDINAL);
  extents.resize(4, 0);
  return Rect{static_cast<double>(place->dst_x) - extents[0],
              static_cast<double>(place->dst_y) - extents[2],
              static_cast<double>(geometry->width) + extents[0] + extents[1],
              static_cast<double>(geometry->height) + extents[2] + extents[3]};
}

std::optional<int> pid(const XConnection& x, xcb_window_t window) {
  // Only the process id is asked for, so each value given is one.
  const AskedClient<decltype(&xcb_res_query_client_ids)>::Type asked{
      window, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
  const auto ids = xReply(xcb_res_query_client_ids_reply(
      x.get(), xcb_res_query_client_ids(x.get(), 1, &asked), nullptr));
  if (ids) {
    for (auto it = xcb_res_query_client_ids_ids_iterator(ids.get()); it.rem;
         xcb_res_client_id_value_next(&it)) {
      if (xcb_res_client_id_value_value_length(it.data) == 1) {
        return static_cast<int>(*xcb_res_client_id_value_value(it.data));
      }
    }
  }
  const auto pids = x.values(window, "_NET_WM_PID", XCB_ATOM_CARDINAL);
  if (pids.empty()) return std::nullopt;
  return static_cast<int>(pids.front());
}

std::optional<std::string> className(const XConnection& x, xcb_window_t window) {
  // Two strings, each ended by a NUL: the instance, then the class.
  const auto text = x.text(window, "WM_CLASS");
  if (!text) return std::nullopt;
  const auto end = text->find('\0');
  if (end == std::string::npos || end + 1 >= text->size()) return std::nullopt;
  std::string name = text->substr(end + 1);
  if (const auto nul = name.find('\0'); nul != std::string::npos) name.resize(nul);
  return name.empty() ? std::nullopt : std::optional(name);
}

}  // namespace brindlemoor::WindowList
