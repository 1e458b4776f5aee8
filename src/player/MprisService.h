#pragma once
// Media keys and the desktop's media controls for a player control: the MPRIS 2 interfaces
// org.mpris.MediaPlayer2 and org.mpris.MediaPlayer2.Player on the session bus, object path
// /org/mpris/MediaPlayer2. Off unless a host attaches it:
//
//     MprisService::Attach(player);   // owned by the control, gone with it
//
// What the desktop asks maps onto the control's own operations: PlayPause, Play and Pause onto
// Play/Pause (Pause resumes a paused song), Stop onto Stop, Next and Previous onto Next and Prev,
// Seek and SetPosition onto the position (while a song plays), Volume onto SetVolume/GetVolume,
// LoopStatus onto repeat ("None", or "Playlist"; "Track" is taken as "Playlist") and Shuffle onto
// shuffle. Metadata carries the playing song's title, artist, album, length, file URL, cover (a
// copy of its embedded picture in the private temporary folder) and a track id made from its
// path. Changes, whoever made them (the list's keys, the toolbar, the host), are announced with
// PropertiesChanged as soon as the control tells them (songStarted, transportChanged, the list's
// rows); position jumps with Seeked (the control's seeked). Nothing is polled: the position is read
// from the engine only when the desktop asks for it.
//
// Threading: GUI thread only; D-Bus calls arrive through the GUI thread's event loop. Reading the
// position takes the engine's lock as the control's own progress timer does.

#include <QObject>
#include <QPointer>
#include <QString>
#include <QTimer>
#include <QVariantMap>

#include "tunivox_export.h"

class CMediaPlayerCtrl;
class MprisPlayerAdaptor;

class TUNIVOX_EXPORT MprisService : public QObject
{
    Q_OBJECT
public:
    // Puts `player` on the session bus as "org.mpris.MediaPlayer2.<name>" (default "tunivox"; when
    // that is taken, "<name>.instance<pid>"). Null, with the reason in `error`, when there is no
    // session bus or the name cannot be had; the control plays on as before either way.
    static MprisService* Attach(CMediaPlayerCtrl* player, const QString& name = QString(), QString* error = nullptr);
    ~MprisService() override;

    QString BusName() const { return m_strBusName; }

    // org.mpris.MediaPlayer2.Player, as the adaptor calls it.
    void PlayPause();
    void Play();
    void Pause();
    void Stop();
    void Next();
    void Previous();
    void Seek(qlonglong offsetUs);
    void SetPosition(const QString& trackId, qlonglong positionUs);
    QString PlaybackStatus() const;
    QString LoopStatus() const;
    void SetLoopStatus(const QString& status);
    bool Shuffle() const;
    void SetShuffle(bool on);
    double Volume() const;
    void SetVolume(double volume);
    qlonglong Position() const;
    QVariantMap Metadata() const { return m_metadata; }
    bool CanGoNext() const;
    bool CanPlay() const { return CanGoNext(); }
    bool CanSeek() const;
    // org.mpris.MediaPlayer2.
    void Raise();
    QString Identity() const;

signals:
    // Repeat or shuffle was switched from the desktop (a host updates its own buttons).
    void repeatChanged(bool on);
    void shuffleChanged(bool on);

private:
    MprisService(CMediaPlayerCtrl* player, const QString& busName);
    // Re-reads the control's state and announces what changed since the last time.
    void Update();
    void ReadSong(const QString& path);
    QString CurrentPath() const;
    QString TrackId() const;
    qlonglong LengthUs() const;
    QVariantMap Snapshot() const;

    QPointer<CMediaPlayerCtrl> m_pPlayer;
    MprisPlayerAdaptor* m_pAdaptor = nullptr; // a child
    QString m_strBusName;
    QTimer m_update; // one Update for a burst of changes
    QString m_strSongPath;  // the song Metadata describes
    QString m_strCoverPath; // its picture copy, removed when the song changes
    int m_nCoverNumber = 0;
    QVariantMap m_metadata;
    QVariantMap m_announced; // the properties as last announced
};
