#include "app/model/picture_provider.h"

namespace brindlemoor {

PictureProvider::PictureProvider(
    std::function<std::filesystem::path(const std::string&)> thumbnailOf)
    : QQuickImageProvider(QQuickImageProvider::Image), m_thumbnailOf(std::move(thumbnailOf)) {}

QImage PictureProvider::requestImage(const QString& id, QSize* size, const QSize& requestedSize) {
  const std::string key = id.toStdString();
  QImage image;
  {
    std::lock_guard lock(m_mutex);
    if (const auto found = m_images.find(key); found != m_images.end()) image = found->second;
  }
  if (image.isNull()) {
    image.load(QString::fromStdString(m_thumbnailOf(key).string()));
    if (!image.isNull()) {
      std::lock_guard lock(m_mutex);
      m_images.emplace(key, image);
    }
  }
  if (size) *size = image.size();
  if (requestedSize.isValid() && !image.isNull()) {
    return image.scaled(requestedSize, Qt::KeepAspectRatioByExpanding, Qt::SmoothTransformation);
  }
  return image;
}

}  // namespace brindlemoor
