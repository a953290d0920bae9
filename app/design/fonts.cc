#include <QDir>
#include <QFontDatabase>

#include "app/design/theme.h"

namespace brindlemoor::Fonts {

void registerAll() {
  const QDir faces(QStringLiteral(":/fonts"));
  for (const QString& name : faces.entryList({QStringLiteral("*.ttf")})) {
    QFontDatabase::addApplicationFont(faces.filePath(name));
  }
}

}  // namespace brindlemoor::Fonts
