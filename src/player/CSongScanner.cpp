#include "player/CSongScanner.h"

#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <atomic>
#include <chrono>
#include <thread>

#include "platform/FileKinds.h"
#include "song/CId3Tag.h"

#include <dirent.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

struct CSongScanner::Worker
{
    // The hand-over: the worker fills `ready` only while bPosted is false, then sets it and posts;
    // the GUI takes `ready` and clears it. Neither side ever waits for a lock the other holds.
    struct Batch
    {
        QList<CMp3Song> songs;
        int nRead = 0;
        QString strFolder;
    };
    std::atomic<bool> bCancel {false};
    std::atomic<bool> bPosted {false};
    std::atomic<int> nRead {0}; // songs read, for a cancel's report
    Batch ready;
    // The batch the GUI has used, handed back to be freed here: freeing the worker's memory on the
    // GUI thread would make it wait for the worker's allocator lock whenever the worker is preempted.
    Batch spent;
    std::thread thread;

    // Waits (in 2 ms steps) until the GUI has taken the last batch; false when cancelled.
    bool WaitTaken() const
    {
        while (bPosted.load(std::memory_order_acquire) && !bCancel.load())
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        return !bCancel.load();
    }
};

namespace {

// What a scan passed over: counted, and the first few named.
struct Skipped
{
    int nCount = 0;
    QStringList firstPaths;
    void Add(const QString& path)
    {
        if (++nCount <= CSongScanner::kMaxSkippedNamed)
            firstPaths.append(path);
    }
};

// Names in `folder` that are not UTF-8: a QString cannot hold them, so Qt's listing leaves them out.
void AddUndecodableNames(const QString& folder, Skipped* skipped)
{
    DIR* dir = ::opendir(QFile::encodeName(folder).constData());
    if (!dir)
        return;
    while (const dirent* entry = ::readdir(dir)) {
        const QByteArray raw(entry->d_name);
        if (QFile::encodeName(QFile::decodeName(raw)) != raw)
            skipped->Add(folder + QLatin1Char('/') + QFile::decodeName(raw));
    }
    ::closedir(dir);
}

QStringList FilesOf(const QStringList& paths, const std::atomic<bool>& bCancel, Skipped* skipped)
{
    const QStringList suffixes = CSongScanner::PlayableSuffixes();
    QStringList files;
    for (const QString& path : paths) {
        const QFileInfo info(path);
        if (IsRegularFile(path)) {
            files.append(info.absoluteFilePath());
        } else if (info.isDir()) {
            QStringList found;
            // Folders and special files too, so that what cannot be read is reported, not dropped.
            QDirIterator it(info.absoluteFilePath(), QDir::Files | QDir::AllDirs | QDir::System | QDir::NoDotAndDotDot,
                            QDirIterator::Subdirectories);
            AddUndecodableNames(info.absoluteFilePath(), skipped);
            while (it.hasNext() && !bCancel.load()) {
                const QString file = it.next();
                const QFileInfo entry = it.fileInfo();
                if (entry.isDir()) {
                    if (!entry.isReadable() || !entry.isExecutable())
                        skipped->Add(file);
                    else if (!entry.isSymLink())
                        AddUndecodableNames(file, skipped);
                } else if (suffixes.contains(entry.suffix().toLower())) {
                    // The listing already read a plain entry's kind; only a link needs its target's.
                    if (entry.isSymLink() ? IsRegularFile(file) : entry.isFile())
                        found.append(file);
                    else
                        skipped->Add(file);
                }
            }
            found.sort(Qt::CaseInsensitive);
            files += found;
        } else {
            skipped->Add(path);
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
        Skipped skipped;
        const QStringList files = FilesOf(paths, worker->bCancel, &skipped);
        QList<CMp3Song> pending;
        int nRead = 0;
        QString folder;
        auto handOver = [&] {
            worker->spent = {};
            worker->ready = {std::move(pending), nRead, folder};
            pending.clear();
            worker->bPosted.store(true, std::memory_order_release);
            QMetaObject::invokeMethod(this, [this, shared, generation] { TakeBatch(*shared, generation); },
                                      Qt::QueuedConnection);
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
            worker->nRead.store(++nRead);
            if (pending.size() >= kMaxBatch && !worker->WaitTaken())
                return;
            if (!worker->bPosted.load(std::memory_order_acquire))
                handOver();
        }
        if (!worker->WaitTaken())
            return;
        if (!pending.isEmpty())
            handOver();
        QMetaObject::invokeMethod(
            this,
            [this, generation, nRead, skipped] {
                if (generation == m_nGeneration && skipped.nCount > 0)
                    emit this->skipped(skipped.nCount, skipped.firstPaths);
                Finish(generation, nRead, false);
            },
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
    emit finished(m_pWorker->nRead.load(), true);
}

void CSongScanner::TakeBatch(Worker& worker, int generation)
{
    if (generation == m_nGeneration) {
        emit songsRead(worker.ready.songs);
        emit progress(worker.ready.nRead, worker.ready.strFolder);
    }
    worker.spent = std::move(worker.ready);
    worker.ready = {};
    worker.bPosted.store(false, std::memory_order_release);
}

void CSongScanner::Finish(int generation, int nRead, bool bCancelled)
{
    if (generation != m_nGeneration)
        return;
    m_bRunning = false;
    emit finished(nRead, bCancelled);
}
