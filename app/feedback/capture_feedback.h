// CaptureFeedback is the one answer to the capture keys: the island, a small
// window at the top of the screen under the pointer that tells what was
// kept, fills in as the pipeline understands it, and takes a note; and the
// shutter drawn over the kept thing. It owns both windows, the island's
// state (read by Island.qml as the singleton `Feedback`), the timer that
// dismisses it, and the two sounds.
//
// The island never takes the focus from the window in front, until the user
// opens its note line.
//
// Threads: the GUI thread.
#pragma once

#include <QDateTime>
#include <QObject>
#include <QPointer>
#include <QQuickWindow>
#include <QRect>
#include <QTimer>
#include <functional>
#include <memory>
#include <optional>

#include "app/feedback/island_rules.h"
#include "app/feedback/shutter.h"
#include "app/platform/x11/sound_player.h"
#include "core/model/capture.h"

class QQmlEngine;

namespace brindlemoor {

class AppModel;
class CaptureFeedback : public QObject {
  Q_OBJECT
  Q_PROPERTY(QString mode READ mode NOTIFY changed)
  Q_PROPERTY(bool visible READ isVisible NOTIFY changed)
  Q_PROPERTY(int revision READ revision NOTIFY changed)
  Q_PROPERTY(QString image READ image NOTIFY changed)
  Q_PROPERTY(QString upper READ upper NOTIFY linesChanged)
  Q_PROPERTY(bool milestone READ milestone NOTIFY linesChanged)
  Q_PROPERTY(QString lower READ lower NOTIFY linesChanged)
  Q_PROPERTY(QString chip READ chip NOTIFY linesChanged)
  Q_PROPERTY(QString problem READ problem NOTIFY changed)
  Q_PROPERTY(QString problemAction READ problemAction NOTIFY changed)
  Q_PROPERTY(QString note READ note WRITE setNote NOTIFY changed)
  Q_PROPERTY(bool hovering READ hovering WRITE setHovering NOTIFY changed)
  Q_PROPERTY(bool editingNote READ editingNote NOTIFY changed)
  Q_PROPERTY(bool noteSaved READ noteSaved NOTIFY changed)
  Q_PROPERTY(double recordingSince READ recordingSince NOTIFY changed)

 public:
  enum class Mode { kept, recording, problem, itself };

  explicit CaptureFeedback(AppModel& model, QObject* parent = nullptr);
  ~CaptureFeedback() override;

  // Makes the island's window from Island.qml; before this, answers are
  // kept in the state but nothing is shown.
  void createWindow(QQmlEngine& engine);
  QQuickWindow* window() const { return m_window; }

  // A window kept: the shutter over `frame`, the sound, and "Kept · the
  // window".
  void showShot(const Capture& capture, const QRect& frame);
  // A capture kept with `heading`; the shutter closes over `frame` if given.
  void showKept(const Capture& capture, const QString& heading,
                const std::optional<QRect>& frame = std::nullopt);
  // A recording runs; `level` reads its sound's level, 0 to 1.
  void showRecording(std::function<float()> level, const QRect& frame);
  void showProblem(const QString& message, const QString& action = {},
                   std::function<void()> perform = {});
  // The library itself is in front: nothing to keep.
  void showSelf();

  void dismiss();

  // --- For the island ---
  QString mode() const;
  bool isVisible() const { return m_visible; }
  int revision() const { return m_revision; }
  QString image() const;
  QString upper() const { return QString::fromStdString(m_lines.upper); }
  bool milestone() const { return m_lines.milestone; }
  QString lower() const { return QString::fromStdString(m_lines.lower); }
  QString chip() const { return QString::fromStdString(m_lines.chip.value_or("")); }
  QString problem() const { return m_problem; }
  QString problemAction() const { return m_problemAction; }
  QString note() const { return m_note; }
  void setNote(const QString& note);
  bool hovering() const { return m_hovering; }
  void setHovering(bool hovering);
  bool editingNote() const { return m_editingNote; }
  bool noteSaved() const { return m_noteSaved; }
  double recordingSince() const { return m_recordingSince; }

  // Opens the note line, and only now lets the island take the focus.
  Q_INVOKABLE void focusNote();
  // Return in the note line: a note with words is saved; the island goes
  // soon after.
  Q_INVOKABLE void saveNote();
  // Escape in the note line: nothing saved, the island goes at once.
  Q_INVOKABLE void cancelNote();
  Q_INVOKABLE void performProblem();
  Q_INVOKABLE float level() const { return m_level ? m_level() : 0.f; }

 Q_SIGNALS:
  void changed();
  void linesChanged();

 private:
  void present(const std::function<void()>& update);
  void scheduleDismiss(double seconds);
  void dismissalDue();
  void place();
  void reshape();
  void refreshLines();
  void setEditingNote(bool editing);
  void play(const char* sound);

  AppModel& m_model;
  QPointer<QQuickWindow> m_window;
  std::unique_ptr<Shutter> m_shutter;
  SoundPlayer m_sounds;
  QTimer m_dismissal;
  QTimer m_leaving;

  Mode m_mode = Mode::kept;
  bool m_visible = false;
  int m_revision = 0;
  std::string m_captureID;
  std::string m_heading;
  std::string m_detail;
  IslandRules::Lines m_lines;
  QString m_problem;
  QString m_problemAction;
  std::function<void()> m_problemPerform;
  QString m_note;
  bool m_hovering = false;
  bool m_editingNote = false;
  bool m_noteSaved = false;
  double m_recordingSince = 0;  // milliseconds since 1970
  std::function<float()> m_level;
};

}  // namespace brindlemoor
