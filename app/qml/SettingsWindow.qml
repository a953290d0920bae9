// Settings: the capture keys, the vision model, the library on disk, launch
// at login, and how to connect an agent.
import QtQuick
import QtQuick.Controls.Basic
import Brindlemoor

Window {
    id: settings
    title: "Brindlemoor Settings"
    width: 600
    height: 680
    color: Theme.ground

    component Section: Column {
        property string name
        width: parent.width
        spacing: 0
        Caption { text: parent.name; bottomPadding: 6 }
    }
    component SettingRow: Item {
        property string title
        default property alias trailing: end.data
        width: parent.width
        height: 48
        Text {
            anchors.verticalCenter: parent.verticalCenter
            text: parent.title
            color: Theme.ink
            font.family: Theme.sans
            font.pixelSize: 14
        }
        Item {
            id: end
            anchors { right: parent.right; verticalCenter: parent.verticalCenter }
            width: childrenRect.width
            height: childrenRect.height
        }
        Rectangle { anchors.bottom: parent.bottom; width: parent.width; height: 1; color: Theme.hairline }
    }
    component Note: Text {
        width: parent.width
        wrapMode: Text.Wrap
        topPadding: 8
        color: Theme.ink3
        font.family: Theme.sans
        font.pixelSize: 12
        lineHeight: 1.15
    }
    component Command: Column {
        property string name
        property string command
        width: parent.width
        spacing: 6
        topPadding: 10
        Text {
            text: parent.name
            color: Theme.ink2
            font.family: Theme.sans
            font.pixelSize: 12
            font.weight: Font.Medium
        }
        Rectangle {
            width: parent.width
            height: commandText.implicitHeight + 20
            radius: 8
            color: Theme.well
            Text {
                id: commandText
                x: 10
                anchors.verticalCenter: parent.verticalCenter
                width: parent.width - 96
                text: command
                wrapMode: Text.WrapAnywhere
                color: Theme.ink
                font.family: "monospace"
                font.pixelSize: 12
            }
            Button {
                anchors { right: parent.right; rightMargin: 8; verticalCenter: parent.verticalCenter }
                text: Preferences.copied === name ? "Copied" : "Copy"
                font.family: Theme.sans
                onClicked: Preferences.copy(command, name)
            }
        }
    }

    Flickable {
        anchors.fill: parent
        contentHeight: page.implicitHeight + 64
        clip: true
        Column {
            id: page
            x: 40
            y: 36
            width: settings.width - 80
            spacing: 26

            Text {
                text: "Settings"
                color: Theme.ink
                font.family: Theme.serifDisplay
                font.pixelSize: 30
            }

            Section {
                name: "How Brindlemoor keeps"
                SettingRow {
                    title: "Capture keys"
                    ComboBox {
                        width: 200
                        model: Preferences.keyChoices
                        currentIndex: Preferences.keysIndex
                        onActivated: (index) => Preferences.keysIndex = index
                    }
                }
                Note { text: Preferences.keysExplanation }
            }

            Section {
                name: "Understanding"
                SettingRow {
                    title: "Vision model"
                    ComboBox {
                        width: 220
                        model: Preferences.visionChoices
                        currentIndex: Preferences.visionChoices.indexOf(Preferences.visionModel)
                        onActivated: (index) => Preferences.visionModel = Preferences.visionChoices[index]
                    }
                }
                SettingRow {
                    title: "Search and collections"
                    Text {
                        text: Preferences.embeddingModel
                        color: Theme.ink2
                        font.family: Theme.sans
                        font.pixelSize: 13
                    }
                }
                Note { text: "Both run in Ollama on this computer. The vision model reads each capture once; a larger one writes better titles and summaries, more slowly." }
            }

            Section {
                name: "Library"
                SettingRow {
                    title: "On disk"
                    Row {
                        spacing: 12
                        Text {
                            anchors.verticalCenter: parent.verticalCenter
                            text: Preferences.librarySize
                            color: Theme.ink2
                            font.family: Theme.sans
                            font.pixelSize: 13
                        }
                        Button {
                            text: "Show in Folder"
                            font.family: Theme.sans
                            onClicked: Preferences.showInFolder()
                        }
                    }
                }
            }

            Section {
                name: "General"
                SettingRow {
                    title: "Open Brindlemoor at login"
                    Switch {
                        checked: Preferences.launchAtLogin
                        onToggled: Preferences.launchAtLogin = checked
                    }
                }
                Note {
                    visible: Preferences.loginError !== ""
                    text: Preferences.loginError
                    color: Theme.accent
                }
            }

            Section {
                name: "Agents"
                Note {
                    topPadding: 0
                    color: Theme.ink2
                    text: "Let Claude Code, Codex or any MCP client search what you kept: titles, summaries, passages, notes and what was said. Never images. Nothing runs until you add it to an agent."
                }
                Command { name: "Claude Code"; command: Preferences.claudeCode }
                Command { name: "Other MCP clients (mcpServers)"; command: Preferences.json }
            }
        }
    }
}
