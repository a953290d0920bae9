// SettingsController is what the settings window shows and changes (the
// singleton `Preferences` in QML): the capture keys, the vision model, the
// library on disk, launch at login, and the words that connect an agent to
// the MCP server.
//
// Threads: the GUI thread; the library's size and the installed models are
// read on a queue of its own.
#pragma once

#include <QObject>
#include <QStringList>
#include <QTimer>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "core/model/serial_queue.h"
#include "core/understanding/ollama_client.h"

namespace brindlemoor {

class UserSettings;

class SettingsController : public QObject {
  Q_OBJECT
  Q_PROPERTY(QStringList keyChoices READ keyChoices CONSTANT)
  Q_PROPERTY(int keysIndex READ keysIndex WRITE setKeysIndex NOTIFY changed)
  Q_PROPERTY(QString keysExplanation READ keysExplanation NOTIFY changed)
  Q_PROPERTY(QStringList visionChoices READ visionChoices NOTIFY changed)
  Q_PROPERTY(QString visionModel READ visionModel WRITE pickVisionModel NOTIFY changed)
  Q_PROPERTY(QString embeddingModel READ embeddingModel CONSTANT)
  Q_PROPERTY(QString librarySize READ librarySize NOTIFY changed)
  Q_PROPERTY(bool launchAtLogin READ launchAtLogin WRITE setLaunchAtLogin NOTIFY changed)
  Q_PROPERTY(QString loginError READ loginError NOTIFY changed)
  Q_PROPERTY(QString claudeCode READ claudeCode CONSTANT)
  Q_PROPERTY(QString json READ json CONSTANT)
  Q_PROPERTY(QString copied READ copied NOTIFY changed)

 public:
  // `mcpServer` is the installed path of brindlemoor-mcp; `onKeys` and
  // `onVisionModel` pass a new choice on to those who use it.
  SettingsController(UserSettings& settings, const OllamaClient& client,
                     std::filesystem::path libraryRoot, std::filesystem::path mcpServer,
                     std::filesystem::path executable, std::function<void()> onKeys,
                     std::function<void(const QString&)> onVisionModel, QObject* parent = nullptr);

  // What the vision model menu offers: installed vision models (none that
  // embeds; those of the qwen3.5 and gemma families), the offered ones, this
  // machine's default and the current choice, each once, sorted.
  static std::vector<std::string> visionChoices(const std::vector<std::string>& installed,
                                                const std::string& machineDefault,
                                                const std::string& current);

  QStringList keyChoices() const;
  int keysIndex() const;
  void setKeysIndex(int index);
  QString keysExplanation() const;
  QStringList visionChoices() const { return m_visionChoices; }
  QString visionModel() const;
  void pickVisionModel(const QString& name);
  QString embeddingModel() const;
  QString librarySize() const { return m_librarySize; }
  bool launchAtLogin() const;
  void setLaunchAtLogin(bool on);
  QString loginError() const { return m_loginError; }
  QString claudeCode() const;
  QString json() const;
  QString copied() const { return m_copied; }

  // Reads what may have changed since the window was last open.
  Q_INVOKABLE void refresh();
  Q_INVOKABLE void copy(const QString& text, const QString& name);
  Q_INVOKABLE void showInFolder();

 Q_SIGNALS:
  void changed();

 private:
  // The menu over the models last read as installed and the current choice.
  void offerVisionChoices();

  UserSettings& m_settings;
  const OllamaClient m_client;
  const std::filesystem::path m_libraryRoot;
  const std::filesystem::path m_mcpServer;
  const std::filesystem::path m_executable;
  const std::function<void()> m_onKeys;
  const std::function<void(const QString&)> m_onVisionModel;
  std::vector<std::string> m_installed;  // none until read, or with Ollama down
  QStringList m_visionChoices;
  QString m_librarySize;
  QString m_loginError;
  QString m_copied;
  QTimer m_copiedClear;
  SerialQueue m_queue;
};

}  // namespace brindlemoor
