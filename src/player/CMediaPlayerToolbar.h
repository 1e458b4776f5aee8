#pragma once
// The transport toolbar: previous, play, pause, stop, next and visualization on/off (command ids 1-6,
// images 0-5), then a separator. Created hidden in the companion window (control id 4660); the host
// decides where to show it. It also forwards the two sliders' notifications to the control.
//
// Threading: GUI thread only.

#include <QToolBar>

#include "tunivox_export.h"

class CSliderCtrlEx;

// The companion window's command ids: the toolbar's buttons send 1-6; 7 (clear the list) has no button.
enum PlayerCommandId : int {
    kCommandPrevious = 1,
    kCommandPlay = 2,
    kCommandPause = 3,
    kCommandStop = 4,
    kCommandNext = 5,
    kCommandVisualization = 6,
    kCommandClearList = 7,
};
class CMediaPlayerWnd;

class TUNIVOX_EXPORT CMediaPlayerToolbar : public QToolBar
{
    Q_OBJECT

public:
    static constexpr int kControlId = 4660;

    explicit CMediaPlayerToolbar(CMediaPlayerWnd* parent);

    // The action that sends command `id` (kCommandPrevious..kCommandVisualization), or null.
    QAction* CommandAction(int id) const;
    void ConnectSliders(CSliderCtrlEx* trackbar, CSliderCtrlEx* volumebar);

private:
    CMediaPlayerWnd* m_pPlayerWnd;
};
