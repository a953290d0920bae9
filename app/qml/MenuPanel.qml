// The tray's panel: the library's count, what setup still needs, keeping
// and importing, what was just kept, and the windows.
import QtQuick
import QtQuick.Controls.Basic
import Brindlemoor

Window {
    id: panel
    title: "Brindlemoor"
    flags: Qt.Tool | Qt.FramelessWindowHint | Qt.WindowStaysOnTopHint
    width: 300
    height: content.implicitHeight + 16
    color: Theme.surface

    // Goes when the user turns to something else, once it had the focus.
    property bool focused: false
    onActiveChanged: {
        if (active) focused = true
        else if (focused) { focused = false; TrayPanel.closePanel() }
    }

    Shortcut { sequence: "Ctrl+L"; onActivated: App.showLibrary() }
    Shortcut { sequence: "Ctrl+,"; onActivated: App.showSettings() }
    Shortcut { sequence: "Ctrl+Q"; onActivated: App.quit() }
    Shortcut { sequence: "Ctrl+Shift+I"; onActivated: App.showImportPanel() }
    Shortcut { sequence: "Escape"; onActivated: TrayPanel.closePanel() }

    Rectangle {
        anchors.fill: parent
        color: "transparent"
        border.color: Theme.hairline
    }

    Column {
        id: content
        x: 8
        y: 8
        width: parent.width - 16
        spacing: 2

        Item {
            width: parent.width
            height: 36
            Text {
                x: 8
                anchors.verticalCenter: parent.verticalCenter
                text: "Brindlemoor"
                color: Theme.ink
                font.family: Theme.serif
                font.pixelSize: 20
            }
            Caption {
                anchors { right: parent.right; rightMargin: 8; verticalCenter: parent.verticalCenter }
                text: Model.total + " kept"
                color: Theme.ink4
            }
        }
        MenuRow {
            visible: App.setupIncomplete
            title: App.setupHeadline
            accent: true
            onClicked: { TrayPanel.closePanel(); App.showSetup() }
        }
        MenuRow { title: "Keep this window"; showKeys: true; onClicked: App.captureSoon() }
        MenuRow { title: "Import photos & videos"; shortcut: "Shift+Ctrl+I"; onClicked: App.showImportPanel() }

        Column {
            visible: Model.latest.count > 0
            width: parent.width
            spacing: 2
            Item { width: 1; height: 6 }
            Item {
                width: parent.width
                height: 22
                Caption { x: 8; anchors.verticalCenter: parent.verticalCenter; text: "Just kept" }
                Row {
                    visible: Model.understanding >= 1
                    anchors { right: parent.right; rightMargin: 8; verticalCenter: parent.verticalCenter }
                    spacing: 6
                    Rectangle {
                        width: 8; height: 8; radius: 4
                        anchors.verticalCenter: parent.verticalCenter
                        color: Theme.accent
                        SequentialAnimation on opacity {
                            loops: Animation.Infinite
                            NumberAnimation { from: 1; to: 0.25; duration: 700 }
                            NumberAnimation { from: 0.25; to: 1; duration: 700 }
                        }
                    }
                    Text {
                        text: "Reading " + Model.understanding
                        color: Theme.ink3
                        font.family: Theme.sans
                        font.pixelSize: 11
                    }
                }
            }
            Repeater {
                model: Model.latest
                Rectangle {
                    width: content.width
                    height: 44
                    radius: 6
                    color: latestArea.containsMouse ? Theme.wash : "transparent"
                    Row {
                        x: 8
                        anchors.verticalCenter: parent.verticalCenter
                        spacing: 10
                        Rectangle {
                            width: 56; height: 36; radius: 5
                            color: Theme.well
                            clip: true
                            Image {
                                anchors.fill: parent
                                source: model.thumbnail
                                sourceSize: Qt.size(112, 72)
                                fillMode: Image.PreserveAspectCrop
                                asynchronous: true
                            }
                        }
                        Text {
                            anchors.verticalCenter: parent.verticalCenter
                            width: content.width - 90
                            text: model.title
                            elide: Text.ElideRight
                            color: Theme.ink
                            font.family: Theme.sans
                            font.pixelSize: 13
                        }
                    }
                    MouseArea {
                        id: latestArea
                        anchors.fill: parent
                        hoverEnabled: true
                        onClicked: App.openCapture(model.captureID)
                        ToolTip.visible: containsMouse
                        ToolTip.delay: 600
                        ToolTip.text: model.title
                    }
                }
            }
            Item { width: 1; height: 4 }
        }

        Rectangle { width: parent.width; height: 1; color: Theme.hairline }
        MenuRow { title: "Open the library"; shortcut: "Ctrl+L"; onClicked: { TrayPanel.closePanel(); App.showLibrary() } }
        MenuRow { title: "Settings"; shortcut: "Ctrl+,"; onClicked: { TrayPanel.closePanel(); App.showSettings() } }
        MenuRow { title: "Quit Brindlemoor"; shortcut: "Ctrl+Q"; muted: true; onClicked: App.quit() }
    }
}
