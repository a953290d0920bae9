#include "app/platform/x11/at_spi.h"

#include <gio/gio.h>

#include <algorithm>
#include <mutex>

namespace brindlemoor::AtSpi {
namespace {

// Long enough for a busy browser to answer a hit test, short enough that
// the user's gesture isn't kept waiting by one that hangs.
// Switching accessibility on may first start the accessibility bus.
constexpr int kSwitchMilliseconds = 2000;

}  // namespace

bool connected() {
  static std::once_flag once;
  static bool ready = false;
  std::call_once(once, [] {
    ready = atspi_init() <= 1;  // 1: someone else connected first
    atspi_set_timeout(kCallLimit.count(), kCallLimit.count());
  });
  return ready;
}

bool enable() {
  const Ref<GDBusConnection> bus(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
  if (!bus) return false;
  GVariant* reply = g_dbus_connection_call_sync(
      bus.get(), "org.a11y.Bus", "/org/a11y/bus", "org.freedesktop.DBus.Properties", "Set",
      g_variant_new("(ssv)", "org.a11y.Status", "IsEnabled", g_variant_new_boolean(TRUE)), nullptr,
      G_DBUS_CALL_FLAGS_NONE, kSwitchMilliseconds, nullptr, nullptr);
  if (!reply) return false;
  g_variant_unref(reply);
  return true;
}

bool enabled() {
  const Ref<GDBusConnection> bus(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
  if (!bus) return false;
  GVariant* reply = g_dbus_connection_call_sync(
      bus.get(), "org.a11y.Bus", "/org/a11y/bus", "org.freedesktop.DBus.Properties", "Get",
      g_variant_new("(ss)", "org.a11y.Status", "IsEnabled"), G_VARIANT_TYPE("(v)"),
      G_DBUS_CALL_FLAGS_NONE, kSwitchMilliseconds, nullptr, nullptr);
  if (!reply) return false;
  GVariant* value = nullptr;
  g_variant_get(reply, "(v)", &value);
  const bool on = value && g_variant_is_of_type(value, G_VARIANT_TYPE_BOOLEAN) &&
                  g_variant_get_boolean(value);
  if (value) g_variant_unref(value);
  g_variant_unref(reply);
  return on;
}

Element application(int pid) {
  if (!connected()) return nullptr;
  const Element desktop(atspi_get_desktop(0));
  if (!desktop) return nullptr;
  const gint count = atspi_accessible_get_child_count(desktop.get(), nullptr);
  for (gint i = 0; i < count; ++i) {
    Element app(atspi_accessible_get_child_at_index(desktop.get(), i, nullptr));
    if (app && static_cast<int>(atspi_accessible_get_process_id(app.get(), nullptr)) == pid) {
      // Nothing runs a main loop to keep AT-SPI's cache of names and
      // children up to date between reads, so each read starts afresh.
      atspi_accessible_clear_cache(app.get());
      return app;
    }
  }
  return nullptr;
}

std::vector<Element> children(AtspiAccessible* element, std::size_t most) {
  std::vector<Element> result;
  // An application that let one call time out is hung, and asking it for
  // each child would take a time limit each.
  GError* error = nullptr;
  const gint count = atspi_accessible_get_child_count(element, &error);
  for (gint i = 0; !error && i < count && result.size() < most; ++i) {
    if (Element child{atspi_accessible_get_child_at_index(element, i, &error)}) {
      result.push_back(std::move(child));
    }
  }
  if (error) g_error_free(error);
  return result;
}

Element deepestAt(Element window, int x, int y) {
  // A page is never this deep; the bound guards against an application
  // that answers with a cycle.
  constexpr int kMostLevels = 64;
  Element current = std::move(window);
  for (int level = 0; current && level < kMostLevels; ++level) {
    const Ref<AtspiComponent> component(atspi_accessible_get_component_iface(current.get()));
    if (!component) break;
    Element inner(atspi_component_get_accessible_at_point(component.get(), x, y,
                                                          ATSPI_COORD_TYPE_SCREEN, nullptr));
    if (!inner || inner.get() == current.get()) break;
    current = std::move(inner);
  }
  return current;
}

std::vector<Element> ancestors(Element element, std::size_t most) {
  std::vector<Element> line;
  while (element && line.size() < most) {
    Element parent(atspi_accessible_get_parent(element.get(), nullptr));
    const bool window = role(element.get()) == ATSPI_ROLE_FRAME;
    line.push_back(std::move(element));
    if (window) break;
    element = std::move(parent);
  }
  return line;
}

AtspiRole role(AtspiAccessible* element) {
  return atspi_accessible_get_role(element, nullptr);
}

Rect frame(AtspiAccessible* element) {
  const Ref<AtspiComponent> component(atspi_accessible_get_component_iface(element));
  if (!component) return {};
  AtspiRect* extents =
      atspi_component_get_extents(component.get(), ATSPI_COORD_TYPE_SCREEN, nullptr);
  if (!extents) return {};
  // Firefox gives -1 for the size of a box with none.
  const Rect result{static_cast<double>(extents->x), static_cast<double>(extents->y),
                    static_cast<double>(std::max(extents->width, 0)),
                    static_cast<double>(std::max(extents->height, 0))};
  g_free(extents);
  return result;
}

std::map<std::string, std::string> attributes(AtspiAccessible* element) {
  std::map<std::string, std::string> result;
  GHashTable* table = atspi_accessible_get_attributes(element, nullptr);
  if (!table) return result;
  GHashTableIter iterator;
  gpointer key = nullptr;
  gpointer value = nullptr;
  g_hash_table_iter_init(&iterator, table);
  while (g_hash_table_iter_next(&iterator, &key, &value)) {
    result.emplace(static_cast<const char*>(key), static_cast<const char*>(value));
  }
  g_hash_table_unref(table);
  return result;
}

std::optional<std::string> documentAddress(AtspiAccessible* element) {
  if (role(element) != ATSPI_ROLE_DOCUMENT_WEB) return std::nullopt;
  const Ref<AtspiDocument> document(atspi_accessible_get_document_iface(element));
  if (!document) return std::nullopt;
  // Chromium answers no question for one attribute, only for all of them.
  GHashTable* table = atspi_document_get_document_attributes(document.get(), nullptr);
  if (!table) return std::nullopt;
  std::optional<std::string> address;
  for (const char* name : {"DocURL", "URI"}) {
    const auto* value = static_cast<const char*>(g_hash_table_lookup(table, name));
    if (value && *value) {
      address = value;
      break;
    }
  }
  g_hash_table_unref(table);
  return address;
}

std::string taken(gchar* text) {
  if (!text) return "";
  std::string result(text);
  g_free(text);
  return result;
}

}  // namespace brindlemoor::AtSpi
