// The library's window. Its pages come next; for now it stands with the sky
// of the hour, the library's count and what was kept last, and it holds the
// keys of an open capture.
import QtQuick
import Brindlemoor

Window {
    id: library
    title: "Brindlemoor"
    width: 1320
    height: 860
    minimumWidth: 980
    minimumHeight: 640
    color: Theme.ground

    onClosing: Model.selectedID = ""

    // The application's own commands, where its window is in front.
    Shortcut { sequence: "Ctrl+,"; onActivated: App.showSettings() }
    Shortcut { sequence: "Ctrl+Shift+I"; onActivated: App.showImportPanel() }
    Shortcut { sequence: "Ctrl+Q"; onActivated: App.quit() }

    Item {
        anchors.fill: parent
        focus: true
        // The keys of the open capture, when no text field has them and no
        // Ctrl, Alt or Super is held.
        Keys.onPressed: (event) => {
            if (Model.selectedID === "" || (event.modifiers & (Qt.ControlModifier | Qt.AltModifier | Qt.MetaModifier)))
                return
            switch (event.key) {
            case Qt.Key_F: Model.toggleSelectedFavorite(); break
            case Qt.Key_Space: Model.closerLook(); break
            case Qt.Key_Escape: Model.selectedID = ""; break
            case Qt.Key_Left: Model.step(-1); break
            case Qt.Key_Right: Model.step(1); break
            default: return
            }
            event.accepted = true
        }
    }

    Column {
        anchors.centerIn: parent
        spacing: 14
        BrandMark { size: 44; anchors.horizontalCenter: parent.horizontalCenter }
        Text {
            anchors.horizontalCenter: parent.horizontalCenter
            text: "Brindlemoor"
            color: Theme.ink
            font.family: Theme.serifDisplay
            font.pixelSize: 44
        }
        Caption {
            anchors.horizontalCenter: parent.horizontalCenter
            text: Model.total + " kept"
            size: 12
        }
        Row {
            anchors.horizontalCenter: parent.horizontalCenter
            spacing: 12
            Repeater {
                model: Model.latest
                Rectangle {
                    width: 180; height: 120; radius: 10
                    color: Theme.raised
                    border.color: Theme.hairline
                    clip: true
                    Image {
                        anchors { fill: parent; margins: 1; bottomMargin: 28 }
                        source: model.thumbnail
                        sourceSize: Qt.size(360, 184)
                        fillMode: Image.PreserveAspectCrop
                        asynchronous: true
                    }
                    Text {
                        anchors { left: parent.left; right: parent.right; bottom: parent.bottom; margins: 8 }
                        text: model.title
                        elide: Text.ElideRight
                        color: Theme.ink
                        font.family: Theme.sans
                        font.pixelSize: 12
                    }
                }
            }
        }
    }
}
