// Songs read off the GUI thread and inserted in batches where a drop or the host asked for them.
#include <algorithm>

#include "controls/ItemNumbering.h"
#include "player/CMediaPlayerCtrl.h"
#include "player/CSongScanner.h"

void CMediaPlayerCtrl::InsertPathsAt(int index, const QStringList& paths, int bUseTags)
{
    m_scanJobs.append({index, paths, bUseTags});
    if (!m_pScanner) {
        m_pScanner = new CSongScanner(this);
        connect(m_pScanner, &CSongScanner::songsRead, this, &CMediaPlayerCtrl::OnScannedSongs);
        connect(m_pScanner, &CSongScanner::progress, this, &CMediaPlayerCtrl::scanProgress);
        connect(m_pScanner, &CSongScanner::skipped, this, &CMediaPlayerCtrl::scanSkipped);
        connect(m_pScanner, &CSongScanner::finished, this,
                [this](int, bool bCancelled) { OnScanFinished(bCancelled); });
    }
    if (!m_bScanning)
        StartNextScan();
}

void CMediaPlayerCtrl::CancelScan()
{
    m_scanJobs.clear();
    if (m_bScanning)
        m_pScanner->Cancel(); // finished(…, true) arrives at once
}

void CMediaPlayerCtrl::StartNextScan()
{
    if (m_scanJobs.isEmpty())
        return;
    m_scan = m_scanJobs.takeFirst();
    m_nScanAdded = 0;
    m_bScanning = m_pScanner->Start(m_scan.paths);
}

void CMediaPlayerCtrl::OnScannedSongs(const QList<CMp3Song>& songs)
{
    const int at = m_scan.nIndex < 0 || m_scan.nIndex > count() ? count() : m_scan.nIndex;
    const int added = InsertSongsAt(at, songs, m_scan.bUseTags);
    m_nScanAdded += added;
    m_scan.nIndex = at + added;
    // Waiting drops keep their place among the entries they were dropped between.
    for (CScanJob& job : m_scanJobs)
        if (job.nIndex >= at)
            job.nIndex += added;
}

void CMediaPlayerCtrl::OnScanFinished(bool bCancelled)
{
    m_bScanning = false;
    emit scanFinished(m_nScanAdded, bCancelled);
    if (!bCancelled)
        StartNextScan();
}

int CMediaPlayerCtrl::InsertSongsAt(int index, const QList<CMp3Song>& songs, int bUseTags)
{
    const int before = count();
    int added = 0;
    for (const CMp3Song& song : songs)
        if (addFile(song, bUseTags) == 0)
            ++added;
    index = std::clamp(index, 0, before);
    if (added == 0 || index == before)
        return added;

    // addFile appended them; move the block (items and both arrays) before entry `index`.
    for (int k = 0; k < added; ++k)
        insertItem(index + k, takeItem(before + k));
    m_pPlaylist->MoveLastRowsTo(added, index);
    for (int i = index; i < count(); ++i)
        item(i)->setText(RenumberedItemText(item(i)->text(), i + 1));
    // The playing entry is still the same song.
    if (m_nCurrentIndex >= index && m_nCurrentIndex < before)
        m_nCurrentIndex += added;
    AnnounceStateChanges();
    return added;
}
