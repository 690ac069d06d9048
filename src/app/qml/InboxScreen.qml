// The inbox: a capture field that shows what it reads while typing, then the lists with
// overdue and today's items on top.
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

ScrollView {
    id: root
    contentWidth: availableWidth
    function focusCapture() { captureField.forceActiveFocus() }
    property var reading: inbox.preview(captureField.text)
    property int selected: -1

    ColumnLayout {
        width: root.availableWidth - 48
        x: 24
        spacing: 14

        Label { Layout.topMargin: 20; text: "Inbox"; font.pixelSize: window.baseSize * 1.7; font.bold: true }

        Card {
            TextField {
                id: captureField
                objectName: "captureField"
                Layout.fillWidth: true
                placeholderText: "Capture: call mum friday 6pm, water plants every week…"
                Accessible.name: "Capture a new inbox item"
                onAccepted: if (inbox.capture(text)) text = ""
            }
            RowLayout {
                objectName: "capturePreview"
                visible: captureField.text !== ""
                spacing: 8
                Label { text: root.reading.text; font.bold: true }
                Label { objectName: "previewDay"; visible: root.reading.day !== ""; text: "due " + root.reading.day; color: window.accent }
                Label { objectName: "previewTime"; visible: root.reading.time !== ""; text: "at " + root.reading.time; color: window.accent }
                Label { objectName: "previewRepeat"; visible: root.reading.repeat !== ""; text: "repeats " + root.reading.repeat; color: window.accent }
            }
        }
        Label {
            visible: inbox.error !== ""
            text: inbox.error
            color: "#d94848"
            wrapMode: Text.Wrap
            Layout.fillWidth: true
        }
        Label {
            visible: inbox.sections.length === 0
            text: "The inbox is empty."
            color: window.subtle
        }

        Repeater {
            model: inbox.sections
            Card {
                required property var modelData
                title: modelData.title
                Repeater {
                    model: modelData.items
                    RowLayout {
                        required property var modelData
                        Layout.fillWidth: true
                        CheckBox {
                            Accessible.name: "Done: " + modelData.text
                            onClicked: inbox.setDone(modelData.number, true)
                        }
                        Label { text: modelData.text; Layout.fillWidth: true; elide: Text.ElideRight }
                        Label {
                            text: [modelData.due, modelData.time, modelData.repeat ? "↻ " + modelData.repeat : ""]
                                  .filter(function (s) { return s !== "" }).join("  ")
                            color: window.subtle
                        }
                        ComboBox {
                            Layout.preferredWidth: 150 * window.scale
                            model: ["Pull to today…", "Pull, no outcome", "Pull, serves 1", "Pull, serves 2", "Pull, serves 3"]
                            Accessible.name: "Pull " + modelData.text + " into today"
                            onActivated: function (index) { if (index > 0) inbox.pull(modelData.number, index - 1); currentIndex = 0 }
                        }
                        ComboBox {
                            Layout.preferredWidth: 130 * window.scale
                            model: ["Hide until…", "tomorrow", "monday", "next week"]
                            Accessible.name: "Hide " + modelData.text + " until a day"
                            onActivated: function (index) {
                                if (index > 0) inbox.hideUntil(modelData.number, index === 3 ? "next monday" : model[index])
                                currentIndex = 0
                            }
                        }
                        Button { flat: true; text: "✕"; Accessible.name: "Delete " + modelData.text; onClicked: inbox.remove(modelData.number) }
                    }
                }
            }
        }
        Button {
            objectName: "undoButton"
            text: "Undo (Ctrl+Z)"
            enabled: inbox.canUndo
            Accessible.name: "Undo the last change"
            onClicked: inbox.undo()
        }
        Item { Layout.preferredHeight: 20 }
    }
}
