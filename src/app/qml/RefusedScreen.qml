// Saves the vault refused because the page changed elsewhere: both texts side by side, keep
// either, or merge them and edit the result.
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

ScrollView {
    id: root
    contentWidth: availableWidth
    ColumnLayout {
        width: root.availableWidth - 48
        x: 24
        spacing: 12
        Label { Layout.topMargin: 20; text: "Refused saves"; font.pixelSize: window.baseSize * 1.7; font.bold: true }
        Label { visible: refused.entries.length === 0; text: "Nothing was refused: every change is on disk."; color: window.subtle }
        Label { visible: refused.error !== ""; text: refused.error; color: "#d94848"; wrapMode: Text.Wrap; Layout.fillWidth: true }
        Repeater {
            model: refused.entries
            Card {
                id: entry
                required property var modelData
                title: modelData.file + " — " + modelData.reason
                // The choices first: the texts below can be pages long.
                RowLayout {
                    Button { objectName: "refusedKeepMine"; text: "Keep mine"; Accessible.name: "Keep your text"; onClicked: refused.keepMine(entry.modelData.number) }
                    Button { objectName: "refusedKeepDisk"; text: "Keep disk"; Accessible.name: "Keep the text on disk"; onClicked: refused.keepTheirs(entry.modelData.number) }
                    Button { objectName: "refusedMerge"; text: "Merge…"; Accessible.name: "Merge both texts"; onClicked: mergeArea.text = refused.merged(entry.modelData.number) }
                    Button { objectName: "refusedSaveMerge"; text: "Save merge"; visible: mergeArea.text !== ""; Accessible.name: "Save the merged text"; onClicked: refused.saveMerged(entry.modelData.number, mergeArea.text) }
                }
                TextArea {
                    id: mergeArea
                    objectName: "refusedMergeText"
                    visible: text !== ""
                    Layout.fillWidth: true
                    Accessible.name: "Merged text to edit"
                }
                RowLayout {
                    Layout.fillWidth: true
                    ColumnLayout {
                        Layout.fillWidth: true
                        Layout.preferredWidth: 1
                        Label { text: "Your text"; font.bold: true }
                        TextArea { objectName: "refusedMine"; Layout.fillWidth: true; readOnly: true; text: entry.modelData.mine; Accessible.name: "Your refused text" }
                    }
                    ColumnLayout {
                        Layout.fillWidth: true
                        Layout.preferredWidth: 1
                        Label { text: "On disk now"; font.bold: true }
                        TextArea { objectName: "refusedTheirs"; Layout.fillWidth: true; readOnly: true; text: entry.modelData.theirs; Accessible.name: "The page on disk" }
                    }
                }
            }
        }
    }
}
