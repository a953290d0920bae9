// Shutter is drawn over what was just kept: four corner brackets that close
// in on its frame, then fade. It takes no input and never takes the focus.
// The window is shaped to the brackets, so it needs no compositing manager
// to leave the kept thing visible between them.
//
// Threads: the GUI thread.
#pragma once

#include <QRasterWindow>
#include <QTimer>
#include <QVariantAnimation>

namespace brindlemoor {

class Shutter : public QRasterWindow {
 public:
  // Brackets stand this far outside the frame when open, and on it closed.
  static constexpr int kInset = 24;

  Shutter();

  // Shows the brackets closing over `frame`, in screen pixels, and hides
  // them again 0.95 seconds later.
  void close(const QRect& frame);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QPainterPath brackets() const;
  void reshape();

  QVariantAnimation m_closing;
  QTimer m_hide;
  double m_inset = 0;
};

}  // namespace brindlemoor
