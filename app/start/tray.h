// Tray is the application's place in the desktop's tray: its icon, the
// panel a click opens (MenuPanel.qml), and a menu of the same rows for trays
// that show only menus.
//
// Threads: the GUI thread.
#pragma once

#include <QMenu>
#include <QObject>
#include <QPointer>
#include <QQuickWindow>
#include <QSystemTrayIcon>

class QQmlEngine;

namespace brindlemoor {

class Theme;

class Tray : public QObject {
  Q_OBJECT

 public:
  Tray(QQmlEngine& engine, const Theme& theme, QObject* parent = nullptr);
  ~Tray() override;

  // Whether the desktop has a tray to show the icon in.
  static bool available();
  void show();
  // Opens the panel under the icon, or at the top right of the screen.
  Q_INVOKABLE void openPanel();
  Q_INVOKABLE void closePanel();
  QQuickWindow* panel() const { return m_panel; }

 Q_SIGNALS:
  void keepThisWindow();
  void importFiles();
  void openLibrary();
  void openSettings();
  void quit();

 private:
  QQmlEngine& m_engine;
  QSystemTrayIcon m_icon;
  QMenu m_menu;
  QPointer<QQuickWindow> m_panel;
};

}  // namespace brindlemoor
