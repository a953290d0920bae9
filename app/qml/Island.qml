// The island: the one answer to the capture keys, at the top of the screen.
// It tells what was kept and fills in as the models understand it, shows a
// recording running, a problem in words, or that the library itself was in
// front. The window is the island, shaped to its outline by CaptureFeedback.
import QtQuick
import QtQuick.Controls.Basic
import Brindlemoor

Window {
    id: window
    title: "Brindlemoor"
    flags: Qt.Tool | Qt.FramelessWindowHint | Qt.WindowStaysOnTopHint | Qt.WindowDoesNotAcceptFocus
    color: Theme.surface
    width: island.width
    height: island.height

    readonly property bool editing: Feedback.editingNote

    Rectangle {
        id: island
        readonly property real leading: window.editing ? 16 : 8
        width: window.editing ? 400
                              : Math.max(220, Math.min(440, body.implicitWidth + leading + 16))
        height: body.implicitHeight + 16
        radius: window.editing ? 22 : 28
        color: Theme.surface
        border.color: Theme.hairline
        border.width: 1

        transformOrigin: Item.Top
        scale: Feedback.visible ? 1 : 0.6
        opacity: Feedback.visible ? 1 : 0
        Behavior on scale { NumberAnimation { duration: Theme.spring; easing.type: Easing.OutBack; easing.overshoot: 0.9 } }
        Behavior on opacity { NumberAnimation { duration: Theme.fade } }
        Behavior on width { NumberAnimation { duration: Theme.spring; easing.type: Easing.OutCubic } }

        HoverHandler { onHoveredChanged: Feedback.hovering = hovered }

        Loader {
            id: body
            x: island.leading
            y: 8
            width: island.width - island.leading - 16
            sourceComponent: Feedback.mode === "recording" ? recording
                           : Feedback.mode === "problem" ? problem
                           : Feedback.mode === "itself" ? itself
                           : kept
        }
    }

    Component {
        id: kept
        Column {
            spacing: 10
            Row {
                spacing: 12
                Rectangle {
                    width: 40; height: 40; radius: 10
                    color: Theme.well
                    clip: true
                    Image {
                        anchors.fill: parent
                        source: Feedback.image
                        sourceSize: Qt.size(80, 80)
                        fillMode: Image.PreserveAspectCrop
                        asynchronous: true
                    }
                    Rectangle {
                        anchors.fill: parent
                        radius: parent.radius
                        color: "transparent"
                        border.color: Theme.hairline
                    }
                }
                Column {
                    id: texts
                    anchors.verticalCenter: parent.verticalCenter
                    width: Math.min(Math.max(upperLine.implicitWidth, lowerLine.implicitWidth),
                                    440 - 24 - 52 - (trailing.width > 0 ? trailing.width + 12 : 0))
                    spacing: 2
                    Caption {
                        id: upperLine
                        text: Feedback.upper
                        color: Feedback.milestone ? Theme.accent : Theme.ink3
                        width: parent.width
                        elide: Text.ElideRight
                        Item {  // confetti behind a milestone, once
                            width: 0; height: 0
                            visible: Feedback.milestone
                            x: 16; y: 6
                            Repeater {
                                model: 6
                                Rectangle {
                                    property real t: 0
                                    width: 4; height: 4; radius: 2
                                    color: [Theme.clay, Theme.sage, Theme.sky, Theme.yellow, Theme.accent, Theme.oat][index]
                                    x: 9 * Math.cos(index * Math.PI / 3) * t - 2
                                    y: 9 * Math.sin(index * Math.PI / 3) * t - 2
                                    opacity: 1 - t
                                    SequentialAnimation on t {
                                        running: Feedback.milestone
                                        PauseAnimation { duration: 100 }
                                        NumberAnimation { from: 0; to: 1; duration: 900; easing.type: Easing.OutQuad }
                                    }
                                }
                            }
                        }
                    }
                    Text {
                        id: lowerLine
                        text: Feedback.lower
                        width: parent.width
                        elide: Text.ElideRight
                        maximumLineCount: 1
                        color: Theme.ink
                        font.family: Theme.sans
                        font.pixelSize: 14
                        font.weight: Font.Medium
                        Behavior on text { SequentialAnimation {
                            NumberAnimation { target: parent; property: "opacity"; to: 0.4; duration: 90 }
                            PropertyAction { }
                            NumberAnimation { target: parent; property: "opacity"; to: 1; duration: Theme.fade }
                        } }
                    }
                }
                Item {
                    id: trailing
                    anchors.verticalCenter: parent.verticalCenter
                    width: Feedback.chip !== "" ? chip.width : window.editing ? 0 : note.width
                    height: 24
                    Rectangle {
                        id: chip
                        visible: Feedback.chip !== ""
                        width: chipText.implicitWidth + 20
                        height: 24
                        radius: 12
                        color: Theme.wash
                        transformOrigin: Item.Left
                        scale: visible ? 1 : 0.8
                        Behavior on scale { NumberAnimation { duration: Theme.spring; easing.type: Easing.OutBack } }
                        Text {
                            id: chipText
                            anchors.centerIn: parent
                            text: Feedback.chip
                            color: Theme.ink2
                            font.family: Theme.sans
                            font.pixelSize: 12
                        }
                    }
                    Rectangle {
                        id: note
                        visible: Feedback.chip === "" && !window.editing
                        width: noteText.implicitWidth + 20
                        height: 24
                        radius: 12
                        color: noteArea.containsMouse ? Theme.accentWash : Theme.wash
                        opacity: Feedback.hovering || Feedback.noteSaved ? 1 : 0
                        Behavior on opacity { NumberAnimation { duration: Theme.fade } }
                        Text {
                            id: noteText
                            anchors.centerIn: parent
                            text: Feedback.noteSaved ? "Noted" : "Note"
                            color: Theme.ink
                            font.family: Theme.sans
                            font.pixelSize: 12
                            font.weight: Font.Medium
                        }
                        MouseArea {
                            id: noteArea
                            anchors.fill: parent
                            hoverEnabled: true
                            enabled: !Feedback.noteSaved
                            onClicked: Feedback.focusNote()
                        }
                    }
                }
            }
            Column {
                visible: window.editing
                width: 400 - 32
                spacing: 2
                TextField {
                    id: noteField
                    width: parent.width
                    placeholderText: "Why you kept it"
                    placeholderTextColor: Theme.ink4
                    text: Feedback.note
                    onTextEdited: Feedback.note = text
                    color: Theme.ink
                    font.family: Theme.serif
                    font.pixelSize: 17
                    background: Item {}
                    leftPadding: 0
                    focus: window.editing
                    onVisibleChanged: if (visible) forceActiveFocus()
                    Keys.onReturnPressed: Feedback.saveNote()
                    Keys.onEnterPressed: Feedback.saveNote()
                    Keys.onEscapePressed: Feedback.cancelNote()
                }
                Rectangle { width: parent.width; height: 1; color: Theme.accent }
                Item { width: 1; height: 6 }
            }
        }
    }

    Component {
        id: recording
        Item {
            implicitWidth: Math.max(300, recordingRow.implicitWidth + 16)
            implicitHeight: 40
            property real since: Feedback.recordingSince
            property real elapsed: 0
            Timer {
                interval: 500; running: true; repeat: true; triggeredOnStart: true
                onTriggered: parent.elapsed = (Date.now() - parent.since) / 1000
            }
            Row {
                id: recordingRow
                anchors.verticalCenter: parent.verticalCenter
                x: 8
                spacing: 12
                Item {
                    width: 12; height: 12
                    anchors.verticalCenter: parent.verticalCenter
                    Rectangle {
                        anchors.centerIn: parent
                        width: 6; height: 6; radius: 3
                        color: Theme.accent
                        SequentialAnimation on scale {
                            loops: Animation.Infinite
                            NumberAnimation { from: 1.2; to: 2.1; duration: 900; easing.type: Easing.InOutSine }
                            NumberAnimation { from: 2.1; to: 1.2; duration: 900; easing.type: Easing.InOutSine }
                        }
                    }
                }
                Column {
                    anchors.verticalCenter: parent.verticalCenter
                    Caption { text: "Recording" }
                    Text {
                        readonly property int seconds: Math.floor(Math.max(0, parent.parent.parent.elapsed))
                        text: Math.floor(seconds / 60) + ":" + String(seconds % 60).padStart(2, "0")
                        color: Theme.ink
                        font.family: Theme.sans
                        font.pixelSize: 12
                    }
                }
                Row {
                    id: bars
                    anchors.verticalCenter: parent.verticalCenter
                    spacing: 3
                    height: 14
                    property var history: Array(20).fill(0)
                    Timer {
                        interval: 80; running: true; repeat: true
                        onTriggered: { const h = bars.history.slice(1); h.push(Feedback.level()); bars.history = h }
                    }
                    Repeater {
                        model: 20
                        Rectangle {
                            readonly property real level: bars.history[index]
                            anchors.verticalCenter: parent.verticalCenter
                            width: 2; radius: 1
                            height: level * 12 + 2
                            color: Theme.ink
                            opacity: level > 0.02 ? 1 : 0.18
                        }
                    }
                }
                KeyCaps { size: 0.8; anchors.verticalCenter: parent.verticalCenter }
                Text {
                    anchors.verticalCenter: parent.verticalCenter
                    text: "to stop"
                    color: Theme.ink2
                    font.family: Theme.sans
                    font.pixelSize: 11
                }
            }
            Rectangle {
                y: parent.height + 6
                x: -8
                height: 1.5
                color: Theme.accent
                opacity: 0.5
                width: (parent.width + 24) * Math.min(parent.elapsed / 60, 1)
            }
        }
    }

    Component {
        id: problem
        Column {
            spacing: 6
            padding: 8
            Text {
                width: Math.min(300, implicitWidth)
                text: Feedback.problem
                wrapMode: Text.Wrap
                color: Theme.ink
                font.family: Theme.sans
                font.pixelSize: 13
            }
            Text {
                visible: Feedback.problemAction !== ""
                text: Feedback.problemAction
                color: Theme.accent
                font.family: Theme.sans
                font.pixelSize: 13
                font.weight: Font.Medium
                MouseArea { anchors.fill: parent; onClicked: Feedback.performProblem() }
            }
        }
    }

    Component {
        id: itself
        Row {
            spacing: 12
            padding: 4
            BrandMark { size: 32; nods: true; anchors.verticalCenter: parent.verticalCenter }
            Column {
                anchors.verticalCenter: parent.verticalCenter
                Caption { text: "Nothing to keep"; color: Theme.ink4 }
                Text {
                    text: "That’s me. I keep the others."
                    color: Theme.ink
                    font.family: Theme.serif
                    font.italic: true
                    font.pixelSize: 17
                }
            }
        }
    }
}
