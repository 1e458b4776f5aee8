#include "player/CMediaPlayerToolbar.h"

#include <QAction>

#include "controls/CSliderCtrlEx.h"
#include "player/CMediaPlayerCtrl.h"
#include "player/CMediaPlayerWnd.h"
#include "player/PlayerIcons.h"

namespace {

struct Button
{
    int id;
    PlayerIcon icon;
    const char* tip;
};

const Button kButtons[] = {
    {kCommandPrevious, PlayerIcon::Previous, "Previous"},
    {kCommandPlay, PlayerIcon::Play, "Play"},
    {kCommandPause, PlayerIcon::Pause, "Pause"},
    {kCommandStop, PlayerIcon::Stop, "Stop"},
    {kCommandNext, PlayerIcon::Next, "Next"},
    {kCommandVisualization, PlayerIcon::Visualization, "Visualization"},
};

} // namespace

CMediaPlayerToolbar::CMediaPlayerToolbar(CMediaPlayerWnd* parent) : QToolBar(parent), m_pPlayerWnd(parent)
{
    setObjectName(QStringLiteral("CMediaPlayerToolbar"));
    setProperty("dlgCtrlId", kControlId);
    setIconSize(QSize(20, 20));
    setToolButtonStyle(Qt::ToolButtonIconOnly);
    setMovable(false);
    for (const Button& button : kButtons) {
        QAction* action = addAction(MakePlayerIcon(button.icon), QString());
        action->setData(button.id);
        action->setToolTip(QString::fromLatin1(button.tip));
        action->setObjectName(QStringLiteral("command%1").arg(button.id));
        connect(action, &QAction::triggered, this, [this, id = button.id] { m_pPlayerWnd->OnCommand(id); });
    }
    addSeparator();
}

QAction* CMediaPlayerToolbar::CommandAction(int id) const
{
    for (QAction* action : actions())
        if (action->data().toInt() == id)
            return action;
    return nullptr;
}

void CMediaPlayerToolbar::ConnectSliders(CSliderCtrlEx* trackbar, CSliderCtrlEx* volumebar)
{
    connect(trackbar, &CSliderCtrlEx::Scroll, this, [this](unsigned code, unsigned position) {
        if (m_pPlayerWnd->m_pPlayerCtrl)
            m_pPlayerWnd->m_pPlayerCtrl->ProcessTrackbar(code, position);
    });
    connect(volumebar, &CSliderCtrlEx::Scroll, this, [this](unsigned code, unsigned position) {
        if (m_pPlayerWnd->m_pPlayerCtrl)
            m_pPlayerWnd->m_pPlayerCtrl->ProcessVolumeBar(code, position);
    });
}
