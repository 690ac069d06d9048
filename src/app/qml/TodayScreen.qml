// Today: the three outcomes, carry-over, the checklist, pulled items, the journal timeline,
// "for tomorrow" and the day's focused minutes.
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

ScrollView {
    id: root
    contentWidth: availableWidth
    function focusJournal() { journalField.forceActiveFocus() }

    ColumnLayout {
        width: root.availableWidth - 48
        x: 24
        spacing: 14

        RowLayout {
            Layout.topMargin: 20
            Layout.fillWidth: true
            Label {
                text: today.title
                font.pixelSize: window.baseSize * 1.7
                font.bold: true
                Layout.fillWidth: true
            }
            Label {
                objectName: "todayMinutes"
                text: today.focusMinutes + " min focused"
                color: window.subtle
            }
        }
        Label {
            visible: today.prompt !== ""
            text: today.prompt
            color: window.subtle
            wrapMode: Text.Wrap
            Layout.fillWidth: true
        }
        Label {
            objectName: "todayError"
            visible: today.error !== ""
            text: today.error
            color: "#d94848"
            wrapMode: Text.Wrap
            Layout.fillWidth: true
        }

        Card {
            title: "Carry over from " + (today.carryOffers.length > 0 ? today.carryOffers[0].from : "")
            visible: today.carryOffers.length > 0
            Repeater {
                model: today.carryOffers
                Label { required property var modelData; text: "• " + modelData.text; Layout.fillWidth: true; wrapMode: Text.Wrap }
            }
            RowLayout {
                Button { objectName: "carryAll"; text: "Carry all"; Accessible.name: "Carry all unfinished items into today"; onClicked: today.carryAll() }
                Button { text: "Not now"; Accessible.name: "Leave yesterday's items"; onClicked: today.dismissCarry() }
            }
        }

        Card {
            title: "Outcomes"
            Repeater {
                model: today.outcomes
                RowLayout {
                    required property var modelData
                    Layout.fillWidth: true
                    CheckBox {
                        objectName: "outcomeTick" + modelData.slot
                        checked: modelData.state === "done"
                        enabled: modelData.text !== "" && !today.readOnly
                        Accessible.name: "Outcome " + modelData.slot + " done"
                        onClicked: today.toggleOutcome(modelData.slot)
                    }
                    TextField {
                        objectName: "outcome" + modelData.slot
                        Layout.fillWidth: true
                        text: modelData.text
                        readOnly: today.readOnly
                        placeholderText: "Outcome " + modelData.slot
                        font.strikeout: modelData.state === "done"
                        color: modelData.state === "blocked" ? window.subtle : window.textColor
                        Accessible.name: "Outcome " + modelData.slot
                        onEditingFinished: today.setOutcome(modelData.slot, text)
                    }
                    ComboBox {
                        objectName: "serves" + modelData.slot
                        Layout.preferredWidth: 190 * window.scale
                        model: ["Serves nothing"].concat(today.weekOutcomes.map(function (w) {
                            return "Week " + w.slot + (w.text ? ": " + w.text : "") }))
                        currentIndex: modelData.serves
                        enabled: modelData.text !== ""
                        Accessible.name: "Week outcome that outcome " + modelData.slot + " serves"
                        onActivated: function (index) { today.setServes(modelData.slot, index) }
                    }
                    Button {
                        text: modelData.state === "blocked" ? "Unblock" : "Block"
                        enabled: modelData.text !== ""
                        flat: true
                        Accessible.name: (modelData.state === "blocked" ? "Unblock" : "Block") + " outcome " + modelData.slot
                        onClicked: today.toggleBlocked(modelData.slot)
                    }
                }
            }
        }

        RowLayout {
            Layout.fillWidth: true
            spacing: 14
            Card {
                title: "Checklist"
                Layout.alignment: Qt.AlignTop
                Layout.preferredWidth: 1
                Repeater {
                    model: today.checklist
                    CheckBox {
                        required property var modelData
                        text: modelData.text
                        checked: modelData.done
                        Accessible.name: "Checklist item " + modelData.text
                        onClicked: today.setChecklistDone(modelData.number, checked)
                    }
                }
                TextField {
                    objectName: "checklistField"
                    Layout.fillWidth: true
                    placeholderText: "Add to the checklist"
                    Accessible.name: "New checklist item"
                    onAccepted: if (today.addChecklistItem(text)) text = ""
                }
            }
            Card {
                title: "Pulled from the inbox"
                Layout.alignment: Qt.AlignTop
                Layout.preferredWidth: 1
                Label { visible: today.pulled.length === 0; text: "Nothing pulled yet"; color: window.subtle }
                Repeater {
                    model: today.pulled
                    RowLayout {
                        required property var modelData
                        CheckBox {
                            text: modelData.text + (modelData.time ? "  " + modelData.time : "")
                            checked: modelData.done
                            Accessible.name: "Pulled item " + modelData.text
                            onClicked: today.setPulledDone(modelData.id, checked)
                        }
                        Button { flat: true; text: "↩"; Accessible.name: "Send back to the inbox"; onClicked: today.sendBack(modelData.id) }
                    }
                }
            }
        }

        Card {
            title: "Journal"
            Repeater {
                model: today.journal
                RowLayout {
                    required property var modelData
                    Layout.fillWidth: true
                    spacing: 10
                    Label { text: modelData.time; color: window.accent; font.family: "monospace"; Layout.alignment: Qt.AlignTop }
                    Rectangle { width: 2; Layout.fillHeight: true; color: window.line }
                    Label { text: modelData.text; wrapMode: Text.Wrap; Layout.fillWidth: true }
                }
            }
            TextField {
                id: journalField
                objectName: "journalField"
                Layout.fillWidth: true
                placeholderText: "Write a line at the current time"
                Accessible.name: "New journal line"
                onAccepted: if (today.addJournal(text)) text = ""
            }
        }

        Card {
            title: "For tomorrow"
            Repeater {
                model: today.forTomorrow
                Label { required property var modelData; text: "• " + modelData.text }
            }
            TextField {
                objectName: "tomorrowField"
                Layout.fillWidth: true
                placeholderText: "Set something aside for tomorrow"
                Accessible.name: "New item for tomorrow"
                onAccepted: if (today.addForTomorrow(text)) text = ""
            }
        }

        Card {
            title: "Offers"
            visible: today.offers.length > 0
            Repeater {
                model: today.offers
                Button {
                    required property var modelData
                    flat: true
                    text: modelData.text
                    Accessible.name: modelData.text
                    onClicked: { period.open(modelData.page); app.screen = "period" }
                }
            }
        }
        Item { Layout.preferredHeight: 20 }
    }
}
