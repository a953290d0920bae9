// One row of the tray's panel: a title, and at its end a shortcut's text or
// the key caps; an accent dot marks what needs doing.
import QtQuick
import Brindlemoor

Rectangle {
    id: row
    property string title
    property string shortcut
    property bool showKeys: false
    property bool accent: false
    property bool muted: false
    signal clicked()

    width: parent ? parent.width : 260
    height: 30
    radius: 6
    color: area.containsMouse ? Theme.wash : "transparent"

    Row {
        anchors { left: parent.left; leftMargin: 8; verticalCenter: parent.verticalCenter }
        spacing: 7
        Rectangle {
            visible: row.accent
            width: 6; height: 6; radius: 3
            color: Theme.accent
            anchors.verticalCenter: parent.verticalCenter
        }
        Text {
            text: row.title
            color: row.muted ? Theme.ink3 : Theme.ink
            font.family: Theme.sans
            font.pixelSize: 13
            font.weight: row.accent ? Font.Medium : Font.Normal
        }
    }
    Text {
        visible: row.shortcut !== ""
        anchors { right: parent.right; rightMargin: 8; verticalCenter: parent.verticalCenter }
        text: row.shortcut
        color: Theme.ink3
        font.family: Theme.sans
        font.pixelSize: 11
    }
    KeyCaps {
        visible: row.showKeys
        size: 0.85
        anchors { right: parent.right; rightMargin: 8; verticalCenter: parent.verticalCenter }
    }
    MouseArea {
        id: area
        anchors.fill: parent
        hoverEnabled: true
        onClicked: row.clicked()
    }
}
