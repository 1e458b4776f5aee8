#include "player/CMediaPlayerWnd.h"

#include <QResizeEvent>

#include "player/CMediaPlayerCtrl.h"
#include "player/CMediaPlayerToolbar.h"

CMediaPlayerWnd::CMediaPlayerWnd(QWidget* parent) : QWidget(parent) {}

CMediaPlayerWnd::~CMediaPlayerWnd()
{
    // The list box (the control) is this window's child and goes with it; tell it not to delete us.
    if (m_pPlayerCtrl)
        m_pPlayerCtrl->m_PlayerWnd = nullptr;
}

void CMediaPlayerWnd::AdoptList(QWidget* list)
{
    m_pList = list;
    list->setParent(this);
    list->setGeometry(rect());
    list->show();
}

void CMediaPlayerWnd::resizeEvent(QResizeEvent* e)
{
    QWidget::resizeEvent(e);
    if (m_pList && m_pList->parentWidget() == this)
        m_pList->setGeometry(rect());
}

IPlaylistArrays* CMediaPlayerWnd::GetPlaylistArrays() { return m_pPlayerCtrl; }

void CMediaPlayerWnd::OnCommand(int id)
{
    CMediaPlayerCtrl* ctrl = m_pPlayerCtrl;
    if (!ctrl)
        return;
    switch (id) {
    case kCommandPrevious: ctrl->Prev(); break;
    case kCommandPlay: ctrl->Play(); break;
    case kCommandPause: ctrl->Pause(); break;
    case kCommandStop: ctrl->Stop(); break;
    case kCommandNext: ctrl->Next(); break;
    case kCommandVisualization: ctrl->Refresh(1); break;
    case kCommandClearList: ctrl->ClearPlayList(); break;
    default: break;
    }
}
