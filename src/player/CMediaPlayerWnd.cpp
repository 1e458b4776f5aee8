#include "player/CMediaPlayerWnd.h"

#include <QResizeEvent>

#include "player/CMediaPlayerCtrl.h"

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
    case 1: ctrl->Prev(); break;
    case 2: ctrl->Play(); break;
    case 3: ctrl->Pause(); break;
    case 4: ctrl->Stop(); break;
    case 5: ctrl->Next(); break;
    case 6: ctrl->Refresh(1); break;
    case 7: ctrl->ClearPlayList(); break;
    default: break;
    }
}
