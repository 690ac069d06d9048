// The window: a sidebar of screens and the screen shown. Layout and bindings only; every rule
// lives in the C++ models behind `today`, `inbox`, `focus`, `period`, `search`, `settings`.
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import QtQuick.Window

ApplicationWindow {
    id: window
    objectName: "mainWindow"
    width: 1100
    height: 760
    visible: true
    title: "Trivo"

    readonly property bool dark: settings.dark
    readonly property color accent: settings.accentColor
    readonly property color paper: dark ? "#1e1f22" : "#f7f6f3"
    readonly property color surface: dark ? "#2a2b2f" : "#ffffff"
    readonly property color textColor: dark ? "#e8e6e3" : "#1f2328"
    readonly property color subtle: dark ? "#9a9ca3" : "#6a6f76"
    readonly property color line: dark ? "#3a3b40" : "#e3e1dc"
    readonly property real scale: settings.textScale
    readonly property int baseSize: Math.round(14 * scale)

    color: paper
    font.pixelSize: baseSize
    palette.window: paper
    palette.windowText: textColor
    palette.base: surface
    palette.alternateBase: paper
    palette.text: textColor
    palette.button: surface
    palette.buttonText: textColor
    palette.highlight: accent
    palette.highlightedText: "#ffffff"
    palette.placeholderText: subtle
    palette.mid: line
    palette.light: surface
    palette.dark: line

    // Opens the inbox with the capture field ready (tray and shortcut).
    function focusCapture() {
        app.screen = "inbox"
        inboxScreen.item.focusCapture()
    }

    Shortcut { sequences: ["Ctrl+1"]; onActivated: app.screen = "today" }
    Shortcut { sequences: ["Ctrl+2"]; onActivated: app.screen = "inbox" }
    Shortcut { sequences: ["Ctrl+3"]; onActivated: app.screen = "period" }
    Shortcut { sequences: ["Ctrl+4"]; onActivated: app.screen = "focus" }
    Shortcut { sequences: ["Ctrl+5", "Ctrl+F"]; onActivated: { app.screen = "search"; searchScreen.item.focusField() } }
    Shortcut { sequences: ["Ctrl+,"]; onActivated: app.screen = "settings" }
    Shortcut { sequence: settings.quickCaptureKey; enabled: sequence !== ""; onActivated: window.focusCapture() }
    Shortcut { sequence: settings.focusToggleKey; enabled: sequence !== ""; onActivated: focusTimer.toggle() }
    Shortcut { sequence: settings.journalNoteKey; enabled: sequence !== ""; onActivated: { app.screen = "today"; todayScreen.item.focusJournal() } }
    Shortcut { sequences: ["Ctrl+Z"]; onActivated: inbox.undo() }

    RowLayout {
        anchors.fill: parent
        spacing: 0

        Rectangle {
            Layout.fillHeight: true
            Layout.preferredWidth: 190 * window.scale
            color: window.dark ? "#25262a" : "#efede8"
            ColumnLayout {
                anchors.fill: parent
                anchors.margins: 12
                spacing: 4
                Label {
                    text: "Trivo"
                    font.pixelSize: window.baseSize * 1.5
                    font.bold: true
                    color: window.accent
                    Layout.bottomMargin: 12
                }
                Repeater {
                    model: [
                        { key: "today", label: "Today", hint: "Ctrl+1" },
                        { key: "inbox", label: "Inbox", hint: "Ctrl+2" },
                        { key: "period", label: "Plan", hint: "Ctrl+3" },
                        { key: "focus", label: "Focus", hint: "Ctrl+4" },
                        { key: "search", label: "Search", hint: "Ctrl+F" },
                        { key: "refused", label: "Refused", hint: "" },
                        { key: "settings", label: "Settings", hint: "Ctrl+," }
                    ]
                    delegate: ItemDelegate {
                        required property var modelData
                        objectName: "nav-" + modelData.key
                        Layout.fillWidth: true
                        text: modelData.label + (modelData.key === "inbox" && inbox.openCount > 0 ? "  " + inbox.openCount : "")
                              + (modelData.key === "refused" && refused.entries.length > 0 ? "  " + refused.entries.length : "")
                        highlighted: app.screen === modelData.key
                        Accessible.name: modelData.label + (modelData.hint ? " (" + modelData.hint + ")" : "")
                        onClicked: app.screen = modelData.key
                    }
                }
                Item { Layout.fillHeight: true }
                Label {
                    Layout.fillWidth: true
                    wrapMode: Text.Wrap
                    color: window.subtle
                    font.pixelSize: window.baseSize * 0.85
                    text: focusTimer.phase === "idle" ? "Today " + today.focusMinutes + " min focused"
                                                 : "Focus " + focusTimer.clockText
                }
            }
        }

        ColumnLayout {
            Layout.fillWidth: true
            Layout.fillHeight: true
            spacing: 0
            Rectangle {
                objectName: "notice"
                visible: app.notice !== ""
                Layout.fillWidth: true
                Layout.preferredHeight: noticeLabel.implicitHeight + 16
                color: window.dark ? "#4a3b1c" : "#fff4d6"
                Label {
                    id: noticeLabel
                    anchors.fill: parent
                    anchors.margins: 8
                    wrapMode: Text.Wrap
                    text: app.notice
                    Accessible.name: "Notice: " + app.notice
                }
            }
            StackLayout {
                Layout.fillWidth: true
                Layout.fillHeight: true
                currentIndex: ["today", "inbox", "period", "focus", "search", "settings", "refused"].indexOf(app.screen)
                // A screen is made the first time it is shown, so start-up draws Today only.
                Loader { id: todayScreen; active: true; sourceComponent: TodayScreen {} }
                Loader { id: inboxScreen; active: app.screen === "inbox" || status === Loader.Ready; sourceComponent: InboxScreen {} }
                Loader { active: app.screen === "period" || status === Loader.Ready; sourceComponent: PeriodScreen {} }
                Loader { active: app.screen === "focus" || status === Loader.Ready; sourceComponent: FocusScreen {} }
                Loader { id: searchScreen; active: app.screen === "search" || status === Loader.Ready; sourceComponent: SearchScreen {} }
                Loader { active: app.screen === "settings" || status === Loader.Ready; sourceComponent: SettingsScreen {} }
                Loader { active: app.screen === "refused" || status === Loader.Ready; sourceComponent: RefusedScreen {} }
            }
        }
    }
}
