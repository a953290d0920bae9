// UserSettings holds the handful of choices the user makes, in the INI file
// the headless tools read too ($XDG_CONFIG_HOME/Brindlemoor/Brindlemoor.conf,
// group [General]). Writes reach the file at once, so a tool started next
// sees them.
//
// Threads: the GUI thread.
#pragma once

#include <QSettings>
#include <QRect>
#include <QString>
#include <QStringList>
#include <optional>

#include "core/capture/capture_keys.h"

namespace brindlemoor {

class UserSettings {
 public:
  UserSettings();

  CaptureKeys captureKeys() const;
  void setCaptureKeys(CaptureKeys keys);
  // The key caps of the chosen keys, one string a cap.
  QStringList captureKeyCaps() const;

  // The stored vision model, else the default for this machine's memory.
  QString visionModel() const;
  void setVisionModel(const QString& name);

  bool setupCompleted() const;
  void setSetupCompleted();  // only ever set, never cleared

  // Where the library window stood when it last closed; nothing before.
  std::optional<QRect> libraryFrame() const;
  void setLibraryFrame(const QRect& frame);

 private:
  mutable QSettings m_settings;
};

}  // namespace brindlemoor
