#include "app/model/capture_list.h"

#include "core/presentation/wording.h"

namespace brindlemoor {

void CaptureList::set(std::vector<Capture> captures) {
  const bool counted = captures.size() != m_captures.size();
  beginResetModel();
  m_captures = std::move(captures);
  endResetModel();
  if (counted) Q_EMIT countChanged();
}

int CaptureList::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : count();
}

QVariant CaptureList::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || index.row() >= count()) return {};
  const Capture& capture = m_captures[static_cast<std::size_t>(index.row())];
  const auto text = [](std::string_view s) { return QString::fromUtf8(s.data(), s.size()); };
  switch (role) {
    case IdRole:
      return text(capture.id);
    case TitleRole:
      return text(capture.displayTitle());
    case AppRole:
      return text(capture.app);
    case WindowTitleRole:
      return text(capture.windowTitle);
    case MediaRole:
      return text(capture.media.raw());
    case ThumbnailRole:
      return QStringLiteral("image://thumbs/") + text(capture.id);
    case NoteRole:
      return text(capture.note.value_or(""));
    case FavoriteRole:
      return capture.favorite;
    case WhenRole:
      return text(Wording::shortRelative(capture.createdAt, now()));
    case StageRole:
      return text(capture.stage.raw());
    default:
      return {};
  }
}

QHash<int, QByteArray> CaptureList::roleNames() const {
  return {{IdRole, "captureID"},     {TitleRole, "title"},      {AppRole, "app"},
          {WindowTitleRole, "windowTitle"}, {MediaRole, "media"}, {ThumbnailRole, "thumbnail"},
          {NoteRole, "note"},        {FavoriteRole, "favorite"}, {WhenRole, "when"},
          {StageRole, "stage"}};
}

}  // namespace brindlemoor
