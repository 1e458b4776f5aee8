#pragma once
// The companion window that takes the playlist's place in the host window: it holds the list box,
// the toolbar and the sliders, and carries out the toolbar's commands on the owning control.
//
// Commands: 1 Prev, 2 Play, 3 Pause (toggle), 4 Stop, 5 Next, 6 Refresh(1) (visualization on/off
// with the playing song as title), 7 ClearPlayList (no button). Other ids do nothing.
//
// Threading: GUI thread only.

#include <QWidget>

#include "controls/PlaylistArrays.h"
#include "tunivox_export.h"

class CMediaPlayerCtrl;

class TUNIVOX_EXPORT CMediaPlayerWnd : public QWidget, public IPlaylistArraysHost
{
    Q_OBJECT

public:
    explicit CMediaPlayerWnd(QWidget* parent);
    ~CMediaPlayerWnd() override;

    // Makes `list` this window's child, filling it.
    void AdoptList(QWidget* list);
    void OnCommand(int id);
    IPlaylistArrays* GetPlaylistArrays() override;

    CMediaPlayerCtrl* m_pPlayerCtrl = nullptr;

protected:
    void resizeEvent(QResizeEvent* e) override;

private:
    QWidget* m_pList = nullptr;
};
