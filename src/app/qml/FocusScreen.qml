// Focus: a ring counting down, the subject and length, start / hold / resume / stop, the sound.
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

Item {
    id: root
    ColumnLayout {
        anchors.centerIn: parent
        spacing: 16
        width: Math.min(parent.width - 48, 520)

        Canvas {
            id: ring
            objectName: "focusRing"
            Layout.alignment: Qt.AlignHCenter
            width: 260 * window.scale
            height: width
            property real fraction: focusTimer.fraction
            property color track: window.line
            property color fill: window.accent
            onFractionChanged: requestPaint()
            onFillChanged: requestPaint()
            onTrackChanged: requestPaint()
            onPaint: {
                var ctx = getContext("2d")
                ctx.reset()
                var r = width / 2 - 12
                ctx.lineWidth = 14
                ctx.lineCap = "round"
                ctx.strokeStyle = track
                ctx.beginPath(); ctx.arc(width / 2, height / 2, r, 0, 2 * Math.PI); ctx.stroke()
                if (fraction > 0) {
                    ctx.strokeStyle = fill
                    ctx.beginPath()
                    ctx.arc(width / 2, height / 2, r, -Math.PI / 2, -Math.PI / 2 + 2 * Math.PI * fraction)
                    ctx.stroke()
                }
            }
            Column {
                anchors.centerIn: parent
                Label {
                    objectName: "focusClock"
                    anchors.horizontalCenter: parent.horizontalCenter
                    text: focusTimer.clockText
                    font.pixelSize: window.baseSize * 3
                    font.family: "monospace"
                }
                Label {
                    anchors.horizontalCenter: parent.horizontalCenter
                    text: focusTimer.phase === "idle" ? "ready" : focusTimer.phase === "paused" ? "on hold" : focusTimer.phase
                    color: window.subtle
                }
            }
        }

        RowLayout {
            Layout.fillWidth: true
            TextField {
                objectName: "focusSubject"
                Layout.fillWidth: true
                placeholderText: "What are you focusing on?"
                text: focusTimer.subject
                enabled: focusTimer.phase === "idle"
                Accessible.name: "Focus subject"
                onTextEdited: focusTimer.subject = text
            }
            SpinBox {
                objectName: "focusMinutes"
                from: 1; to: 120
                value: focusTimer.minutes
                editable: true
                enabled: focusTimer.phase === "idle"
                Accessible.name: "Session length in minutes"
                onValueModified: focusTimer.minutes = value
            }
            Label { text: "min"; color: window.subtle }
        }

        RowLayout {
            Layout.alignment: Qt.AlignHCenter
            Button {
                objectName: "focusStart"
                text: focusTimer.phase === "idle" ? "Start" : focusTimer.phase === "running" ? "Hold" : "Resume"
                highlighted: true
                Accessible.name: text + " focus (" + settings.focusToggleKey + ")"
                onClicked: focusTimer.toggle()
            }
            Button {
                objectName: "focusStop"
                text: "Stop"
                enabled: focusTimer.phase !== "idle"
                Accessible.name: "Stop the focus session"
                onClicked: focusTimer.stop()
            }
        }

        RowLayout {
            Layout.fillWidth: true
            Label { text: "Sound" }
            ComboBox {
                objectName: "focusSound"
                model: ["off", "tock", "noise"]
                currentIndex: Math.max(0, model.indexOf(settings.sound))
                Accessible.name: "Ticking sound"
                onActivated: function (index) { settings.set("sound", model[index]) }
            }
            Label { text: "Volume" }
            Slider {
                objectName: "focusVolume"
                Layout.fillWidth: true
                from: 0; to: 1
                value: settings.volume
                Accessible.name: "Sound volume"
                onMoved: settings.set("volume", value)
            }
        }
        Label {
            Layout.alignment: Qt.AlignHCenter
            text: focusTimer.todayMinutes + " minutes focused today" + (focusTimer.owner ? "" : " · timer of another process")
            color: window.subtle
        }
    }
}
