#include "player/CSongScanner.h"

#include <QDirIterator>
#include <QFileInfo>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "song/CId3Tag.h"

struct CSongScanner::Worker
{
    std::atomic<bool> bCancel {false};
    std::mutex mutex; // guards the hand-over fields below
    std::condition_variable taken;
    QList<CMp3Song> ready; // the batch the GUI takes next
    bool bPosted = false;  // a hand-over is queued on the GUI thread
    int nRead = 0;
    QString strFolder;
    std::thread thread;

    // Waits (in bounded steps) until the GUI has taken the last batch; false when cancelled.
    bool WaitTaken(std::unique_lock<std::mutex>& lock)
    {
        while (bPosted && !bCancel.load())
            taken.wait_for(lock, std::chrono::milliseconds(20));
        return !bCancel.load();
    }
};

namespace {

QStringList FilesOf(const QStringList& paths, const std::atomic<bool>& bCancel)
{
    const QStringList suffixes = CSongScanner::PlayableSuffixes();
    QStringList files;
    for (const QString& path : paths) {
        const QFileInfo info(path);
        if (info.isFile()) {
            files.append(info.absoluteFilePath());
        } else if (info.isDir()) {
            QStringList found;
            QDirIterator it(info.absoluteFilePath(), QDir::Files, QDirIterator::Subdirectories);
            while (it.hasNext() && !bCancel.load()) {
                const QString file = it.next();
                if (suffixes.contains(it.fileInfo().suffix().toLower()))
                    found.append(file);
            }
            found.sort(Qt::CaseInsensitive);
            files += found;
        }
    }
    return files;
}

} // namespace

CSongScanner::CSongScanner(QObject* parent) : QObject(parent) {}

CSongScanner::~CSongScanner()
{
    if (m_pWorker) {
        m_pWorker->bCancel = true;
        if (m_pWorker->thread.joinable())
            m_pWorker->thread.join();
    }
}

QStringList CSongScanner::PlayableSuffixes()
{
    return {QStringLiteral("mp3"), QStringLiteral("flac"), QStringLiteral("m4a"), QStringLiteral("aac"),
            QStringLiteral("wma"), QStringLiteral("ogg"),  QStringLiteral("opus"), QStringLiteral("wav"),
            QStringLiteral("aif"), QStringLiteral("aiff"), QStringLiteral("ape"),  QStringLiteral("mp4")};
}

QStringList CSongScanner::PlayableNamePatterns()
{
    QStringList patterns;
    for (const QString& suffix : PlayableSuffixes())
        patterns.append(QStringLiteral("*.") + suffix);
    return patterns;
}

bool CSongScanner::IsRunning() const
{
    return m_bRunning;
}

bool CSongScanner::Start(const QStringList& paths)
{
    if (m_bRunning)
        return false;
    if (m_pWorker && m_pWorker->thread.joinable())
        m_pWorker->thread.join(); // a cancelled scan ends before its next file
    m_pWorker = std::make_shared<Worker>();
    m_bRunning = true;
    const int generation = ++m_nGeneration;
    std::shared_ptr<Worker> shared = m_pWorker;
    Worker* worker = shared.get();
    worker->thread = std::thread([this, shared, worker, generation, paths] {
        const QStringList files = FilesOf(paths, worker->bCancel);
        QList<CMp3Song> pending;
        int nRead = 0;
        QString folder;
        auto handOver = [&](std::unique_lock<std::mutex>& lock) {
            worker->ready = std::move(pending);
            pending.clear();
            worker->nRead = nRead;
            worker->strFolder = folder;
            worker->bPosted = true;
            QMetaObject::invokeMethod(this, [this, shared, generation] { TakeBatch(*shared, generation); },
                                      Qt::QueuedConnection);
            lock.unlock();
        };
        for (const QString& file : files) {
            if (worker->bCancel.load())
                return;
            CMp3Song song = CId3Tag().ReadTag(file, QString());
            const QFileInfo info(file);
            song.m_strFilePath = file;
            song.m_strAux2 = info.fileName();
            pending.append(std::move(song));
            folder = info.path();
            ++nRead;
            std::unique_lock<std::mutex> lock(worker->mutex);
            if (pending.size() >= kMaxBatch && !worker->WaitTaken(lock))
                return;
            if (!worker->bPosted)
                handOver(lock);
        }
        std::unique_lock<std::mutex> lock(worker->mutex);
        if (!worker->WaitTaken(lock))
            return;
        if (!pending.isEmpty())
            handOver(lock);
        QMetaObject::invokeMethod(this, [this, generation, nRead] { Finish(generation, nRead, false); },
                                  Qt::QueuedConnection);
    });
    return true;
}

void CSongScanner::Cancel()
{
    if (!m_bRunning)
        return;
    m_pWorker->bCancel = true;
    ++m_nGeneration;
    m_bRunning = false;
    int nRead = 0;
    {
        std::lock_guard<std::mutex> lock(m_pWorker->mutex);
        nRead = m_pWorker->nRead;
    }
    emit finished(nRead, true);
}

void CSongScanner::TakeBatch(Worker& worker, int generation)
{
    QList<CMp3Song> songs;
    int nRead = 0;
    QString folder;
    {
        std::lock_guard<std::mutex> lock(worker.mutex);
        songs = std::move(worker.ready);
        worker.ready.clear();
        worker.bPosted = false;
        nRead = worker.nRead;
        folder = worker.strFolder;
    }
    worker.taken.notify_one();
    if (generation != m_nGeneration)
        return;
    emit songsRead(songs);
    emit progress(nRead, folder);
}

void CSongScanner::Finish(int generation, int nRead, bool bCancelled)
{
    if (generation != m_nGeneration)
        return;
    m_bRunning = false;
    emit finished(nRead, bCancelled);
}
