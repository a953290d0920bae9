// Keeper is what one press of the capture keys does: it stops a recording,
// refuses when the library itself is in front, or keeps what the user
// means (the window, an image under the pointer on a page, a video, which
// it records), and tells the island each outcome in the user's words. It
// also imports photos and videos given as files.
//
// Threads: the GUI thread. The X server, the accessibility bus, the
// pictures' encoding and the store's writes are done on a desktop thread of
// the Keeper's, one press after another; imports on a thread of their own.
#pragma once

#include <QObject>
#include <QRect>
#include <QStringList>
#include <QTimer>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/platform/x11/window_capturer.h"
#include "core/capture/page_target.h"
#include "core/model/serial_queue.h"

namespace brindlemoor {

class AppModel;
class CaptureFeedback;
class VideoRecorder;
class XConnection;

class Keeper : public QObject {
  Q_OBJECT

 public:
  // How long a recording may run.
  static constexpr int kRecordingLimitMilliseconds = 60'000;

  // `libraryInFront` says whether the library window is the active window;
  // `showSetup` opens the setup window, the problem's action when the
  // desktop can't be captured.
  Keeper(AppModel& model, CaptureFeedback& feedback, std::function<bool()> libraryInFront,
         std::function<void()> showSetup, QObject* parent = nullptr);
  ~Keeper() override;

  // One press of the capture keys. Returns at once.
  Q_INVOKABLE void captureNow();
  // Photos and videos among `paths` are imported, one at a time; a batch
  // with none of them is refused with words, a file that can't be read is
  // named when the batch ends.
  void importFiles(const QStringList& paths);

  bool recording() const { return m_recording; }

 Q_SIGNALS:
  // Something was kept from the screen.
  void kept();

 private:
  // On the desktop thread.
  void keepFromScreen();
  void keepWindow(const WindowCapturer::Target& target);
  void keepPagePhoto(const WindowCapturer::Target& target, const PageTarget& page);
  void startRecording(const WindowCapturer::Target& target, const PageTarget& page);
  void stopRecording(const WindowCapturer::Target& target);
  // On the GUI thread.
  void finishRecording();
  void problem(const QString& message, bool openSetup = false);
  void keptFromScreen(const Capture& capture, const QString& heading,
                      const std::optional<QRect>& frame);

  AppModel& m_model;
  CaptureFeedback& m_feedback;
  const std::function<bool()> m_libraryInFront;
  const std::function<void()> m_showSetup;

  // The GUI thread's.
  bool m_recording = false;
  std::optional<WindowCapturer::Target> m_recordingTarget;
  QTimer m_recordingLimit;

  // The desktop thread's; made on first use.
  std::unique_ptr<WindowCapturer> m_capturer;
  std::unique_ptr<XConnection> m_x;
  std::unique_ptr<VideoRecorder> m_recorder;

  // Last, so that their threads end before the rest goes.
  SerialQueue m_imports;
  SerialQueue m_desktop;
};

}  // namespace brindlemoor
