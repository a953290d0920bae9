#include "app/setup/setup_controller.h"

#include <QDesktopServices>
#include <QProcess>
#include <QStandardPaths>
#include <QUrl>

#include "app/model/user_settings.h"
#include "app/platform/x11/at_spi.h"

namespace brindlemoor {

SetupController::SetupController(const OllamaClient& client, UserSettings& settings,
                                 std::function<bool()> screenCheck,
                                 std::function<bool()> accessibilityCheck, QObject* parent)
    : QObject(parent),
      m_client(client),
      m_settings(settings),
      m_screenCheck(std::move(screenCheck)),
      m_accessibilityCheck(std::move(accessibilityCheck)) {
  m_refresh.setInterval(kRefreshMilliseconds);
  connect(&m_refresh, &QTimer::timeout, this, [this] { check(); });
}

void SetupController::check(std::function<void()> done) {
  const std::string vision = m_settings.visionModel().toStdString();
  m_queue.post([this, vision, done = std::move(done)] {
    SetupState measured =
        SetupState::check(m_client, vision, m_screenCheck(), m_accessibilityCheck());
    QMetaObject::invokeMethod(
        this,
        [this, measured = std::move(measured), done] {
          m_state = measured;
          m_checked = true;
          Q_EMIT changed();
          if (done) done();
        },
        Qt::QueuedConnection);
  });
}

void SetupController::checkAccessibility(std::function<void(bool)> done) {
  m_queue.post([this, done = std::move(done)] {
    const bool on = m_accessibilityCheck();
    QMetaObject::invokeMethod(this, [done, on] { done(on); }, Qt::QueuedConnection);
  });
}

void SetupController::setRefreshing(bool on) {
  if (on) {
    m_refresh.start();
  } else {
    m_refresh.stop();
  }
}

QString SetupController::ollamaAction() const {
  if (ollamaReady()) return {};
  if (!QStandardPaths::findExecutable(QStringLiteral("ollama")).isEmpty()) {
    return QStringLiteral("Open Ollama");
  }
  return m_state.ollamaVersion ? QStringLiteral("Update") : QStringLiteral("Download");
}

QString SetupController::modelsDetail() const {
  return QString::fromStdString(
      m_state.modelsDetail(m_settings.visionModel().toStdString(), m_pulling, m_progress));
}

void SetupController::setHeld(HeldKeys held) {
  if (held == m_held) return;
  m_held = held;
  Q_EMIT heldChanged();
}

void SetupController::setTriedKeys() {
  if (m_triedKeys) return;
  m_triedKeys = true;
  Q_EMIT changed();
}

void SetupController::allowAccessibility() {
  m_queue.post([] { AtSpi::enable(); });
  check();
}

void SetupController::openOllama() {
  const QString ollama = QStandardPaths::findExecutable(QStringLiteral("ollama"));
  if (!ollama.isEmpty()) {
    QProcess::startDetached(ollama, {QStringLiteral("serve")});
  } else {
    QDesktopServices::openUrl(QUrl(QStringLiteral("https://ollama.com/download")));
  }
  QTimer::singleShot(1500, this, [this] { check(); });
}

void SetupController::pullModels() {
  if (m_pulling || !ollamaReady()) return;
  m_pullError.clear();
  const std::vector<std::string> missing = m_state.missingModels;
  if (missing.empty()) return;
  m_pulling = missing.front();
  m_progress = 0;
  Q_EMIT changed();
  m_queue.post([this, missing] {
    for (const std::string& name : missing) {
      QMetaObject::invokeMethod(
          this,
          [this, name] {
            m_pulling = name;
            m_progress = 0;
            Q_EMIT changed();
          },
          Qt::QueuedConnection);
      try {
        m_client.pull(name, [this](std::int64_t completed, std::int64_t total, const std::string&) {
          if (total <= 0) return;
          const double progress = static_cast<double>(completed) / static_cast<double>(total);
          QMetaObject::invokeMethod(
              this,
              [this, progress] {
                m_progress = progress;
                Q_EMIT changed();
              },
              Qt::QueuedConnection);
        });
      } catch (const std::exception& failure) {
        const QString words = QStringLiteral("Couldn't download ") + QString::fromStdString(name) +
                              ": " + QString::fromUtf8(failure.what());
        QMetaObject::invokeMethod(
            this,
            [this, words] {
              m_pullError = words;
              Q_EMIT changed();
            },
            Qt::QueuedConnection);
        break;
      }
    }
    QMetaObject::invokeMethod(
        this,
        [this] {
          m_pulling.reset();
          Q_EMIT changed();
          check();
        },
        Qt::QueuedConnection);
  });
}

void SetupController::finish() {
  m_settings.setSetupCompleted();
  Q_EMIT finished();
}

}  // namespace brindlemoor
