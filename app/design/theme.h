// Theme holds the interface's materials: the colours that follow the
// desktop's light or dark scheme, the fixed colours, the faces and the
// lengths of the three animations. QML reads it as the singleton `Theme`.
//
// Threads: the GUI thread.
#pragma once

#include <QColor>
#include <QObject>
#include <QString>

namespace brindlemoor {

class Theme : public QObject {
  Q_OBJECT
  Q_PROPERTY(bool dark READ dark NOTIFY schemeChanged)
  Q_PROPERTY(QColor ground READ ground NOTIFY schemeChanged)
  Q_PROPERTY(QColor surface READ surface NOTIFY schemeChanged)
  Q_PROPERTY(QColor raised READ raised NOTIFY schemeChanged)
  Q_PROPERTY(QColor well READ well NOTIFY schemeChanged)
  Q_PROPERTY(QColor ink READ ink NOTIFY schemeChanged)
  Q_PROPERTY(QColor ink2 READ ink2 NOTIFY schemeChanged)
  Q_PROPERTY(QColor ink3 READ ink3 NOTIFY schemeChanged)
  Q_PROPERTY(QColor ink4 READ ink4 NOTIFY schemeChanged)
  Q_PROPERTY(QColor hairline READ hairline NOTIFY schemeChanged)
  Q_PROPERTY(QColor wash READ wash NOTIFY schemeChanged)
  Q_PROPERTY(QColor accent READ accent NOTIFY schemeChanged)
  Q_PROPERTY(QColor accentWash READ accentWash NOTIFY schemeChanged)
  Q_PROPERTY(QColor shadow READ shadow NOTIFY schemeChanged)
  Q_PROPERTY(QColor ivory READ ivory CONSTANT)
  Q_PROPERTY(QColor stage READ stage CONSTANT)
  Q_PROPERTY(QColor clay READ clay CONSTANT)
  Q_PROPERTY(QColor oat READ oat CONSTANT)
  Q_PROPERTY(QColor sage READ sage CONSTANT)
  Q_PROPERTY(QColor sky READ sky CONSTANT)
  Q_PROPERTY(QColor yellow READ yellow CONSTANT)
  Q_PROPERTY(QColor pencil READ pencil CONSTANT)
  Q_PROPERTY(QString sans READ sans CONSTANT)
  Q_PROPERTY(QString serif READ serif CONSTANT)
  Q_PROPERTY(QString serifDisplay READ serifDisplay CONSTANT)
  Q_PROPERTY(int spring READ spring CONSTANT)
  Q_PROPERTY(int snappy READ snappy CONSTANT)
  Q_PROPERTY(int fade READ fade CONSTANT)

 public:
  // Dark when the desktop's palette is: its window colour is darker than
  // its text.
  explicit Theme(QObject* parent = nullptr);

  bool dark() const { return m_dark; }
  void setDark(bool dark);

  QColor ground() const { return pick(0xF6F4EE, 0x0D0C0B); }
  QColor surface() const { return pick(0xFCFBF8, 0x161513); }
  QColor raised() const { return pick(0xFFFFFF, 0x1D1B19); }
  QColor well() const { return pick(0xECE9E1, 0x201E1B); }
  QColor ink() const { return pick(0x1A1915, 0xEEE9E0); }
  QColor ink2() const { return pick(0x5E5B53, 0xB3ADA3); }
  QColor ink3() const { return pick(0x8A867B, 0x85807A); }
  QColor ink4() const { return pick(0xA29E93, 0x5E5A55); }
  QColor hairline() const { return pick(0x1A1915, 0xEEE9E0, 0.08); }
  QColor wash() const { return pick(0x1A1915, 0xEEE9E0, 0.05); }
  QColor accent() const { return pick(0xC8643F, 0xE3835C); }
  QColor accentWash() const { return pick(0xC8643F, 0xE3835C, 0.12); }
  QColor shadow() const { return pick(0x1A1915, 0x000000); }

  static QColor ivory() { return QColor(0xFCF6EC); }
  static QColor stage() { return QColor(0x141311); }
  static QColor clay() { return QColor(0xD27A56); }
  static QColor oat() { return QColor(0xE6DCC6); }
  static QColor sage() { return QColor(0x9FAE8E); }
  static QColor sky() { return QColor(0xB7C4D3); }
  static QColor yellow() { return QColor(0xEEC64A); }
  static QColor pencil() { return QColor(0x4A3A16); }

  // Inter from the system; Fraunces as the faces the build made, one for
  // text and one for display sizes.
  static QString sans() { return QStringLiteral("Inter"); }
  static QString serif() { return QStringLiteral("Fraunces Text"); }
  static QString serifDisplay() { return QStringLiteral("Fraunces Display"); }

  // The animations' lengths in milliseconds: a gentle spring, a quick one,
  // and a fade.
  static int spring() { return 420; }
  static int snappy() { return 280; }
  static int fade() { return 220; }

 Q_SIGNALS:
  void schemeChanged();

 protected:
  // Follows a change of the desktop's palette.
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  QColor pick(QRgb light, QRgb dark, double opacity = 1) const;
  bool m_dark = false;
};

namespace Fonts {
// Makes the serif faces known to this process; run once at launch.
void registerAll();
}  // namespace Fonts

}  // namespace brindlemoor
