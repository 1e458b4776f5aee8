#pragma once
// Reads the tags of many songs (files, and folders searched recursively for the file types the
// engine plays) off the GUI thread. The songs come back in batches, in the order given (a folder's
// files sorted by path, ignoring case), each song with m_strFilePath and m_strAux2 (the file name)
// filled, as a host fills them for addFile. A file whose tags cannot be read still comes back, with
// only those two fields.
//
// Threading: a CSongScanner lives on the GUI thread and its signals are emitted there. One worker
// thread per scan lists the folders and reads the tags; it hands a batch over only when the GUI has
// taken the previous one (so a slow GUI gets fewer, larger batches, at most kMaxBatch songs, and its
// event queue never fills up), and waits for that in 2 ms steps while watching the cancel flag. The
// hand-over takes no lock, so the GUI never waits for the worker; the worker runs at a lower
// priority (nice 10) than the GUI. Cancel() stops the worker before its next file; batches it had read are not delivered.
// The destructor cancels and joins the worker (bounded by the one file being read).

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <memory>

#include "song/CMp3Song.h"
#include "tunivox_export.h"

class TUNIVOX_EXPORT CSongScanner : public QObject
{
    Q_OBJECT

public:
    static constexpr int kMaxBatch = 128;
    static constexpr int kMaxSkippedNamed = 5;

    explicit CSongScanner(QObject* parent = nullptr);
    ~CSongScanner() override;

    // Starts reading `paths`. False (and nothing starts) while a scan runs.
    bool Start(const QStringList& paths);
    void Cancel();
    bool IsRunning() const;

    // File types the engine plays, as lower-case suffixes ("mp3", "flac", ...), and name patterns.
    static QStringList PlayableSuffixes();
    static QStringList PlayableNamePatterns();

signals:
    // The next songs, in order.
    void songsRead(const QList<CMp3Song>& songs);
    // With each batch: songs read so far and the folder of the last one.
    void progress(int nRead, const QString& folder);
    // Before finished, when the scan passed over what it could not read: folders it may not open,
    // names that are not UTF-8, song names that are not regular files (and paths given that are
    // neither a file nor a folder). Their count and the first kMaxSkippedNamed paths.
    void skipped(int nSkipped, const QStringList& firstPaths);
    // Once per scan, after the last batch (or at once on Cancel).
    void finished(int nRead, bool bCancelled);

private:
    struct Worker;
    void TakeBatch(Worker& worker, int generation);
    void Finish(int generation, int nRead, bool bCancelled);

    std::shared_ptr<Worker> m_pWorker;
    int m_nGeneration = 0;
    bool m_bRunning = false;
};
