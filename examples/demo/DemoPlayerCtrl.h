#pragma once
// The demo's player control. The library leaves the list's N and B keys (PlayNext, PlayPrevius)
// without a body; a host may give them one, and the demo does: next and previous song.

#include "player/CMediaPlayerCtrl.h"

class DemoPlayerCtrl final : public CMediaPlayerCtrl
{
public:
    using CMediaPlayerCtrl::CMediaPlayerCtrl;
    void PlayNext() override { Next(); }
    void PlayPrevius() override { Prev(); }
};
