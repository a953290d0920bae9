// CaptureList shows a list of captures to QML, one row each with named
// roles. It is replaced whole: the model re-reads the store on every change
// and lists are short (at most 500), so a reset is cheaper than a diff.
//
// Threads: the GUI thread.
#pragma once

#include <QAbstractListModel>
#include <vector>

#include "core/model/capture.h"

namespace brindlemoor {

class CaptureList : public QAbstractListModel {
  Q_OBJECT
  Q_PROPERTY(int count READ count NOTIFY countChanged)

 public:
  enum Role {
    IdRole = Qt::UserRole + 1,
    TitleRole,
    AppRole,
    WindowTitleRole,
    MediaRole,
    ThumbnailRole,
    NoteRole,
    FavoriteRole,
    WhenRole,
    StageRole,
  };

  using QAbstractListModel::QAbstractListModel;

  void set(std::vector<Capture> captures);
  const std::vector<Capture>& captures() const { return m_captures; }
  int count() const { return static_cast<int>(m_captures.size()); }

  int rowCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QHash<int, QByteArray> roleNames() const override;

 Q_SIGNALS:
  void countChanged();

 private:
  std::vector<Capture> m_captures;
};

}  // namespace brindlemoor
