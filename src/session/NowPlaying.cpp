#include "session/NowPlaying.h"

#include <QAtomicInteger>
#include <QFile>
#include <QSocketNotifier>
#include <chrono>
#include <sys/eventfd.h>
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
    m_fd = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    if (m_fd >= 0) {
        m_pNotifier = new QSocketNotifier(m_fd, QSocketNotifier::Read, this);
        connect(m_pNotifier, &QSocketNotifier::activated, this, &CNowPlaying::TakeFinished);
    }
}

CNowPlaying::~CNowPlaying()
{
    {
        const std::lock_guard lock(m_mutex);
        m_bQuit = true;
    }
    m_wake.notify_one();
    if (m_reader.joinable())
        m_reader.join();
    if (m_fd >= 0)
        close(m_fd);
}

void CNowPlaying::ReadNow(const QString& path)
{
    ++m_nTicket;
    Deliver(ReadNowPlayingSong(path, m_strScratchFolder));
}

void CNowPlaying::ReadLater(const QString& path)
{
    if (m_fd < 0) { // no way to be woken: read here rather than not at all
        ReadNow(path);
        return;
    }
    {
        const std::lock_guard lock(m_mutex);
        m_job = CJob{++m_nTicket, path, m_strScratchFolder};
        m_bHasJob = true;
    }
    if (!m_reader.joinable())
        m_reader = std::thread([this] { ReaderLoop(); });
    m_wake.notify_one();
}

void CNowPlaying::ReaderLoop()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        // Woken by a job or the destructor; the bound only keeps the wait from being endless.
        m_wake.wait_for(lock, std::chrono::seconds(1), [this] { return m_bHasJob || m_bQuit; });
        if (m_bQuit)
            return;
        if (!m_bHasJob)
            continue;
        const CJob job = std::exchange(m_job, CJob());
        m_bHasJob = false;
        lock.unlock();
        CNowPlayingSong song = ReadNowPlayingSong(job.strPath, job.strScratch);
        lock.lock();
        m_finished = std::move(song);
        m_nFinishedTicket = job.nTicket;
        m_bHasFinished = true;
        const std::uint64_t one = 1;
        [[maybe_unused]] const ssize_t written = write(m_fd, &one, sizeof one);
    }
}

void CNowPlaying::TakeFinished()
{
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t read = ::read(m_fd, &count, sizeof count);
    CNowPlayingSong song;
    {
        const std::lock_guard lock(m_mutex);
        if (!m_bHasFinished || m_nFinishedTicket != m_nTicket) {
            m_bHasFinished = false;
            return; // a song asked for before the last one: dropped
        }
        song = std::move(m_finished);
        m_bHasFinished = false;
    }
    Deliver(song);
}

void CNowPlaying::Clear()
{
    ++m_nTicket;
    m_current = CNowPlayingSong();
}

void CNowPlaying::Deliver(const CNowPlayingSong& song)
{
    m_current = song;
    emit songRead(m_current);
}
