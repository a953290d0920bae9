#include "core/media/page_photo.h"

#include <gtest/gtest.h>
#include <httplib.h>

#include <thread>

#include "tests/testing/pictures.h"
#include "tests/testing/temp_dir.h"

namespace brindlemoor {
namespace {

std::string picture(int width, int height, const char* suffix = ".png") {
  const Bytes bytes = testing::encoded(testing::halves(width, height), suffix);
  return {bytes.begin(), bytes.end()};
}

TEST(PagePhotoCrop, TheCropIsWhatTheImageCoversGrownToWholePixelsWithinThePicture) {
  const Rect window{100, 50, 400, 300};
  EXPECT_EQ(PagePhoto::cropRegion({150, 60, 100, 40}, window, 1, 400, 300),
            (PagePhoto::Region{50, 10, 100, 40}));
  EXPECT_EQ(PagePhoto::cropRegion({150.5, 60.25, 100, 40}, window, 2, 800, 600),
            (PagePhoto::Region{101, 20, 200, 81}));
  EXPECT_EQ(PagePhoto::cropRegion({450, 300, 200, 200}, window, 1, 400, 300),
            (PagePhoto::Region{350, 250, 50, 50}))
      << "cut at the picture's edge";
  EXPECT_FALSE(PagePhoto::cropRegion({600, 60, 50, 50}, window, 1, 400, 300));
}

// A real server on loopback: images of known widths, and the ways to fail to give one.
class PagePhotoTest : public ::testing::Test {
 protected:
  PagePhotoTest() {
    const auto serve = [&](const std::string& path, const std::string& body, const char* type,
                           int status = 200) {
      m_server.Get(path, [=, this](const httplib::Request& request, httplib::Response& response) {
        m_userAgent = request.get_header_value("User-Agent");
        response.status = status;
        response.set_content(body, type);
      });
    };
    const std::string wide = picture(300, 200);
    serve("/wide.png", wide, "image/png");
    serve("/photo", picture(300, 200, ".jpg"), "image/jpeg");
    serve("/narrow.png", picture(99, 60), "image/png");
    serve("/page.png", wide, "text/html");
    serve("/gone.png", wide, "image/png", 404);
    serve("/noise.png", "not a picture at all", "image/png");
    m_server.Get("/moved.png", [](const httplib::Request&, httplib::Response& response) {
      response.set_redirect("/wide.png");
    });
    m_server.Get("/loop.png", [](const httplib::Request&, httplib::Response& response) {
      response.set_redirect("/loop.png");
    });
    // A PNG padded to the most a download may hold, and one byte past it.
    std::string fits = wide;
    fits.resize(PagePhoto::kMostBytes, '\0');
    serve("/fits.png", fits, "image/png");
    serve("/over.png", fits + '\0', "image/png");
    m_port = m_server.bind_to_any_port("127.0.0.1");
    m_thread = std::thread([this] { m_server.listen_after_bind(); });
    while (!m_server.is_running()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  ~PagePhotoTest() override {
    m_server.stop();
    m_thread.join();
  }
  std::string url(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(m_port) + path;
  }

  httplib::Server m_server;
  int m_port = 0;
  std::thread m_thread;
  std::string m_userAgent;
  testing::TempDir m_dir;
};

TEST_F(PagePhotoTest, OnlyAWholeImageAnsweredWith200IsDownloadedAndKeptUnlessTheScreenIsSharper) {
  const auto wide = PagePhoto::download(url("/wide.png"));
  ASSERT_TRUE(wide);
  EXPECT_EQ(wide->width, 300);
  EXPECT_EQ(m_userAgent, "Brindlemoor/0.1 (Linux)");
  EXPECT_EQ(PagePhoto::download(url("/fits.png"))->bytes.size(), PagePhoto::kMostBytes);
  EXPECT_EQ(PagePhoto::download(url("/moved.png"))->width, 300);
  for (const char* path :
       {"/over.png", "/page.png", "/gone.png", "/noise.png", "/nowhere.png", "/loop.png"}) {
    EXPECT_FALSE(PagePhoto::download(url(path))) << path;
  }
  EXPECT_FALSE(PagePhoto::download("http://127.0.0.1:1/closed.png"));

  const vips::VImage crop = testing::halves(200, 100);
  const auto kept = [&](std::vector<std::string> candidates, std::optional<vips::VImage> shown,
                        bool titled = true) {
    const auto path = PagePhoto::file(m_dir.path(), candidates, shown, titled);
    return path ? path->filename().string() : std::string("(none)");
  };
  EXPECT_EQ(kept({url("/gone.png"), url("/wide.png")}, crop), "wide.png")
      << "a failed candidate moves on to the next";
  EXPECT_EQ(kept({url("/photo")}, crop), "photo.jpg") << "no extension: written as a JPEG";
  EXPECT_EQ(kept({url("/narrow.png"), url("/wide.png")}, crop), "image from page.png")
      << "narrower than the screen: the crop, and the search ends";
  EXPECT_EQ(kept({}, crop, false), "image.png");
  EXPECT_EQ(kept({url("/gone.png")}, std::nullopt), "(none)");
  EXPECT_EQ(vips::VImage::new_from_file((m_dir.path() / "image.png").c_str()).width(), 200);
}

}  // namespace
}  // namespace brindlemoor
