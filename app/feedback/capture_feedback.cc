#include "app/feedback/capture_feedback.h"

#include <QBitmap>
#include <QCursor>
#include <QFile>
#include <QGuiApplication>
#include <QPainter>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QScreen>

#include "app/design/theme.h"
#include "app/model/app_model.h"

namespace brindlemoor {

namespace {

constexpr int kTopMargin = 10;
constexpr float kVolume = 0.5f;

int milliseconds(double seconds) {
  return static_cast<int>(seconds * 1000);
}

}  // namespace

CaptureFeedback::CaptureFeedback(AppModel& model, QObject* parent)
    : QObject(parent), m_model(model) {
  m_dismissal.setSingleShot(true);
  connect(&m_dismissal, &QTimer::timeout, this, &CaptureFeedback::dismissalDue);
  m_leaving.setSingleShot(true);
  m_leaving.setInterval(milliseconds(IslandRules::kLeaving));
  connect(&m_leaving, &QTimer::timeout, this, [this] {
    if (m_visible) return;  // presented again on its way out
    if (m_window) m_window->hide();
    setEditingNote(false);
  });
  connect(&m_model, &AppModel::reloaded, this, &CaptureFeedback::refreshLines);
  connect(&m_model, &AppModel::lastKeptChanged, this, &CaptureFeedback::refreshLines);
}

CaptureFeedback::~CaptureFeedback() {
  delete m_window;
}

void CaptureFeedback::createWindow(QQmlEngine& engine) {
  QQmlComponent component(&engine, QUrl(QStringLiteral("qrc:/qt/qml/Brindlemoor/Island.qml")));
  m_window = qobject_cast<QQuickWindow*>(component.create());
  if (!m_window) {
    qWarning("%s", qPrintable(component.errorString()));
    return;
  }
  connect(m_window, &QWindow::widthChanged, this, &CaptureFeedback::place);
  connect(m_window, &QWindow::heightChanged, this, &CaptureFeedback::reshape);
  connect(m_window, &QWindow::widthChanged, this, &CaptureFeedback::reshape);
}

void CaptureFeedback::showShot(const Capture& capture, const QRect& frame) {
  showKept(capture, QStringLiteral("Kept · the window"), frame);
}

void CaptureFeedback::showKept(const Capture& capture, const QString& heading,
                               const std::optional<QRect>& frame) {
  if (frame) {
    if (!m_shutter) m_shutter = std::make_unique<Shutter>();
    m_shutter->close(*frame);
  }
  play(":/qt/qml/Brindlemoor/resources/sounds/kept.wav");
  present([&] {
    m_mode = Mode::kept;
    m_recordingSince = 0;
    m_level = nullptr;
    m_captureID = capture.id;
    m_heading = heading.toStdString();
    m_detail = capture.windowTitle.empty() ? capture.app : capture.windowTitle;
    m_note.clear();
    m_noteSaved = false;
    setEditingNote(false);
  });
}

void CaptureFeedback::showRecording(std::function<float()> level, const QRect& frame) {
  if (!m_shutter) m_shutter = std::make_unique<Shutter>();
  m_shutter->close(frame);
  play(":/qt/qml/Brindlemoor/resources/sounds/recording.wav");
  present([&] {
    m_mode = Mode::recording;
    m_recordingSince = static_cast<double>(QDateTime::currentMSecsSinceEpoch());
    m_level = std::move(level);
    m_captureID.clear();
    setEditingNote(false);
  });
}

void CaptureFeedback::showProblem(const QString& message, const QString& action,
                                  std::function<void()> perform) {
  present([&] {
    m_mode = Mode::problem;
    m_recordingSince = 0;
    m_level = nullptr;
    m_captureID.clear();
    m_problem = message;
    m_problemAction = action;
    m_problemPerform = std::move(perform);
    setEditingNote(false);
  });
}

void CaptureFeedback::showSelf() {
  present([&] {
    m_mode = Mode::itself;
    m_recordingSince = 0;
    m_level = nullptr;
    m_captureID.clear();
    setEditingNote(false);
  });
}

void CaptureFeedback::present(const std::function<void()>& update) {
  if (!m_visible) {
    update();
    refreshLines();
    Q_EMIT changed();
    if (m_window) {
      place();
      m_window->show();
      m_window->raise();
    }
    // On the next turn, so that the island grows in rather than appears.
    QTimer::singleShot(0, this, [this] {
      m_visible = true;
      Q_EMIT changed();
    });
  } else {
    if (m_window) m_window->raise();
    update();
    ++m_revision;
    refreshLines();
    Q_EMIT changed();
  }
  scheduleDismiss(IslandRules::kShown);
}

void CaptureFeedback::scheduleDismiss(double seconds) {
  m_dismissal.start(milliseconds(seconds));
}

void CaptureFeedback::dismissalDue() {
  switch (IslandRules::afterDismissal(m_mode == Mode::recording, m_hovering, m_editingNote)) {
    case IslandRules::AfterDismissal::stay:
      return;
    case IslandRules::AfterDismissal::holdOn:
      scheduleDismiss(IslandRules::kHeld);
      return;
    case IslandRules::AfterDismissal::leave:
      dismiss();
      return;
  }
}

void CaptureFeedback::dismiss() {
  m_dismissal.stop();
  if (!m_window || !m_visible) return;
  m_visible = false;
  Q_EMIT changed();
  m_leaving.start();
}

void CaptureFeedback::place() {
  if (!m_window) return;
  QScreen* screen = QGuiApplication::screenAt(QCursor::pos());
  if (!screen) screen = QGuiApplication::primaryScreen();
  if (!screen) return;
  const QRect visible = screen->availableGeometry();
  m_window->setPosition(visible.center().x() - m_window->width() / 2, visible.top() + kTopMargin);
}

void CaptureFeedback::reshape() {
  // Shaped to the island's rounded outline: without a compositing manager a
  // window can't be transparent.
  if (!m_window || m_window->width() <= 0 || m_window->height() <= 0) return;
  const int radius = m_editingNote ? 22 : 28;
  QBitmap shape(m_window->size());
  shape.fill(Qt::color0);
  QPainter painter(&shape);
  painter.setBrush(Qt::color1);
  painter.setPen(Qt::NoPen);
  painter.drawRoundedRect(QRect(QPoint(0, 0), m_window->size()), radius, radius);
  painter.end();
  m_window->setMask(QRegion(shape));
}

void CaptureFeedback::refreshLines() {
  IslandRules::Kept kept;
  kept.captureID = m_captureID;
  kept.heading = m_heading;
  kept.detail = m_detail;
  kept.lastKept = m_model.lastKept();
  kept.total = m_model.total();
  if (const std::optional<Capture> newest = m_model.newest()) kept.newestID = newest->id;
  kept.collectionName = [this](const std::string& id) -> std::optional<std::string> {
    if (const auto found = m_model.collection(id)) return found->name;
    return std::nullopt;
  };
  IslandRules::Lines lines = IslandRules::lines(kept);
  if (lines == m_lines) return;
  m_lines = std::move(lines);
  Q_EMIT linesChanged();
}

QString CaptureFeedback::mode() const {
  switch (m_mode) {
    case Mode::kept:
      return QStringLiteral("kept");
    case Mode::recording:
      return QStringLiteral("recording");
    case Mode::problem:
      return QStringLiteral("problem");
    case Mode::itself:
      return QStringLiteral("itself");
  }
  return {};
}

QString CaptureFeedback::image() const {
  if (m_captureID.empty()) return {};
  return QStringLiteral("image://thumbs/") + QString::fromStdString(m_captureID);
}

void CaptureFeedback::setNote(const QString& note) {
  if (note == m_note) return;
  m_note = note;
  Q_EMIT changed();
}

void CaptureFeedback::setHovering(bool hovering) {
  if (hovering == m_hovering) return;
  m_hovering = hovering;
  Q_EMIT changed();
}

void CaptureFeedback::setEditingNote(bool editing) {
  if (editing == m_editingNote) return;
  m_editingNote = editing;
  if (m_window) {
    m_window->setFlag(Qt::WindowDoesNotAcceptFocus, !editing);
    if (editing) m_window->requestActivate();
  }
  reshape();
  Q_EMIT changed();
}

void CaptureFeedback::focusNote() {
  setEditingNote(true);
}

void CaptureFeedback::saveNote() {
  if (!m_captureID.empty() && !m_note.trimmed().isEmpty()) {
    m_model.setNote(m_captureID, m_note.toStdString());
    m_noteSaved = true;
  }
  setEditingNote(false);
  Q_EMIT changed();
  scheduleDismiss(IslandRules::kAfterNote);
}

void CaptureFeedback::cancelNote() {
  setEditingNote(false);
  dismiss();
}

void CaptureFeedback::performProblem() {
  if (m_problemPerform) m_problemPerform();
  dismiss();
}

void CaptureFeedback::play(const char* sound) {
  QFile file(QString::fromLatin1(sound));
  if (!file.open(QIODevice::ReadOnly)) return;
  m_sounds.play(file.readAll().toStdString(), kVolume);
}

}  // namespace brindlemoor
