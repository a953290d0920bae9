#include "app/settings/settings_controller.h"

#include <QClipboard>
#include <QDesktopServices>
#include <QGuiApplication>
#include <QLocale>
#include <QUrl>
#include <algorithm>
#include <set>

#include "app/model/user_settings.h"
#include "app/settings/autostart.h"
#include "core/capture/capture_keys.h"
#include "core/understanding/models.h"
#include "tools/common/settings.h"

namespace brindlemoor {

namespace {

QString text(std::string_view s) {
  return QString::fromUtf8(s.data(), static_cast<int>(s.size()));
}

std::uintmax_t folderSize(const std::filesystem::path& root) {
  std::uintmax_t total = 0;
  std::error_code error;
  for (auto it = std::filesystem::recursive_directory_iterator(root, error);
       !error && it != std::filesystem::recursive_directory_iterator(); it.increment(error)) {
    std::error_code ignored;
    if (it->is_regular_file(ignored)) total += it->file_size(ignored);
  }
  return total;
}

}  // namespace

SettingsController::SettingsController(UserSettings& settings, const OllamaClient& client,
                                       std::filesystem::path libraryRoot,
                                       std::filesystem::path mcpServer,
                                       std::filesystem::path executable,
                                       std::function<void()> onKeys,
                                       std::function<void(const QString&)> onVisionModel,
                                       QObject* parent)
    : QObject(parent),
      m_settings(settings),
      m_client(client),
      m_libraryRoot(std::move(libraryRoot)),
      m_mcpServer(std::move(mcpServer)),
      m_executable(std::move(executable)),
      m_onKeys(std::move(onKeys)),
      m_onVisionModel(std::move(onVisionModel)) {
  m_copiedClear.setSingleShot(true);
  m_copiedClear.setInterval(1600);
  connect(&m_copiedClear, &QTimer::timeout, this, [this] {
    m_copied.clear();
    Q_EMIT changed();
  });
  offerVisionChoices();
}

std::vector<std::string> SettingsController::visionChoices(
    const std::vector<std::string>& installed, const std::string& machineDefault,
    const std::string& current) {
  std::vector<std::string> choices;
  for (const std::string& name : installed) {
    if (name.find("embed") != std::string::npos) continue;
    if (name.starts_with("qwen3.5") || name.starts_with("gemma")) choices.push_back(name);
  }
  for (const std::string& name : Models::offeredVision) {
    if (!OllamaClient::has(name, choices)) choices.push_back(name);
  }
  for (const std::string& name : {machineDefault, current}) {
    if (std::find(choices.begin(), choices.end(), name) == choices.end()) choices.push_back(name);
  }
  const std::set<std::string> sorted(choices.begin(), choices.end());
  return {sorted.begin(), sorted.end()};
}

void SettingsController::offerVisionChoices() {
  m_visionChoices.clear();
  for (const std::string& name :
       visionChoices(m_installed, Settings::defaultVisionModel(), visionModel().toStdString())) {
    m_visionChoices.append(QString::fromStdString(name));
  }
  Q_EMIT changed();
}

void SettingsController::refresh() {
  m_queue.post([this] {
    std::vector<std::string> installed;
    try {
      installed = m_client.models();
    } catch (const std::exception&) {
    }
    const auto size = static_cast<qint64>(folderSize(m_libraryRoot));
    QMetaObject::invokeMethod(
        this,
        [this, installed, size] {
          m_librarySize = QLocale().formattedDataSize(size, 1, QLocale::DataSizeSIFormat);
          m_installed = installed;
          offerVisionChoices();
        },
        Qt::QueuedConnection);
  });
}

QStringList SettingsController::keyChoices() const {
  QStringList titles;
  for (const CaptureKeys& keys : CaptureKeys::all()) titles.append(text(keys.title()));
  return titles;
}

int SettingsController::keysIndex() const {
  const auto& all = CaptureKeys::all();
  const auto at = std::find(all.begin(), all.end(), m_settings.captureKeys());
  return static_cast<int>(at - all.begin());
}

void SettingsController::setKeysIndex(int index) {
  if (index < 0 || index >= static_cast<int>(CaptureKeys::all().size()) || index == keysIndex()) {
    return;
  }
  m_settings.setCaptureKeys(CaptureKeys::all()[static_cast<std::size_t>(index)]);
  if (m_onKeys) m_onKeys();
  Q_EMIT changed();
}

QString SettingsController::keysExplanation() const {
  if (m_settings.captureKeys() == CaptureKeys::shortcut) {
    return QStringLiteral("Ctrl, Alt, Super and K together, in any app.");
  }
  return QStringLiteral("Left and right together. A shortcut typed with one of them never keeps anything.");
}

QString SettingsController::visionModel() const {
  return m_settings.visionModel();
}

void SettingsController::pickVisionModel(const QString& name) {
  if (name.isEmpty() || name == visionModel()) return;
  m_settings.setVisionModel(name);
  if (m_onVisionModel) m_onVisionModel(name);
  offerVisionChoices();
}

QString SettingsController::embeddingModel() const {
  return QString::fromStdString(Models::embedding);
}

bool SettingsController::launchAtLogin() const {
  return Autostart::enabled();
}

void SettingsController::setLaunchAtLogin(bool on) {
  try {
    Autostart::set(on, m_executable);
    m_loginError.clear();
  } catch (const Autostart::Failure& failure) {
    m_loginError = QStringLiteral("The desktop refused: ") + QString::fromUtf8(failure.what());
  }
  Q_EMIT changed();
}

QString SettingsController::claudeCode() const {
  return QStringLiteral("claude mcp add brindlemoor -- \"") +
         QString::fromStdString(m_mcpServer.string()) + "\"";
}

QString SettingsController::json() const {
  return QStringLiteral("\"brindlemoor\": { \"command\": \"") +
         QString::fromStdString(m_mcpServer.string()) + "\" }";
}

void SettingsController::copy(const QString& copiedText, const QString& name) {
  QGuiApplication::clipboard()->setText(copiedText);
  m_copied = name;
  m_copiedClear.start();
  Q_EMIT changed();
}

void SettingsController::showInFolder() {
  QDesktopServices::openUrl(QUrl::fromLocalFile(QString::fromStdString(m_libraryRoot.string())));
}

}  // namespace brindlemoor
