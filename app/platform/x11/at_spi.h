// AtSpi is what AccessibilityPlace and PagePointer share of the desktop's
// accessibility bus (AT-SPI2): the connection, made once with short time
// limits so that a hung application can't stall a capture, the switch that
// asks applications to expose themselves, and reads of one element that
// give an empty value, never an error, when the element can't be read.
//
// Threads: AT-SPI keeps one connection and its caches for the whole
// process, so every call is made on one thread: the one that runs GLib's
// default main context, when anything runs it.
#pragma once

#include <atspi/atspi.h>

#include <chrono>
#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/capture/rect.h"

namespace brindlemoor::AtSpi {

struct Unref {
  void operator()(void* object) const { g_object_unref(object); }
};
// An AT-SPI object that we hold a reference to.
template <class T>
using Ref = std::unique_ptr<T, Unref>;
using Element = Ref<AtspiAccessible>;

// How long one call may wait for an application.
constexpr std::chrono::milliseconds kCallLimit{250};

// Connects to the accessibility bus the first time, with kCallLimit for
// each call; whether it is there.
bool connected();

// Sets org.a11y.Status.IsEnabled, which Firefox follows while it runs and
// Chromium reads only as it starts. Whether the session bus took it.
bool enable();
// Whether org.a11y.Status.IsEnabled is on: the bus answers and applications
// are asked to expose themselves. May be called from any thread.
bool enabled();

// The application of process `pid` on the accessibility bus; nothing when
// it has none there.
Element application(int pid);

// The first `most` children of `element`; those read before a call failed.
std::vector<Element> children(AtspiAccessible* element, std::size_t most);

// The deepest element at (x, y) on the screen inside `window`, asking one
// level down at a time; `window` itself when nothing inside it is there.
Element deepestAt(Element window, int x, int y);

// `element` and its parents up to its window (a frame), at most `most` of
// them: the application above the window is left out.
std::vector<Element> ancestors(Element element, std::size_t most);

AtspiRole role(AtspiAccessible* element);
// The element's frame in screen points; zero where it can't be read.
Rect frame(AtspiAccessible* element);
// The element's attributes ("tag", "class", "id", "src", ...).
std::map<std::string, std::string> attributes(AtspiAccessible* element);
// The address of a web document (DocURL in Firefox, URI in Chromium);
// nothing for any other element, or a document without one.
std::optional<std::string> documentAddress(AtspiAccessible* element);

// Takes a string that AT-SPI handed over, freeing it; "" for none.
std::string taken(gchar* text);

}  // namespace brindlemoor::AtSpi
