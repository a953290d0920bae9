// Setup walks the user through what the program needs: the desktop, pages
// read through accessibility, Ollama, its two models, and a first try of
// the keys. Each step lights up by itself as it is done.
import QtQuick
import QtQuick.Controls.Basic
import Brindlemoor

Window {
    id: setup
    title: "Set up Brindlemoor"
    width: 560
    height: 720
    color: Theme.ground

    component Step: Item {
        id: step
        property int number
        property bool done
        property string title
        property string detail
        property string action
        property bool keys: false
        signal act()
        width: parent.width
        height: Math.max(56, texts.implicitHeight + 22)

        Rectangle {
            id: mark
            y: 14
            width: 24; height: 24; radius: 12
            color: step.done ? Theme.accent : "transparent"
            border.color: step.done ? Theme.accent : Theme.ink4
            border.width: 1.5
            Text {
                anchors.centerIn: parent
                text: step.done ? "✓" : step.number
                color: step.done ? Theme.ivory : Theme.ink3
                font.family: Theme.sans
                font.pixelSize: 12
                font.weight: Font.DemiBold
            }
        }
        Column {
            id: texts
            x: 40
            y: 12
            width: parent.width - x - trailing.width - 12
            spacing: 3
            Text {
                text: step.title
                color: Theme.ink
                font.family: Theme.sans
                font.pixelSize: 14
                font.weight: Font.Medium
            }
            Text {
                width: parent.width
                text: step.detail
                wrapMode: Text.Wrap
                color: Theme.ink2
                font.family: Theme.sans
                font.pixelSize: 13
                lineHeight: 1.15
            }
        }
        Item {
            id: trailing
            anchors { right: parent.right; top: parent.top; topMargin: 12 }
            width: step.keys ? caps.width : (button.visible ? button.width : 0)
            height: 28
            KeyCaps {
                id: caps
                visible: step.keys
                heldLeft: Setup.heldLeft
                heldRight: Setup.heldRight
            }
            Rectangle {
                id: button
                visible: !step.keys && !step.done && step.action !== ""
                width: label.implicitWidth + 24
                height: 28
                radius: 14
                color: buttonArea.containsMouse ? Theme.accent : Theme.raised
                border.color: Theme.hairline
                Text {
                    id: label
                    anchors.centerIn: parent
                    text: step.action
                    color: buttonArea.containsMouse ? Theme.ivory : Theme.ink
                    font.family: Theme.sans
                    font.pixelSize: 13
                    font.weight: Font.Medium
                }
                MouseArea {
                    id: buttonArea
                    anchors.fill: parent
                    hoverEnabled: true
                    onClicked: step.act()
                }
            }
        }
        Rectangle { anchors.bottom: parent.bottom; width: parent.width; height: 1; color: Theme.hairline }
    }

    Flickable {
        anchors.fill: parent
        contentHeight: page.implicitHeight + 64
        Column {
            id: page
            x: 40
            y: 40
            width: setup.width - 80
            spacing: 18

            Row {
                spacing: 10
                BrandMark { size: 28; anchors.verticalCenter: parent.verticalCenter }
                Caption { text: "Setup"; anchors.verticalCenter: parent.verticalCenter }
            }
            Text {
                width: parent.width
                wrapMode: Text.Wrap
                textFormat: Text.StyledText
                text: "Keep anything worth keeping in your <i>brindlemoor book.</i>"
                color: Theme.ink
                font.family: Theme.serifDisplay
                font.pixelSize: 32
                lineHeight: 1.05
            }
            Text {
                width: parent.width
                wrapMode: Text.Wrap
                text: "Press both Super keys on anything worth keeping. Brindlemoor reads it, names it and files it, all on this computer."
                color: Theme.ink2
                font.family: Theme.sans
                font.pixelSize: 14
                lineHeight: 1.2
            }
            Column {
                width: parent.width
                Step {
                    number: 1
                    done: Setup.screenRecording
                    title: "Screen Recording"
                    detail: "To take a picture of the window you’re in, and nothing else."
                }
                Step {
                    number: 2
                    done: Setup.accessibility
                    title: "Accessibility"
                    detail: "To read the page’s address and what lies under the pointer."
                    action: "Allow"
                    onAct: Setup.allowAccessibility()
                }
                Step {
                    number: 3
                    done: Setup.ollamaReady
                    title: "Ollama"
                    detail: Setup.ollamaDetail
                    action: Setup.ollamaAction
                    onAct: Setup.openOllama()
                }
                Step {
                    number: 4
                    done: Setup.modelsReady
                    title: "Models"
                    detail: Setup.modelsDetail
                    action: Setup.ollamaReady && !Setup.pulling ? "Download" : ""
                    onAct: Setup.pullModels()
                }
                Step {
                    number: 5
                    done: Setup.triedKeys
                    title: "Try it"
                    detail: "Press the keys on any window. Change them in Settings."
                    keys: true
                }
            }
            Text {
                visible: Setup.pullError !== ""
                width: parent.width
                wrapMode: Text.Wrap
                text: Setup.pullError
                color: Theme.accent
                font.family: Theme.sans
                font.pixelSize: 13
            }
            Item {
                width: parent.width
                height: 44
                Caption {
                    visible: !Setup.allDone
                    anchors.verticalCenter: parent.verticalCenter
                    text: "Captures wait here until this is done"
                    color: Theme.ink4
                }
                Text {
                    visible: Setup.allDone
                    anchors.verticalCenter: parent.verticalCenter
                    text: "All set"
                    color: Theme.ink
                    font.family: Theme.serif
                    font.italic: true
                    font.pixelSize: 20
                }
                Rectangle {
                    visible: Setup.allDone
                    anchors { right: parent.right; verticalCenter: parent.verticalCenter }
                    width: openLabel.implicitWidth + 32
                    height: 36
                    radius: 18
                    color: Theme.accent
                    Text {
                        id: openLabel
                        anchors.centerIn: parent
                        text: "Open the library"
                        color: Theme.ivory
                        font.family: Theme.sans
                        font.pixelSize: 13
                        font.weight: Font.Medium
                    }
                    MouseArea { anchors.fill: parent; onClicked: Setup.finish() }
                }
            }
        }
    }
}
