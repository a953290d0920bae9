#include "app/model/user_settings.h"

#include "tools/common/settings.h"

namespace brindlemoor {

UserSettings::UserSettings()
    : m_settings(QString::fromStdString(Settings::file().string()), QSettings::IniFormat) {}

CaptureKeys UserSettings::captureKeys() const {
  return CaptureKeys::fromStored(m_settings.value("captureKeys").toString().toStdString());
}

void UserSettings::setCaptureKeys(CaptureKeys keys) {
  m_settings.setValue("captureKeys", QString::fromUtf8(keys.raw().data(), keys.raw().size()));
  m_settings.sync();
}

QStringList UserSettings::captureKeyCaps() const {
  QStringList caps;
  for (std::string_view cap : captureKeys().caps()) {
    caps.append(QString::fromUtf8(cap.data(), static_cast<int>(cap.size())));
  }
  return caps;
}

QString UserSettings::visionModel() const {
  const QString stored = m_settings.value("visionModel").toString();
  return stored.isEmpty() ? QString::fromStdString(Settings::visionModel()) : stored;
}

void UserSettings::setVisionModel(const QString& name) {
  m_settings.setValue("visionModel", name);
  m_settings.sync();
}

bool UserSettings::setupCompleted() const {
  return m_settings.value("setupCompleted", false).toBool();
}

void UserSettings::setSetupCompleted() {
  m_settings.setValue("setupCompleted", true);
  m_settings.sync();
}

std::optional<QRect> UserSettings::libraryFrame() const {
  const QRect frame = m_settings.value("BrindlemoorLibrary").toRect();
  if (!frame.isValid()) return std::nullopt;
  return frame;
}

void UserSettings::setLibraryFrame(const QRect& frame) {
  m_settings.setValue("BrindlemoorLibrary", frame);
  m_settings.sync();
}

}  // namespace brindlemoor
