// Application puts the program together and starts it: the fonts, the
// model over the library (whose failure to open ends the program), the
// capture keys heard on the whole desktop, the island, the tray, the
// windows, the minute's wake of the pipeline, and setup's check, which
// opens the setup window when something is missing. QML reads it as the
// singleton `App`: the actions of the menus and windows.
//
// Threads: the GUI thread.
#pragma once

#include <QObject>
#include <QPointer>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QStringList>
#include <QTimer>
#include <memory>

#include "app/design/theme.h"
#include "app/feedback/capture_feedback.h"
#include "app/keeping/keeper.h"
#include "app/model/app_model.h"
#include "app/model/user_settings.h"
#include "app/platform/x11/hotkey_monitor.h"
#include "app/settings/settings_controller.h"
#include "app/setup/setup_controller.h"
#include "app/start/single_instance.h"
#include "app/start/tray.h"

namespace brindlemoor {

class Application : public QObject {
  Q_OBJECT
  Q_PROPERTY(bool setupIncomplete READ setupIncomplete NOTIFY setupChanged)
  Q_PROPERTY(QString setupHeadline READ setupHeadline NOTIFY setupChanged)
  Q_PROPERTY(QStringList keyCaps READ keyCaps NOTIFY keysChanged)

 public:
  // How often the pipeline is woken, in case a retry has fallen due.
  static constexpr int kWorkMilliseconds = 60'000;
  // How often accessibility's switch is looked at until it is on.
  static constexpr int kAccessibilityPollMilliseconds = 1'500;

  Application();
  ~Application() override;

  enum class Started { running, handedOver, failed };
  // Starts everything with the files the program was given (absolute
  // paths). When another instance runs, gives it the files instead. Fails,
  // with the words on standard error and in a dialog, when the library
  // can't be opened.
  Started start(const QStringList& files);

  bool setupIncomplete() const { return !m_setup->state().complete(); }
  QString setupHeadline() const { return m_setup->headline(); }
  QStringList keyCaps() const { return m_settings.captureKeyCaps(); }

  Q_INVOKABLE void captureNow();
  // Runs captureNow once the menu that asked has gone.
  Q_INVOKABLE void captureSoon();
  Q_INVOKABLE void importFiles(const QList<QUrl>& files);
  Q_INVOKABLE void showLibrary();
  Q_INVOKABLE void showSettings();
  Q_INVOKABLE void showSetup();
  Q_INVOKABLE void showImportPanel();
  // Opens the library on `captureID`, from the tray's panel.
  Q_INVOKABLE void openCapture(const QString& captureID);
  Q_INVOKABLE void quit();

 Q_SIGNALS:
  void setupChanged();
  void keysChanged();

 private:
  QQuickWindow* window(QPointer<QQuickWindow>& slot, const char* file);
  void open(const QStringList& files);
  // Looks at accessibility's switch until it is on, and then checks setup
  // again, unless it was on at the first look.
  void watchAccessibility(bool waited);
  void checkSetup(bool showWhenMissing);
  // Shows the setup window, measured again while it is open.
  void openSetup();
  bool libraryInFront() const;

  UserSettings m_settings;
  Theme m_theme;
  std::unique_ptr<AppModel> m_model;
  std::unique_ptr<CaptureFeedback> m_feedback;
  std::unique_ptr<Keeper> m_keeper;
  std::unique_ptr<SetupController> m_setup;
  std::unique_ptr<SettingsController> m_preferences;
  std::unique_ptr<HotkeyMonitor> m_keys;
  SingleInstance m_instance;
  std::unique_ptr<QQmlApplicationEngine> m_engine;
  std::unique_ptr<Tray> m_tray;
  QPointer<QQuickWindow> m_library;
  QPointer<QQuickWindow> m_setupWindow;
  QPointer<QQuickWindow> m_settingsWindow;
  QTimer m_work;
};

}  // namespace brindlemoor
