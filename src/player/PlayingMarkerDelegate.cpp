#include "player/PlayingMarkerDelegate.h"

#include <QStyle>

#include "player/CMediaPlayerCtrl.h"

CPlayingMarkerDelegate::CPlayingMarkerDelegate(CMediaPlayerCtrl* control)
    : QStyledItemDelegate(control), m_pControl(control)
{
}

void CPlayingMarkerDelegate::initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const
{
    QStyledItemDelegate::initStyleOption(option, index);
    if (m_pControl->IsSelectionFollowingPlaying() || index.row() != m_pControl->GetPlayingRow())
        return;
    option->font.setBold(true);
    option->features |= QStyleOptionViewItem::HasDecoration;
    option->icon = m_pControl->style()->standardIcon(QStyle::SP_MediaPlay);
    option->decorationSize = QSize(option->fontMetrics.height(), option->fontMetrics.height());
}
