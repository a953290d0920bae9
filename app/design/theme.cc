#include "app/design/theme.h"

#include <QEvent>
#include <QGuiApplication>
#include <QPalette>

namespace brindlemoor {

namespace {

bool paletteIsDark() {
  const QPalette palette = QGuiApplication::palette();
  return palette.color(QPalette::Window).lightness() < palette.color(QPalette::WindowText).lightness();
}

}  // namespace

Theme::Theme(QObject* parent) : QObject(parent), m_dark(paletteIsDark()) {
  if (QCoreApplication::instance()) QCoreApplication::instance()->installEventFilter(this);
}

void Theme::setDark(bool dark) {
  if (dark == m_dark) return;
  m_dark = dark;
  Q_EMIT schemeChanged();
}

bool Theme::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::ApplicationPaletteChange) setDark(paletteIsDark());
  return QObject::eventFilter(watched, event);
}

QColor Theme::pick(QRgb light, QRgb dark, double opacity) const {
  QColor colour(m_dark ? dark : light);
  colour.setAlphaF(static_cast<float>(opacity));
  return colour;
}

}  // namespace brindlemoor
