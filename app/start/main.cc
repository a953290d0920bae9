// brindlemoor: the application, in the tray. `brindlemoor FILE...` imports
// the photos and videos given, into the instance already running if there
// is one.
#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QIcon>
#include <QQuickWindow>

#include "app/start/application.h"
#include "core/media/ocr_thread_limit.h"
#include "core/media/picture_memory.h"

int main(int argc, char** argv) {
  brindlemoor::requireOcrThreadLimit(argv);
  // After the re-exec above, so that the setting is the running process's.
  brindlemoor::keepPictureMemory();
  // The accessibility bus is read on a thread of the capture's; a GLib main
  // loop on this thread would touch the same connection.
  qputenv("QT_NO_GLIB", "1");
  // The windows are small and few: Qt Quick's software renderer draws them
  // without loading a GL driver, which under a software GL alone holds
  // some 60 MB and slows the start.
  QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
  QApplication app(argc, argv);
  QApplication::setApplicationName(QStringLiteral("Brindlemoor"));
  QApplication::setDesktopFileName(QStringLiteral("brindlemoor"));
  QApplication::setQuitOnLastWindowClosed(false);
  QApplication::setWindowIcon(QIcon(QStringLiteral(":/qt/qml/Brindlemoor/resources/icons/brindlemoor.svg")));

  QStringList files;
  for (const QString& argument : QApplication::arguments().mid(1)) {
    files.append(QFileInfo(argument).absoluteFilePath());
  }
  brindlemoor::Application brindlemoor;
  switch (brindlemoor.start(files)) {
    case brindlemoor::Application::Started::handedOver:
      return 0;
    case brindlemoor::Application::Started::failed:
      return 1;
    case brindlemoor::Application::Started::running:
      return QApplication::exec();
  }
  return 1;
}
