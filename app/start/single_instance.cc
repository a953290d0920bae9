#include "app/start/single_instance.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>

namespace brindlemoor {

namespace {

constexpr const char* kPath = "/app/brindlemoor/Brindlemoor";

}  // namespace

SingleInstance::SingleInstance(QObject* parent) : QObject(parent) {}

bool SingleInstance::claim() {
  QDBusConnection bus = QDBusConnection::sessionBus();
  if (!bus.isConnected()) return true;
  if (!bus.registerService(QString::fromLatin1(kService))) return false;
  bus.registerObject(QString::fromLatin1(kPath), this, QDBusConnection::ExportAllSlots);
  return true;
}

bool SingleInstance::handOver(const QStringList& files) {
  QDBusMessage call = QDBusMessage::createMethodCall(
      QString::fromLatin1(kService), QString::fromLatin1(kPath),
      QString::fromLatin1("app.brindlemoor.Brindlemoor"), QStringLiteral("Open"));
  call << files;
  const QDBusMessage reply = QDBusConnection::sessionBus().call(call, QDBus::Block, 10000);
  return reply.type() == QDBusMessage::ReplyMessage;
}

void SingleInstance::Open(const QStringList& files) {
  Q_EMIT opened(files);
}

}  // namespace brindlemoor
