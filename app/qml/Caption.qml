// A small line in capitals, tracked out: the island's heading, a section's
// name.
import QtQuick
import Brindlemoor

Text {
    property real size: 10.5
    color: Theme.ink3
    font.family: Theme.sans
    font.pixelSize: size
    font.weight: Font.Medium
    font.capitalization: Font.AllUppercase
    font.letterSpacing: size * 0.08
}
