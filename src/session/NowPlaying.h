#pragma once
// What is known of the playing song, read once when it starts: its tag record, its cover and its
// time-stamped lyrics, from one read-only open of the file. The control, the desktop's media
// controls and the host all take it from here instead of reading the song again each.
//
// Threading: CNowPlaying lives on the GUI thread; every call and its signal are there. ReadLater
// hands the path to the object's own reader thread (started on first use, joined by the destructor,
// which waits for at most one read); the reader leaves the record in the finished slot and writes an
// eventfd, whose QSocketNotifier wakes the GUI thread to take it. m_mutex guards the job, the
// finished slot and the quit flag; it is the only lock and never held during a read or a signal. A
// record for a song that is no longer the one asked for is dropped. ReadNow reads on the calling
// thread (a retag the host asked to be followed at once). ReadNowPlayingSong is a pure function of
// the file, callable on any thread.

#include <QByteArray>
#include <QMetaType>
#include <QObject>
#include <QString>
#include <condition_variable>
#include <mutex>
#include <thread>

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

signals:
    void songRead(const CNowPlayingSong& song);

private:
    void Deliver(const CNowPlayingSong& song);
    void ReaderLoop();
    void TakeFinished();

    QString m_strScratchFolder;
    CNowPlayingSong m_current;
    quint64 m_nTicket = 0; // the read asked for last; GUI thread only

    struct CJob
    {
        quint64 nTicket = 0;
        QString strPath;
        QString strScratch;
    };
    std::mutex m_mutex;
    std::condition_variable m_wake;
    CJob m_job;               // guarded by m_mutex
    bool m_bHasJob = false;   // guarded by m_mutex
    bool m_bQuit = false;     // guarded by m_mutex
    quint64 m_nFinishedTicket = 0; // guarded by m_mutex
    CNowPlayingSong m_finished;    // guarded by m_mutex
    bool m_bHasFinished = false;   // guarded by m_mutex
    std::thread m_reader;
    int m_fd = -1;
    class QSocketNotifier* m_pNotifier = nullptr; // a child
};
