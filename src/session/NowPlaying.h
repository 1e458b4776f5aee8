#pragma once
// What is known of the playing song, read once when it starts: its tag record, its cover and its
// time-stamped lyrics, from one read-only open of the file. The control, the desktop's media
// controls and the host all take it from here instead of reading the song again each.
//
// Threading: CNowPlaying lives on the GUI thread. ReadLater reads on a worker thread of the global
// pool and hands the record back through a queued signal; a record for a song that is no longer the
// one asked for is dropped. ReadNow reads on the calling thread (a retag the host asked to be
// followed at once). ReadNowPlayingSong is a pure function of the file, callable on any thread.

#include <QByteArray>
#include <QFutureWatcher>
#include <QMetaType>
#include <QObject>
#include <QString>

#include "song/CMp3Song.h"
#include "song/SyncedLyrics.h"

struct CNowPlayingSong
{
    QString strPath;
    CMp3Song song;      // the tag record, as CId3Tag::ReadTag gives it
    QByteArray cover;   // the front cover, else the first "other" picture (MP4: the first cover)
    CSyncedLyrics synced;
};
Q_DECLARE_METATYPE(CNowPlayingSong)

// Reads the record of `path` through one open of the file. `scratchFolder` (private, ending in a
// separator) takes the cover for a moment while it is copied out; empty: no cover.
CNowPlayingSong ReadNowPlayingSong(const QString& path, const QString& scratchFolder);

class CNowPlaying : public QObject
{
    Q_OBJECT

public:
    explicit CNowPlaying(QObject* parent = nullptr);
    ~CNowPlaying() override;

    void SetScratchFolder(const QString& folder) { m_strScratchFolder = folder; }
    void ReadNow(const QString& path);
    void ReadLater(const QString& path);
    // Nothing plays: the record empties and a read under way is dropped.
    void Clear();
    // The last record read, for readers that come later.
    const CNowPlayingSong& Current() const { return m_current; }
    // The song the last read was asked for (its record may still be on its way).
    QString AskedPath() const { return m_strAsked; }

signals:
    void songRead(const CNowPlayingSong& song);

private:
    void Deliver(const CNowPlayingSong& song);

    QString m_strScratchFolder;
    QString m_strAsked;
    CNowPlayingSong m_current;
    QFutureWatcher<CNowPlayingSong>* m_pWatcher = nullptr; // the read under way, if any
};
