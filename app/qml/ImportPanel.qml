// The file panel of "Import Photos and Videos…": photos and videos, several
// at once.
import QtQuick
import QtQuick.Dialogs
import Brindlemoor

FileDialog {
    title: "Import Photos and Videos"
    fileMode: FileDialog.OpenFiles
    acceptLabel: "Add to Brindlemoor"
    nameFilters: ["Photos and videos (*.jpg *.jpeg *.png *.gif *.webp *.heic *.heif *.tif *.tiff *.bmp *.avif *.mp4 *.mov *.m4v *.webm *.mkv *.avi)"]
    onAccepted: App.importFiles(selectedFiles)
}
