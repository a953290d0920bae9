// The file panel of "Import Photos and Videos…": photos and videos, several
// at once. Qt's own panel is drawn inside a window of ours where the
// desktop offers none.
import QtQuick
import QtQuick.Dialogs
import Brindlemoor

Window {
    id: panel
    title: "Import Photos and Videos"
    width: 760
    height: 520
    color: Theme.ground

    FileDialog {
        id: dialog
        parentWindow: panel
        title: panel.title
        fileMode: FileDialog.OpenFiles
        acceptLabel: "Add to Brindlemoor"
        nameFilters: ["Photos and videos (*.jpg *.jpeg *.png *.gif *.webp *.heic *.heif *.tif *.tiff *.bmp *.avif *.mp4 *.mov *.m4v *.webm *.mkv *.avi)"]
        onAccepted: {
            App.importFiles(selectedFiles)
            panel.close()
        }
        onRejected: panel.close()
    }

    onVisibleChanged: if (visible) dialog.open()
}
