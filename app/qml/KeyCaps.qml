// The key caps of the chosen capture keys, the left and right one drawn
// pressed while held.
import QtQuick
import Brindlemoor

Row {
    id: caps
    property var keys: App.keyCaps
    property bool heldLeft: false
    property bool heldRight: false
    property real size: 1
    spacing: 4 * size

    Repeater {
        model: caps.keys
        Rectangle {
            readonly property bool held: (index === 0 && caps.heldLeft)
                                         || (index === caps.keys.length - 1 && caps.heldRight && caps.keys.length > 1)
            width: Math.max(label.implicitWidth + 14 * caps.size, 26 * caps.size)
            height: 22 * caps.size
            radius: 5 * caps.size
            color: held ? Theme.accent : Theme.raised
            border.color: Theme.hairline
            border.width: 1
            y: held ? 1 : 0
            Behavior on y { NumberAnimation { duration: 80 } }

            Rectangle {  // the cap's lower edge
                anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
                height: 2 * caps.size
                radius: parent.radius
                color: Theme.hairline
                visible: !parent.held
            }
            Text {
                id: label
                anchors.centerIn: parent
                text: modelData
                color: parent.held ? Theme.ivory : Theme.ink2
                font.family: Theme.sans
                font.pixelSize: 11 * caps.size
                font.weight: Font.Medium
            }
        }
    }
}
