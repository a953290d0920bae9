// The brand's marks drawn by code: the horizon of the tray icon (a sun half
// risen over a line) at any size, in the colour of the panel's text.
#pragma once

#include <QColor>
#include <QIcon>

namespace brindlemoor::TrayMark {

QIcon icon(const QColor& ink);

}  // namespace brindlemoor::TrayMark
