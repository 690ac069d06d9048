// A titled panel of a screen.
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

Rectangle {
    id: card
    property string title
    default property alias content: body.data
    Layout.fillWidth: true
    implicitHeight: column.implicitHeight + 24
    color: window.surface
    radius: 8
    border.color: window.line
    ColumnLayout {
        id: column
        anchors.fill: parent
        anchors.margins: 12
        spacing: 6
        Label {
            visible: card.title !== ""
            text: card.title
            font.bold: true
            color: window.subtle
            font.pixelSize: window.baseSize * 0.85
            font.capitalization: Font.AllUppercase
        }
        ColumnLayout {
            id: body
            Layout.fillWidth: true
            spacing: 4
        }
    }
}
