// Search: results as you type, grouped by page; a result shows its page at the line, and from
// there the page's own screen opens.
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
        Card {
            id: shown
            objectName: "shownPage"
            visible: search.shownFile !== ""
            title: search.shownFile
            RowLayout {
                Button {
                    objectName: "shownOpen"
                    text: search.shownPage !== "" ? "Open " + search.shownPage : "Open in editor"
                    Accessible.name: text
                    onClicked: search.open(search.shownPage, search.shownFile)
                }
                Button {
                    text: "Close"
                    Accessible.name: "Close the page"
                    onClicked: search.closeShown()
                }
            }
            ScrollView {
                id: shownScroll
                Layout.fillWidth: true
                Layout.preferredHeight: root.height * 0.45
                TextArea {
                    id: shownArea
                    objectName: "shownText"
                    readOnly: true
                    selectByMouse: true
                    persistentSelection: true
                    font.family: "monospace"
                    text: search.shownText
                    Accessible.name: "The page of the result"
                }
            }
            // Also when the screen is made with a page already picked (a link, a test).
            function pick() {
                if (search.shownFile === "") return
                shownArea.select(search.shownStart, search.shownEnd)
                // The picked line a third of the way down, and the page at the top of the screen.
                const y = shownArea.positionToRectangle(search.shownStart).y
                shownScroll.contentItem.contentY = Math.max(0, y - shownScroll.height / 3)
                root.contentItem.contentY = 0
            }
            Component.onCompleted: Qt.callLater(pick)
            Connections {
                target: search
                function onShownChanged() { Qt.callLater(shown.pick) }
            }
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
                        objectName: "result-" + group.modelData.file + ":" + modelData.line
                        Layout.fillWidth: true
                        text: modelData.line + "  " + modelData.text
                        Accessible.name: "Show " + modelData.text
                        onClicked: search.showLine(group.modelData.page, group.modelData.file, modelData.line)
                    }
                }
            }
        }
    }
}
