#include "app/design/tray_mark.h"

#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

namespace brindlemoor::TrayMark {

namespace {

QPixmap drawn(int side, const QColor& ink) {
  QPixmap pixmap(side, side);
  pixmap.fill(Qt::transparent);
  QPainter painter(&pixmap);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.scale(side / 18.0, side / 18.0);
  // The sun, cut by the horizon.
  QPainterPath sun;
  sun.addEllipse(QPointF(9, 10.5), 5, 5);
  QPainterPath above;
  above.addRect(0, 0, 18, 10);
  painter.fillPath(sun.intersected(above), ink);
  painter.setPen(QPen(ink, 1.6, Qt::SolidLine, Qt::RoundCap));
  painter.drawLine(QPointF(2, 12), QPointF(16, 12));
  painter.drawLine(QPointF(5, 15), QPointF(13, 15));
  return pixmap;
}

}  // namespace

QIcon icon(const QColor& ink) {
  QIcon made;
  for (int side : {18, 22, 24, 32, 36, 48, 64}) made.addPixmap(drawn(side, ink));
  return made;
}

}  // namespace brindlemoor::TrayMark
