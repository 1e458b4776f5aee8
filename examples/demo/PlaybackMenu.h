#pragma once
// The demo host's "Playback" menu: ReplayGain mode, clipping prevention, pre-amp and the gain of
// files without values, and the output device, all applied to the player control at once (the
// control remembers them for the next session).

#include <QMenu>

class CMediaPlayerCtrl;

class PlaybackMenu : public QMenu
{
    Q_OBJECT

public:
    PlaybackMenu(CMediaPlayerCtrl* player, QWidget* parent);
    // Sends the sound to the ALSA device `name` and says what happened. Through the null device
    // (--device null) nothing goes to a device: the choice is refused, not stored.
    QString ChooseDevice(const QString& name);

signals:
    // A choice was applied (for the now-playing panel) or refused (for the status bar).
    void replayGainChanged();
    void message(const QString& text);

private:
    void Rebuild(bool bDevices);

    CMediaPlayerCtrl* m_player;
};
