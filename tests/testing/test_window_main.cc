// bm-test-window TITLE X Y WIDTH HEIGHT SEED COMPANION: draws patternColour()
// for SEED on every exposure and sets _BM_DRAWN once its pixels are there;
// a COMPANION that isn't empty is run by /bin/sh as a child.
#include <fcntl.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "app/platform/x11/x_connection.h"
#include "tests/testing/test_window.h"

int main(int argc, char** argv) {
  if (argc != 8) return 2;
  if (argv[7][0] != '\0' && ::fork() == 0) {
    // Not on the pipes of whoever waits for the window to end.
    const int nowhere = ::open("/dev/null", O_WRONLY);
    ::dup2(nowhere, STDOUT_FILENO);
    ::dup2(nowhere, STDERR_FILENO);
    ::execl("/bin/sh", "sh", "-c", argv[7], static_cast<char*>(nullptr));
    ::_exit(127);
  }
  const std::string title = argv[1];
  const int x = std::atoi(argv[2]), y = std::atoi(argv[3]);
  const int width = std::atoi(argv[4]), height = std::atoi(argv[5]), seed = std::atoi(argv[6]);
  const brindlemoor::XConnection xc;
  xcb_connection_t* connection = xc.get();
  const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;

  const xcb_window_t window = xcb_generate_id(connection);
  const std::uint32_t values[] = {screen->black_pixel, XCB_EVENT_MASK_EXPOSURE};
  xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, screen->root, x, y, width, height, 0,
                    XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual,
                    XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK, values);
  xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING,
                      8, title.size(), title.data());
  xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, xc.atom("_NET_WM_NAME"),
                      xc.atom("UTF8_STRING"), 8, title.size(), title.data());
  const char kClass[] = "bm-test-window\0BmTestWindow";
  xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING,
                      8, sizeof kClass, kClass);
  // User-given position and size, which the window manager honours.
  std::uint32_t hints[18] = {1 | 2, static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y),
                             static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height)};
  xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_NORMAL_HINTS,
                      XCB_ATOM_WM_SIZE_HINTS, 32, 18, hints);
  const xcb_gcontext_t gc = xcb_generate_id(connection);
  xcb_create_gc(connection, gc, window, 0, nullptr);
  xcb_map_window(connection, window);
  xcb_flush(connection);

  const xcb_atom_t drawn = xc.atom("_BM_DRAWN");
  while (xcb_generic_event_t* event = xcb_wait_for_event(connection)) {
    if ((event->response_type & 0x7f) == XCB_EXPOSE &&
        reinterpret_cast<xcb_expose_event_t*>(event)->count == 0) {
      // One band of rows at a time keeps each request within its limit.
      constexpr int kRows = 16;
      std::vector<std::uint32_t> pixels;
      for (int top = 0; top < height; top += kRows) {
        const int rows = std::min(kRows, height - top);
        pixels.assign(static_cast<std::size_t>(width) * rows, 0);
        for (int row = 0; row < rows; ++row) {
          for (int column = 0; column < width; ++column)
            pixels[static_cast<std::size_t>(row) * width + column] =
                brindlemoor::testing::patternColour(seed, column, top + row);
        }
        xcb_put_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, window, gc, width, rows, 0, top, 0, 24,
                      pixels.size() * 4, reinterpret_cast<const std::uint8_t*>(pixels.data()));
      }
      const std::uint32_t one = 1;
      xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, drawn, XCB_ATOM_CARDINAL, 32,
                          1, &one);
      xcb_flush(connection);
    }
    std::free(event);
  }
  return 0;
}
