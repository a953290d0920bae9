// PictureProvider gives QML the thumbnails of captures, as
// "image://thumbs/<capture id>", decoded once and kept for the life of the
// process: a session shows a few hundred at most, and a kept capture's
// thumbnail never changes. A file that can't be decoded gives an empty
// image and is tried again next time.
//
// Threads: Qt may ask from its image loading threads; the cache is locked.
#pragma once

#include <QImage>
#include <QQuickImageProvider>
#include <filesystem>
#include <functional>
#include <map>
#include <mutex>
#include <string>

namespace brindlemoor {

class PictureProvider : public QQuickImageProvider {
 public:
  // `thumbnailOf` gives the thumbnail file of a capture id; it must be safe
  // to call from any thread.
  explicit PictureProvider(std::function<std::filesystem::path(const std::string&)> thumbnailOf);

  QImage requestImage(const QString& id, QSize* size, const QSize& requestedSize) override;

 private:
  const std::function<std::filesystem::path(const std::string&)> m_thumbnailOf;
  std::mutex m_mutex;
  std::map<std::string, QImage> m_images;  // guarded by m_mutex
};

}  // namespace brindlemoor
