// Settings kept in the vault's settings file.
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

ScrollView {
    id: root
    contentWidth: availableWidth
    ColumnLayout {
        width: Math.min(root.availableWidth - 48, 640)
        x: 24
        spacing: 12
        Label { Layout.topMargin: 20; text: "Settings"; font.pixelSize: window.baseSize * 1.7; font.bold: true }
        Label { visible: settings.error !== ""; text: settings.error; color: "#d94848"; wrapMode: Text.Wrap; Layout.fillWidth: true }
        Card {
            title: "Look"
            GridLayout {
                columns: 2
                Label { text: "Theme" }
                ComboBox {
                    objectName: "themeChoice"
                    model: ["automatic", "light", "dark"]
                    currentIndex: model.indexOf(settings.theme)
                    Accessible.name: "Theme"
                    onActivated: function (i) { settings.set("theme", model[i]) }
                }
                Label { text: "Accent" }
                ComboBox {
                    model: ["default", "blue", "purple", "pink", "red", "orange", "yellow", "green"]
                    currentIndex: Math.max(0, model.indexOf(settings.accent))
                    Accessible.name: "Accent colour"
                    onActivated: function (i) { settings.set("accent", model[i]) }
                }
                Label { text: "Text size" }
                Slider {
                    from: 0.75; to: 2; stepSize: 0.05
                    value: settings.textScale
                    Accessible.name: "Text scale"
                    onMoved: settings.set("textScale", value)
                }
            }
        }
        Card {
            title: "Calendar"
            GridLayout {
                columns: 2
                Label { text: "Week starts on" }
                ComboBox {
                    model: ["monday", "sunday"]
                    currentIndex: model.indexOf(settings.weekStart)
                    Accessible.name: "Week start"
                    onActivated: function (i) { settings.set("weekStart", model[i]) }
                }
                Label { text: "Year pages" }
                ComboBox {
                    model: ["quarter", "calendar"]
                    currentIndex: model.indexOf(settings.yearMode)
                    Accessible.name: "Year mode"
                    onActivated: function (i) { settings.set("yearMode", model[i]) }
                }
            }
        }
        Card {
            title: "Focus"
            CheckBox { text: "Cues at start, end and warnings"; checked: settings.cues; Accessible.name: "Focus cues"; onClicked: settings.set("cues", checked) }
            CheckBox { text: "Mute every sound"; checked: settings.muted; Accessible.name: "Mute focus sounds"; onClicked: settings.set("muted", checked) }
        }
        Card {
            title: "Shortcuts"
            Repeater {
                model: settings.shortcuts
                RowLayout {
                    required property var modelData
                    Label { text: modelData.name; Layout.fillWidth: true }
                    Label { text: modelData.sequence || "none"; font.family: "monospace"; color: window.accent }
                }
            }
            Label { text: "Screens: Ctrl+1 Today, Ctrl+2 Inbox, Ctrl+3 Plan, Ctrl+4 Focus, Ctrl+F Search, Ctrl+, Settings, Ctrl+Z Undo"; color: window.subtle; wrapMode: Text.Wrap; Layout.fillWidth: true }
        }
    }
}
