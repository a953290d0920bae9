#include "app/start/application.h"

#include <unistd.h>

#include <QApplication>
#include <QFileInfo>
#include <QMessageBox>
#include <QQmlComponent>
#include <QQmlContext>
#include <QScreen>
#include <iostream>

#include "app/design/theme.h"
#include "app/model/picture_provider.h"
#include "app/platform/x11/at_spi.h"
#include "app/platform/x11/page_pointer.h"
#include "app/platform/x11/window_capturer.h"
#include "core/library/local_media_work.h"
#include "core/store/library_store.h"

namespace brindlemoor {

namespace {

// The MCP server beside this program once installed; in a build tree, where
// the build put it.
std::filesystem::path mcpServer() {
  const std::filesystem::path beside =
      std::filesystem::path(QCoreApplication::applicationDirPath().toStdString()) /
      "brindlemoor-mcp";
  std::error_code ignored;
  if (std::filesystem::exists(beside, ignored)) return beside;
  return BM_MCP_SERVER;
}

bool screenCanBeCaptured() {
  try {
    WindowCapturer capturer;
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

}  // namespace

Application::Application() {
  connect(&m_instance, &SingleInstance::opened, this, &Application::open);
}

Application::~Application() {
  if (m_keys) m_keys->stop();
  // The windows go before the engine whose components they are.
  delete m_library;
  delete m_setupWindow;
  delete m_settingsWindow;
  if (m_feedback) delete m_feedback->window();
  m_tray.reset();
}

Application::Started Application::start(const QStringList& files) {
  if (!m_instance.claim()) {
    if (SingleInstance::handOver(files)) return Started::handedOver;
    // The holder may have just ended and let go of the name.
    if (!m_instance.claim()) {
      std::cerr << "Brindlemoor is running but does not answer.\n";
      return Started::failed;
    }
  }
  Fonts::registerAll();

  std::filesystem::path root;
  try {
    root = LibraryStore::defaultRoot();
    m_model = std::make_unique<AppModel>(root, OllamaClient::defaultHost(),
                                         m_settings.visionModel().toStdString(),
                                         std::make_unique<LocalMediaWork>());
  } catch (const std::exception& failure) {
    const QString words = QStringLiteral("Brindlemoor cannot open its library at ") +
                          QString::fromStdString(root.string()) + ": " +
                          QString::fromUtf8(failure.what());
    std::cerr << words.toStdString() << "\n";
    QMessageBox::critical(nullptr, QStringLiteral("Brindlemoor"), words);
    return Started::failed;
  }

  m_feedback = std::make_unique<CaptureFeedback>(*m_model);
  m_keeper = std::make_unique<Keeper>(
      *m_model, *m_feedback, [this] { return libraryInFront(); }, [this] { showSetup(); });
  m_setup = std::make_unique<SetupController>(
      OllamaClient(), m_settings, screenCanBeCaptured, [] { return AtSpi::enabled(); });
  connect(m_setup.get(), &SetupController::changed, this, &Application::setupChanged);
  connect(m_setup.get(), &SetupController::finished, this, [this] {
    if (m_setupWindow) m_setupWindow->close();
    showLibrary();
  });
  connect(m_keeper.get(), &Keeper::kept, m_setup.get(), &SetupController::setTriedKeys);
  m_preferences = std::make_unique<SettingsController>(
      m_settings, OllamaClient(), root, mcpServer(),
      QCoreApplication::applicationFilePath().toStdString(),
      [this] {
        if (m_keys) m_keys->setKeys(m_settings.captureKeys());
        Q_EMIT keysChanged();
      },
      [this](const QString& name) { m_model->setVisionModel(name); });

  m_engine = std::make_unique<QQmlApplicationEngine>();
  m_engine->addImportPath(QStringLiteral("qrc:/qt/qml"));
  m_engine->addImageProvider(
      QStringLiteral("thumbs"),
      new PictureProvider([store = &m_model->store()](const std::string& id) {
        return store->thumbURL(id);
      }));
  qmlRegisterSingletonInstance("Brindlemoor", 1, 0, "App", this);
  qmlRegisterSingletonInstance("Brindlemoor", 1, 0, "Model", m_model.get());
  qmlRegisterSingletonInstance("Brindlemoor", 1, 0, "Theme", &m_theme);
  qmlRegisterSingletonInstance("Brindlemoor", 1, 0, "Feedback", m_feedback.get());
  qmlRegisterSingletonInstance("Brindlemoor", 1, 0, "Setup", m_setup.get());
  qmlRegisterSingletonInstance("Brindlemoor", 1, 0, "Preferences", m_preferences.get());
  qmlRegisterUncreatableType<CaptureList>("Brindlemoor", 1, 0, "CaptureList",
                                          QStringLiteral("made by the model"));
  m_feedback->createWindow(*m_engine);

  m_keys = std::make_unique<HotkeyMonitor>(
      m_settings.captureKeys(),
      [this] { QMetaObject::invokeMethod(m_keeper.get(), &Keeper::captureNow, Qt::QueuedConnection); },
      [this](HeldKeys held) {
        QMetaObject::invokeMethod(
            m_setup.get(), [this, held] { m_setup->setHeld(held); }, Qt::QueuedConnection);
      });
  try {
    m_keys->start();
  } catch (const std::exception& failure) {
    std::cerr << "Brindlemoor can't hear the capture keys: " << failure.what() << "\n";
  }
  PagePointer::startPreparing();

  m_model->start();
  m_work.setInterval(kWorkMilliseconds);
  connect(&m_work, &QTimer::timeout, this, [this] { m_model->startWork(); });
  m_work.start();

  m_tray = std::make_unique<Tray>(*m_engine, m_theme);
  connect(m_tray.get(), &Tray::keepThisWindow, this, &Application::captureSoon);
  connect(m_tray.get(), &Tray::importFiles, this, &Application::showImportPanel);
  connect(m_tray.get(), &Tray::openLibrary, this, &Application::showLibrary);
  connect(m_tray.get(), &Tray::openSettings, this, &Application::showSettings);
  connect(m_tray.get(), &Tray::quit, this, &Application::quit);
  qmlRegisterSingletonInstance("Brindlemoor", 1, 0, "TrayPanel", m_tray.get());
  if (Tray::available()) {
    m_tray->show();
  } else {
    showLibrary();
  }

  watchAccessibility(false);
  checkSetup(true);
  if (!files.isEmpty()) open(files);
  return Started::running;
}

void Application::checkSetup(bool showWhenMissing) {
  m_setup->check([this, showWhenMissing] {
    if (showWhenMissing && (!m_setup->state().complete() || !m_settings.setupCompleted())) {
      openSetup();
    }
  });
}

void Application::watchAccessibility(bool waited) {
  // The keys need no grant on X11; accessibility only lets pages be read.
  // Only the switch is looked at until it is on; then setup's state anew.
  m_setup->checkAccessibility([this, waited](bool on) {
    if (!on) {
      QTimer::singleShot(kAccessibilityPollMilliseconds, this, [this] { watchAccessibility(true); });
    } else if (waited) {
      checkSetup(false);
    }
  });
}

bool Application::libraryInFront() const {
  return m_library && m_library->isVisible() && m_library->isActive();
}

QQuickWindow* Application::window(QPointer<QQuickWindow>& slot, const char* file) {
  if (!slot) {
    QQmlComponent component(m_engine.get(),
                            QUrl(QStringLiteral("qrc:/qt/qml/Brindlemoor/") + QLatin1String(file)));
    slot = qobject_cast<QQuickWindow*>(component.create());
    if (!slot) {
      qWarning("%s", qPrintable(component.errorString()));
      return nullptr;
    }
  }
  slot->show();
  slot->raise();
  slot->requestActivate();
  return slot;
}

void Application::captureNow() {
  m_keeper->captureNow();
}

void Application::captureSoon() {
  if (m_tray) m_tray->closePanel();
  // The menu's window goes first, so that the window behind it is in front.
  QTimer::singleShot(350, this, &Application::captureNow);
}

void Application::importFiles(const QList<QUrl>& files) {
  QStringList paths;
  for (const QUrl& url : files) paths.append(url.toLocalFile());
  m_keeper->importFiles(paths);
}

void Application::open(const QStringList& files) {
  if (!files.isEmpty()) m_keeper->importFiles(files);
  showLibrary();
}

void Application::showLibrary() {
  const bool made = !m_library;
  QQuickWindow* shown = window(m_library, "LibraryWindow.qml");
  if (!made || !shown) return;
  // Where the user left it, else in the middle of the screen.
  if (const std::optional<QRect> frame = m_settings.libraryFrame()) {
    shown->setGeometry(*frame);
  } else if (const QScreen* screen = shown->screen()) {
    const QRect area = screen->availableGeometry();
    shown->setPosition(area.center() - QPoint(shown->width() / 2, shown->height() / 2));
  }
  connect(shown, &QWindow::visibleChanged, this, [this, shown](bool visible) {
    if (!visible) m_settings.setLibraryFrame(shown->geometry());
  });
}

void Application::showSettings() {
  m_preferences->refresh();
  window(m_settingsWindow, "SettingsWindow.qml");
}

void Application::showSetup() {
  openSetup();
  m_setup->check();
}

void Application::openSetup() {
  if (QQuickWindow* shown = window(m_setupWindow, "SetupWindow.qml")) {
    m_setup->setRefreshing(true);
    connect(shown, &QWindow::visibleChanged, m_setup.get(), &SetupController::setRefreshing,
            Qt::UniqueConnection);
  }
}

void Application::showImportPanel() {
  if (m_tray) m_tray->closePanel();
  QPointer<QQuickWindow> panel;
  if (QQuickWindow* shown = window(panel, "ImportPanel.qml")) {
    // Made afresh each time, and gone once answered either way.
    connect(shown, &QWindow::visibleChanged, shown, [shown](bool visible) {
      if (!visible) shown->deleteLater();
    });
  }
}

void Application::openCapture(const QString& captureID) {
  if (m_tray) m_tray->closePanel();
  m_model->setQuery({});
  m_model->setShelf(Shelf(Shelf::Recent{}));
  m_model->setSelectedID(captureID);
  showLibrary();
}

void Application::quit() {
  QCoreApplication::quit();
}

}  // namespace brindlemoor
