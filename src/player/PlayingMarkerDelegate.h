#pragma once
// Draws the playing entry of a player control bold with a play symbol, while the control's
// selection is the user's (SetSelectionFollowsPlaying(0)). The mark is drawn from the control's
// playing entry at paint time, so it survives the list box re-creating its items after a drag or
// a Delete.
//
// Threading: GUI thread only.

#include <QStyledItemDelegate>

class CMediaPlayerCtrl;

class CPlayingMarkerDelegate : public QStyledItemDelegate
{
public:
    explicit CPlayingMarkerDelegate(CMediaPlayerCtrl* control);

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override;

private:
    CMediaPlayerCtrl* m_pControl;
};
