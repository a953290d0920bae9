// SingleInstance keeps one running application per user session: the first
// to start owns a name on the session bus, and a later start hands it the
// files it was given ("brindlemoor FILE...") and leaves.
//
// Threads: the GUI thread.
#pragma once

#include <QObject>
#include <QStringList>

namespace brindlemoor {

class SingleInstance : public QObject {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "app.brindlemoor.Brindlemoor")

 public:
  static constexpr const char* kService = "app.brindlemoor.Brindlemoor";

  explicit SingleInstance(QObject* parent = nullptr);

  // Takes the name; false when another instance holds it. Without a session
  // bus this is the only instance there can be.
  bool claim();
  // Gives `files` (absolute paths; none only brings it forward) to the
  // instance that holds the name; whether it took them.
  static bool handOver(const QStringList& files);

 public Q_SLOTS:
  // Called over the bus by a later start.
  void Open(const QStringList& files);

 Q_SIGNALS:
  void opened(const QStringList& files);
};

}  // namespace brindlemoor
