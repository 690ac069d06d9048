// Search: results as you type, grouped by page; a result opens its page.
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

ScrollView {
    id: root
    contentWidth: availableWidth
    function focusField() { field.forceActiveFocus() }
    ColumnLayout {
        width: root.availableWidth - 48
        x: 24
        spacing: 12
        Label { Layout.topMargin: 20; text: "Search"; font.pixelSize: window.baseSize * 1.7; font.bold: true }
        TextField {
            id: field
            objectName: "searchField"
            Layout.fillWidth: true
            placeholderText: "Search every page"
            Accessible.name: "Search query"
            text: search.query
            onTextEdited: search.query = text
        }
        Label {
            visible: search.query !== "" && search.error === ""
            text: search.busy ? (search.progress !== "" ? search.progress : "Searching…")
                              : search.count + (search.count === 1 ? " line" : " lines")
            color: window.subtle
        }
        Label {
            objectName: "searchError"
            visible: search.error !== ""
            text: search.error
            color: "#d94848"
            wrapMode: Text.Wrap
            Layout.fillWidth: true
        }
        Repeater {
            model: search.groups
            Card {
                id: group
                required property var modelData
                title: modelData.page !== "" ? modelData.page + "   " + modelData.file : modelData.file
                Repeater {
                    model: modelData.hits
                    ItemDelegate {
                        required property var modelData
                        Layout.fillWidth: true
                        text: modelData.line + "  " + modelData.text
                        Accessible.name: "Open " + modelData.text
                        onClicked: search.open(group.modelData.page, group.modelData.file)
                    }
                }
            }
        }
    }
}
