#include "session/NowPlaying.h"

#include <QAtomicInteger>
#include <QFile>
#include <QtConcurrent/QtConcurrentRun>
#include <unistd.h>

#include "song/CId3Tag.h"
#include "song/SongReadScope.h"

CNowPlayingSong ReadNowPlayingSong(const QString& path, const QString& scratchFolder)
{
    CNowPlayingSong record;
    record.strPath = path;
    try {
        const CSongReadScope once(path);
        CId3Tag tag;
        record.song = tag.ReadTag(path, QString());
        if (!scratchFolder.isEmpty()) {
            static QAtomicInteger<quint32> s_nScratch;
            const QString scratch = scratchFolder + QStringLiteral("_tmpNowPlaying_%1_%2")
                                                        .arg(getpid())
                                                        .arg(s_nScratch.fetchAndAddRelaxed(1));
            if (tag.ExtractPicture(record.song, scratch, kPictureTypeFrontCover) ||
                tag.ExtractPicture(record.song, scratch, kPictureTypeOther)) {
                QFile picture(scratch);
                if (picture.open(QIODevice::ReadOnly))
                    record.cover = picture.readAll();
            }
            QFile::remove(scratch);
        }
        record.synced = ReadSyncedLyrics(path, record.song.m_strLyrics);
    } catch (...) {
        // A song whose tags cannot be read still plays: it is known by its path only.
    }
    return record;
}

CNowPlaying::CNowPlaying(QObject* parent) : QObject(parent)
{
    qRegisterMetaType<CNowPlayingSong>();
}

CNowPlaying::~CNowPlaying() = default;

void CNowPlaying::ReadNow(const QString& path)
{
    delete std::exchange(m_pWatcher, nullptr);
    m_strAsked = path;
    Deliver(ReadNowPlayingSong(path, m_strScratchFolder));
}

void CNowPlaying::ReadLater(const QString& path)
{
    delete std::exchange(m_pWatcher, nullptr);
    m_strAsked = path;
    auto* watcher = new QFutureWatcher<CNowPlayingSong>(this);
    m_pWatcher = watcher;
    connect(watcher, &QFutureWatcherBase::finished, this, [this, watcher] {
        if (watcher != m_pWatcher)
            return;
        m_pWatcher = nullptr;
        watcher->deleteLater();
        Deliver(watcher->result());
    });
    watcher->setFuture(QtConcurrent::run(ReadNowPlayingSong, path, m_strScratchFolder));
}

void CNowPlaying::Clear()
{
    delete std::exchange(m_pWatcher, nullptr);
    m_strAsked.clear();
    m_current = CNowPlayingSong();
}

void CNowPlaying::Deliver(const CNowPlayingSong& song)
{
    m_current = song;
    emit songRead(m_current);
}
