#include "app/platform/x11/window_capturer.h"

#include <sys/ipc.h>
#include <sys/shm.h>
#include <xcb/composite.h>
#include <xcb/shm.h>

#include <algorithm>

#include "app/platform/x11/window_list.h"
#include "core/capture/window_choice.h"
#include "core/model/identifier.h"

namespace brindlemoor {
namespace {

using Kind = WindowCapturer::Failure::Kind;

XConnection connected() {
  try {
    return XConnection();
  } catch (const XConnection::Failure& failure) {
    throw WindowCapturer::Failure(Kind::noPermission, failure.what());
  }
}

using Picture = WindowCapturer::Picture;

// Depth 24 and 32 both come as four bytes a pixel, blue first.
void takeBgrx(const std::uint8_t* bgrx, Picture& picture) {
  const std::size_t pixels =
      static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height);
  picture.rgb.resize(pixels * 3);
  for (std::size_t i = 0; i < pixels; ++i) {
    picture.rgb[i * 3] = bgrx[i * 4 + 2];
    picture.rgb[i * 3 + 1] = bgrx[i * 4 + 1];
    picture.rgb[i * 3 + 2] = bgrx[i * 4];
  }
}

// The pixels through a shared memory segment (MIT-SHM): for a full screen
// about a millisecond, where the socket takes several. False when the
// server can't share memory with this process.
bool bySharedMemory(const XConnection& x, xcb_pixmap_t pixmap, std::int16_t left,
                    std::int16_t top, Picture& picture) {
  const std::size_t bytes =
      static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height) * 4;
  const int id = shmget(IPC_PRIVATE, bytes, IPC_CREAT | 0600);
  if (id < 0) return false;
  void* memory = shmat(id, nullptr, SHM_RDONLY);
  shmctl(id, IPC_RMID, nullptr);  // gone once both sides let go
  if (memory == reinterpret_cast<void*>(-1)) return false;
  const xcb_shm_seg_t segment = xcb_generate_id(x.get());
  bool taken = false;
  if (!xReply(xcb_request_check(x.get(), xcb_shm_attach_checked(x.get(), segment,
                                                                static_cast<std::uint32_t>(id),
                                                                1)))) {
    const auto reply = xReply(xcb_shm_get_image_reply(
        x.get(),
        xcb_shm_get_image(x.get(), pixmap, left, top, static_cast<std::uint16_t>(picture.width),
                          static_cast<std::uint16_t>(picture.height), ~0u,
                          XCB_IMAGE_FORMAT_Z_PIXMAP, segment, 0),
        nullptr));
    if (reply && reply->size >= bytes) {
      takeBgrx(static_cast<const std::uint8_t*>(memory), picture);
      taken = true;
    }
    xcb_shm_detach(x.get(), segment);
  }
  shmdt(memory);
  return taken;
}

bool overTheSocket(const XConnection& x, xcb_pixmap_t pixmap, std::int16_t left,
                   std::int16_t top, Picture& picture) {
  const auto image = xReply(xcb_get_image_reply(
      x.get(),
      xcb_get_image(x.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, pixmap, left, top,
                    static_cast<std::uint16_t>(picture.width),
                    static_cast<std::uint16_t>(picture.height), ~0u),
      nullptr));
  const std::size_t pixels =
      static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height);
  if (!image || static_cast<std::size_t>(xcb_get_image_data_length(image.get())) < pixels * 4) {
    return false;
  }
  takeBgrx(xcb_get_image_data(image.get()), picture);
  return true;
}

}  // namespace

WindowCapturer::WindowCapturer() : m_x(connected()) {
  const xcb_query_extension_reply_t* composite =
      xcb_get_extension_data(m_x.get(), &xcb_composite_id);
  const auto version = composite && composite->present
                           ? xReply(xcb_composite_query_version_reply(
                                 m_x.get(), xcb_composite_query_version(m_x.get(), 0, 4), nullptr))
                           : XReply<xcb_composite_query_version_reply_t>(nullptr, &std::free);
  if (!version || (version->major_version == 0 && version->minor_version < 2)) {
    throw Failure(Kind::noPermission,
                  "The X server lacks the Composite extension, which keeping a window needs.");
  }
  xcb_composite_redirect_subwindows(m_x.get(), m_x.root(), XCB_COMPOSITE_REDIRECT_AUTOMATIC);
  xcb_flush(m_x.get());
}

WindowCapturer::Target WindowCapturer::focusedTarget(int ownPID) const {
  const std::vector<WindowEntry> entries = WindowList::frontToBack(m_x);
  // The active window is read from the list when it is there.
  const std::optional<xcb_window_t> active = WindowList::active(m_x);
  const auto listed =
      active ? std::ranges::find(entries, static_cast<std::int64_t>(*active), &WindowEntry::number)
             : entries.end();
  std::optional<int> frontmostPID;
  std::optional<Rect> focusedFrame;
  if (listed != entries.end()) {
    if (listed->pid > 0) frontmostPID = listed->pid;
    focusedFrame = listed->bounds();
  } else if (active) {
    frontmostPID = WindowList::pid(m_x, *active);
    focusedFrame = WindowList::frame(m_x, *active);
  }
  const auto chosen = WindowChoice::pick(entries, frontmostPID, ownPID, focusedFrame);
  if (!chosen) throw Failure(Kind::noWindow, "There is no window to keep.");

  Target target;
  target.window = static_cast<xcb_window_t>(chosen->number);
  target.entry = *chosen;
  target.capture.id = newIdentifier();
  target.capture.createdAt = now();
  target.capture.app = chosen->owner;
  target.capture.bundleID = WindowList::className(m_x, target.window);
  target.capture.windowTitle = chosen->title;
  return target;
}

WindowCapturer::Picture WindowCapturer::shoot(const Target& target) const {
  const xcb_window_t top = WindowList::topLevel(m_x, target.window);
  const auto geometry = xReply(
      xcb_get_geometry_reply(m_x.get(), xcb_get_geometry(m_x.get(), target.window), nullptr));
  const auto offset = xReply(xcb_translate_coordinates_reply(
      m_x.get(), xcb_translate_coordinates(m_x.get(), target.window, top, 0, 0), nullptr));
  if (top == XCB_WINDOW_NONE || !geometry || !offset) {
    throw Failure(Kind::noWindow, "The window has closed.");
  }
  // A client that draws its own shadow says how wide it is: left, right,
  // top, bottom.
  auto shadow = m_x.values(target.window, "_GTK_FRAME_EXTENTS", XCB_ATOM_CARDINAL);
  shadow.resize(4, 0);
  const int width = std::max(0, geometry->width - static_cast<int>(shadow[0] + shadow[1]));
  const int height = std::max(0, geometry->height - static_cast<int>(shadow[2] + shadow[3]));
  if (width == 0 || height == 0) throw Failure(Kind::captureFailed, "The window shows nothing.");

  // Named anew each time: a window that was resized has a new pixmap.
  const xcb_pixmap_t pixmap = xcb_generate_id(m_x.get());
  const xcb_void_cookie_t named = xcb_composite_name_window_pixmap_checked(m_x.get(), top, pixmap);
  if (const auto error = xReply(xcb_request_check(m_x.get(), named))) {
    throw Failure(Kind::captureFailed, "The window's picture can't be had.");
  }
  const auto x = static_cast<std::int16_t>(offset->dst_x + shadow[0]);
  const auto y = static_cast<std::int16_t>(offset->dst_y + shadow[2]);
  Picture picture{width, height, {}};
  const bool shared = bySharedMemory(m_x, pixmap, x, y, picture);
  const bool copied = shared || overTheSocket(m_x, pixmap, x, y, picture);
  xcb_free_pixmap(m_x.get(), pixmap);
  if (!copied) throw Failure(Kind::captureFailed, "The window's picture can't be had.");
  return picture;
}

}  // namespace brindlemoor
