// SetupController is what the setup window shows and does (the singleton
// `Setup` in QML): the state of the five steps, measured again every few
// seconds while the window is open, the download of missing models with its
// progress, and the keys held down for the step that tries them.
//
// Threads: the GUI thread; checks and downloads run on a queue of its own.
#pragma once

#include <QObject>
#include <QTimer>
#include <functional>
#include <optional>

#include "app/platform/x11/held_keys.h"
#include "app/setup/setup_state.h"
#include "core/model/serial_queue.h"
#include "core/understanding/ollama_client.h"

namespace brindlemoor {

class UserSettings;

class SetupController : public QObject {
  Q_OBJECT
  Q_PROPERTY(QString headline READ headline NOTIFY changed)
  Q_PROPERTY(bool checked READ checked NOTIFY changed)
  Q_PROPERTY(bool screenRecording READ screenRecording NOTIFY changed)
  Q_PROPERTY(bool accessibility READ accessibility NOTIFY changed)
  Q_PROPERTY(bool ollamaReady READ ollamaReady NOTIFY changed)
  Q_PROPERTY(bool ollamaRunning READ ollamaRunning NOTIFY changed)
  Q_PROPERTY(QString ollamaDetail READ ollamaDetail NOTIFY changed)
  Q_PROPERTY(QString ollamaAction READ ollamaAction NOTIFY changed)
  Q_PROPERTY(bool modelsReady READ modelsReady NOTIFY changed)
  Q_PROPERTY(QString modelsDetail READ modelsDetail NOTIFY changed)
  Q_PROPERTY(QString pullError READ pullError NOTIFY changed)
  Q_PROPERTY(bool pulling READ pulling NOTIFY changed)
  Q_PROPERTY(bool triedKeys READ triedKeys NOTIFY changed)
  Q_PROPERTY(bool heldLeft READ heldLeft NOTIFY heldChanged)
  Q_PROPERTY(bool heldRight READ heldRight NOTIFY heldChanged)
  Q_PROPERTY(bool allDone READ allDone NOTIFY changed)

 public:
  // How often the steps are measured again while the window is open.
  static constexpr int kRefreshMilliseconds = 2000;

  // `screenCheck` and `accessibilityCheck` measure the desktop; they run on
  // the controller's queue.
  SetupController(const OllamaClient& client, UserSettings& settings,
                  std::function<bool()> screenCheck, std::function<bool()> accessibilityCheck,
                  QObject* parent = nullptr);

  const SetupState& state() const { return m_state; }
  // Measures everything again; `done` runs on the GUI thread with the state.
  void check(std::function<void()> done = {});
  // Measures accessibility alone; `done` runs on the GUI thread with it.
  void checkAccessibility(std::function<void(bool)> done);
  // Measures again every few seconds while `on`.
  void setRefreshing(bool on);

  QString headline() const { return QString::fromStdString(m_state.headline()); }
  bool checked() const { return m_checked; }
  bool screenRecording() const { return m_state.screenRecording; }
  bool accessibility() const { return m_state.accessibility; }
  bool ollamaReady() const { return m_state.ollamaReady(); }
  bool ollamaRunning() const { return m_state.ollamaVersion.has_value(); }
  QString ollamaDetail() const { return QString::fromStdString(m_state.ollamaDetail()); }
  // "Open Ollama" when it can be started here, else "Download", or "Update"
  // for an old version.
  QString ollamaAction() const;
  bool modelsReady() const { return m_state.missingModels.empty(); }
  QString modelsDetail() const;
  QString pullError() const { return m_pullError; }
  bool pulling() const { return m_pulling.has_value(); }
  bool triedKeys() const { return m_triedKeys; }
  bool heldLeft() const { return m_held.left; }
  bool heldRight() const { return m_held.right; }
  bool allDone() const { return m_state.complete(); }

  void setHeld(HeldKeys held);
  void setTriedKeys();

  Q_INVOKABLE void allowAccessibility();
  Q_INVOKABLE void openOllama();
  Q_INVOKABLE void pullModels();
  // The last step: setup is completed for good.
  Q_INVOKABLE void finish();

 Q_SIGNALS:
  void changed();
  void heldChanged();
  void finished();

 private:
  const OllamaClient m_client;
  UserSettings& m_settings;
  const std::function<bool()> m_screenCheck;
  const std::function<bool()> m_accessibilityCheck;
  SetupState m_state;
  bool m_checked = false;
  std::optional<std::string> m_pulling;
  double m_progress = 0;
  QString m_pullError;
  bool m_triedKeys = false;
  HeldKeys m_held;
  QTimer m_refresh;
  SerialQueue m_queue;
};

}  // namespace brindlemoor
