#include "app/start/tray.h"

#include <QCursor>
#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QScreen>

#include "app/design/theme.h"
#include "app/design/tray_mark.h"

namespace brindlemoor {

Tray::Tray(QQmlEngine& engine, const Theme& theme, QObject* parent)
    : QObject(parent), m_engine(engine) {
  m_icon.setIcon(TrayMark::icon(theme.dark() ? theme.ink() : QColor(0x2B2A26)));
  m_icon.setToolTip(QStringLiteral("Brindlemoor"));
  m_menu.addAction(QStringLiteral("Keep this window"), this, &Tray::keepThisWindow);
  m_menu.addAction(QStringLiteral("Import photos && videos…"), this, &Tray::importFiles);
  m_menu.addSeparator();
  m_menu.addAction(QStringLiteral("Open the library"), this, &Tray::openLibrary);
  m_menu.addAction(QStringLiteral("Settings"), this, &Tray::openSettings);
  m_menu.addSeparator();
  m_menu.addAction(QStringLiteral("Quit Brindlemoor"), this, &Tray::quit);
  m_icon.setContextMenu(&m_menu);
  connect(&m_icon, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason why) {
    if (why == QSystemTrayIcon::Trigger) openPanel();
  });
}

Tray::~Tray() {
  delete m_panel;
}

bool Tray::available() {
  return QSystemTrayIcon::isSystemTrayAvailable();
}

void Tray::show() {
  m_icon.show();
}

void Tray::openPanel() {
  if (!m_panel) {
    QQmlComponent component(&m_engine, QUrl(QStringLiteral("qrc:/qt/qml/Brindlemoor/MenuPanel.qml")));
    m_panel = qobject_cast<QQuickWindow*>(component.create());
    if (!m_panel) {
      qWarning("%s", qPrintable(component.errorString()));
      return;
    }
  }
  QScreen* screen = QGuiApplication::screenAt(QCursor::pos());
  if (!screen) screen = QGuiApplication::primaryScreen();
  const QRect icon = m_icon.geometry();
  QPoint at;
  if (screen) {
    const QRect area = screen->availableGeometry();
    at = icon.isValid() && !icon.isEmpty()
             ? QPoint(icon.center().x() - m_panel->width() / 2, icon.bottom() + 6)
             : QPoint(area.right() - m_panel->width() - 12, area.top() + 6);
    at.setX(std::clamp(at.x(), area.left(), area.right() - m_panel->width()));
    if (at.y() + m_panel->height() > area.bottom()) at.setY(icon.top() - m_panel->height() - 6);
  }
  m_panel->setPosition(at);
  m_panel->show();
  m_panel->raise();
  m_panel->requestActivate();
}

void Tray::closePanel() {
  if (m_panel) m_panel->hide();
}

}  // namespace brindlemoor
