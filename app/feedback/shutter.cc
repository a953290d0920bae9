#include "app/feedback/shutter.h"

#include <QBitmap>
#include <QPainter>
#include <QPainterPath>
#include <QPainterPathStroker>
#include <algorithm>

#include "app/design/theme.h"

namespace brindlemoor {

namespace {

constexpr double kStroke = 3;
constexpr double kShadowWidth = 6;

}  // namespace

Shutter::Shutter() {
  setFlags(Qt::ToolTip | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
           Qt::WindowDoesNotAcceptFocus | Qt::WindowTransparentForInput);
  setTitle(QStringLiteral("Brindlemoor shutter"));
  m_closing.setStartValue(0.0);
  m_closing.setEndValue(static_cast<double>(kInset));
  m_closing.setDuration(320);
  m_closing.setEasingCurve(QEasingCurve::OutBack);
  QObject::connect(&m_closing, &QVariantAnimation::valueChanged, this, [this](const QVariant& v) {
    m_inset = v.toDouble();
    reshape();
  });
  m_hide.setSingleShot(true);
  m_hide.setInterval(950);
  QObject::connect(&m_hide, &QTimer::timeout, this, [this] { hide(); });
}

void Shutter::close(const QRect& frame) {
  setGeometry(frame.adjusted(-kInset, -kInset, kInset, kInset));
  m_inset = 0;
  reshape();
  show();
  raise();
  m_closing.stop();
  m_closing.start();
  m_hide.start();
}

QPainterPath Shutter::brackets() const {
  const double in = kInset + m_inset;
  const QRectF box = QRectF(QPointF(0, 0), QSizeF(size())).adjusted(in, in, -in, -in);
  const double arm = std::min({box.width() / 5, box.height() / 5, 48.0});
  QPainterPath path;
  const auto corner = [&](QPointF at, double dx, double dy) {
    path.moveTo(at + QPointF(0, dy * arm));
    path.lineTo(at);
    path.lineTo(at + QPointF(dx * arm, 0));
  };
  corner(box.topLeft(), 1, 1);
  corner(box.topRight(), -1, 1);
  corner(box.bottomRight(), -1, -1);
  corner(box.bottomLeft(), 1, -1);
  return path;
}

void Shutter::reshape() {
  QPainterPathStroker stroker;
  stroker.setWidth(kShadowWidth);
  stroker.setCapStyle(Qt::RoundCap);
  stroker.setJoinStyle(Qt::RoundJoin);
  QBitmap shape(size());
  shape.fill(Qt::color0);
  QPainter painter(&shape);
  painter.setRenderHint(QPainter::Antialiasing, false);
  painter.fillPath(stroker.createStroke(brackets()).translated(0, 1), Qt::color1);
  painter.end();
  setMask(QRegion(shape));
  update();
}

void Shutter::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.fillRect(QRect(QPoint(0, 0), size()), QColor(0, 0, 0, 90));
  painter.setPen(QPen(Theme::ivory(), kStroke, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  painter.drawPath(brackets());
}

}  // namespace brindlemoor
