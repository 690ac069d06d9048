// The period pages: week, month, quarter and year outcomes with the progress of what serves
// them, the reflection questions, the outcome tree, and a calendar with history.
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

ScrollView {
    id: root
    contentWidth: availableWidth
    Shortcut { sequence: "Alt+Left"; enabled: app.screen === "period"; onActivated: period.back() }
    Shortcut { sequence: "Alt+Right"; enabled: app.screen === "period"; onActivated: period.forward() }
    Shortcut { sequence: "Ctrl+["; enabled: app.screen === "period"; onActivated: period.step(-1) }
    Shortcut { sequence: "Ctrl+]"; enabled: app.screen === "period"; onActivated: period.step(1) }

    RowLayout {
        width: root.availableWidth - 48
        x: 24
        spacing: 18

        ColumnLayout {
            Layout.alignment: Qt.AlignTop
            Layout.fillWidth: true
            Layout.topMargin: 20
            spacing: 12

            RowLayout {
                Button { text: "‹"; Layout.preferredWidth: 34; enabled: period.canGoBack; Accessible.name: "Back (Alt+Left)"; onClicked: period.back() }
                Button { text: "›"; Layout.preferredWidth: 34; enabled: period.canGoForward; Accessible.name: "Forward (Alt+Right)"; onClicked: period.forward() }
                Label { objectName: "periodTitle"; text: period.title; font.pixelSize: window.baseSize * 1.35; font.bold: true; Layout.fillWidth: true; Layout.minimumWidth: 0; elide: Text.ElideRight }
                Button { text: "◀"; flat: true; Layout.preferredWidth: 34; Accessible.name: "Previous " + period.kind + " (Ctrl+[)"; onClicked: period.step(-1) }
                Button { text: "▶"; flat: true; Layout.preferredWidth: 34; Accessible.name: "Next " + period.kind + " (Ctrl+])"; onClicked: period.step(1) }
            }
            TabBar {
                id: kinds
                objectName: "periodKinds"
                Accessible.name: "Kind of page"
                Layout.fillWidth: true
                currentIndex: ["day", "week", "month", "quarter", "year"].indexOf(period.kind)
                Repeater {
                    model: ["day", "week", "month", "quarter", "year"]
                    TabButton {
                        required property string modelData
                        objectName: "kind-" + modelData
                        text: modelData.charAt(0).toUpperCase() + modelData.slice(1)
                        Accessible.name: "Show the " + modelData
                        onClicked: period.showKind(modelData)
                    }
                }
            }
            Label { visible: period.error !== ""; text: period.error; color: "#d94848"; wrapMode: Text.Wrap; Layout.fillWidth: true }

            Card {
                title: "Outcomes"
                Repeater {
                    model: period.outcomes
                    ColumnLayout {
                        required property var modelData
                        Layout.fillWidth: true
                        RowLayout {
                            Layout.fillWidth: true
                            CheckBox {
                                checked: modelData.state === "done"
                                enabled: modelData.text !== ""
                                Accessible.name: period.kind + " outcome " + modelData.slot + " done"
                                onClicked: period.toggleOutcome(modelData.slot)
                            }
                            TextField {
                                objectName: "periodOutcome" + modelData.slot
                                Layout.fillWidth: true
                                text: modelData.text
                                placeholderText: "Outcome " + modelData.slot
                                Accessible.name: period.kind + " outcome " + modelData.slot
                                onEditingFinished: period.setOutcome(modelData.slot, text)
                            }
                            Label { text: modelData.dots; color: window.accent; font.pixelSize: window.baseSize * 1.1 }
                        }
                        Repeater {
                            model: modelData.serving
                            Label {
                                required property var modelData
                                Layout.leftMargin: 40
                                text: (modelData.state === "done" ? "● " : modelData.state === "blocked" ? "⊘ " : "○ ") + modelData.text
                                color: window.subtle
                            }
                        }
                    }
                }
            }

            Card {
                title: "Reflection"
                visible: period.questions.length > 0
                Repeater {
                    model: period.questions
                    ColumnLayout {
                        required property var modelData
                        Layout.fillWidth: true
                        Label { text: modelData.question; wrapMode: Text.Wrap; Layout.fillWidth: true }
                        TextField {
                            Layout.fillWidth: true
                            text: modelData.answer
                            Accessible.name: modelData.question
                            onEditingFinished: if (text !== modelData.answer) period.setAnswer(modelData.key, text)
                        }
                    }
                }
            }

            Card {
                title: "Outcome tree"
                visible: period.tree.length > 0
                Repeater {
                    model: period.tree
                    Label {
                        required property var modelData
                        Layout.leftMargin: modelData.depth * 22
                        text: (modelData.task ? "▸ " : modelData.state === "done" ? "● " : modelData.state === "blocked" ? "⊘ " : "○ ") + modelData.title
                        color: modelData.depth === 0 ? window.textColor : window.subtle
                    }
                }
            }
        }

        Card {
            title: period.calendarTitle
            Layout.alignment: Qt.AlignTop
            Layout.topMargin: 20
            Layout.preferredWidth: 290 * window.scale
            Layout.maximumWidth: 290 * window.scale
            Layout.fillWidth: false
            GridLayout {
                columns: 7
                columnSpacing: 2
                rowSpacing: 2
                Repeater {
                    model: period.weekdayLabels
                    Label { required property string modelData; text: modelData; color: window.subtle; horizontalAlignment: Text.AlignHCenter; Layout.preferredWidth: 36 * window.scale }
                }
                Repeater {
                    model: period.calendar
                    Rectangle {
                        required property var modelData
                        Layout.preferredWidth: 36 * window.scale
                        Layout.preferredHeight: 30 * window.scale
                        radius: 6
                        color: modelData.selected ? window.accent : modelData.today ? Qt.rgba(0.5, 0.5, 0.5, 0.2) : "transparent"
                        Accessible.role: Accessible.Button
                        Accessible.name: "Open " + modelData.date
                        Label {
                            anchors.centerIn: parent
                            text: modelData.day
                            font.bold: modelData.hasPage
                            color: modelData.selected ? "#ffffff" : modelData.inMonth ? window.textColor : window.subtle
                        }
                        MouseArea { anchors.fill: parent; onClicked: period.open(modelData.date) }
                    }
                }
            }
        }
    }
}
