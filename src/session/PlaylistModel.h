#pragma once
// The playlist's entries, one record per list row, each with an id that stays the entry's own while
// rows are added, moved and deleted. The model is the only writer of the control's two documented
// path and title arrays (kept by their classic rules, quirks included), of the duplicate index that
// answers addFile's rule and of the set of watched paths; the list box's item texts stay the list
// box's. The playing entry and the one prepared to follow it are held by id, so an edit of the list
// never turns them into another song.
//
// The arrays are the control's (hosts read them as members); the model is handed them. Their
// out-of-range accesses throw as they always did.
// Before the first Clear they may hold more strings than there are rows (the control pre-sizes
// them), so rows and array indexes are only the same once the list was cleared.
//
// Threading: GUI thread only, like the list it mirrors. No locks.

#include <QHash>
#include <QList>
#include <QObject>
#include <QString>
#include <QVector>
#include <memory>

#include "platform/CStringArray.h"
#include "session/SubstringIndex.h"

using PlaylistEntryId = quint64;
inline constexpr PlaylistEntryId kNoPlaylistEntry = 0;

struct CPlaylistEntry
{
    PlaylistEntryId nId = kNoPlaylistEntry;
    QString strPath;  // empty for a row another list dropped in: it has no file
    int bUseTags = 0; // how it was added, to title it again by the same rules
    QString strAux2;
};

class CPlaylistModel : public QObject
{
    Q_OBJECT

public:
    CPlaylistModel(CStringArray& files, CStringArray& titles, QObject* parent = nullptr);
    ~CPlaylistModel() override;

    int RowCount() const { return static_cast<int>(m_entries.size()); }
    PlaylistEntryId IdAt(int row) const;
    int RowOf(PlaylistEntryId id) const; // -1 when it is not listed
    const CPlaylistEntry* Entry(PlaylistEntryId id) const;
    const CPlaylistEntry* EntryAt(int row) const;
    // The first entry with exactly this path, or null.
    const CPlaylistEntry* EntryWithPath(const QString& path) const;

    // Every path some entry has (once each), for a watcher that starts late.
    QStringList ListedPaths() const { return m_pathUses.keys(); }

    // addFile's duplicate rule: a listed path contains `path` (case-sensitive substring).
    bool IsDuplicate(const QString& path);
    // A new last row; the path and title arrays grow by one. Returns its id.
    PlaylistEntryId Append(const QString& path, const QString& title, int bUseTags, const QString& aux2);
    // Delete of row `row`: its record and the arrays' entry at that index go.
    void RemoveAt(int row);
    // Rows moved to another list: their records go, the arrays stay (a move between lists does not
    // touch them).
    void DropRows(QList<int> rows);
    // Rows another list dropped in before `row`: records without a file, the arrays untouched.
    void InsertForeignRows(int row, int count);
    // A drag within the list: `rows` (any order) are taken out and put back, in list order, before the
    // row that was `insertIndex` before they were taken out.
    void MoveRows(QList<int> rows, int insertIndex);
    // The last `count` rows (and the array entries at those row numbers) moved before row `index`.
    void MoveLastRowsTo(int count, int index);
    void Clear();
    // The entry's title (array index = row) after its tags changed.
    void SetTitleAt(int row, const QString& title);

    // The classic array rules that follow the list box's texts ("N. text"): renumbering after a
    // drop, rearranging, and the partial clear. Only the arrays change.
    void RenumberFromTexts(const QStringList& itemTexts);
    void RearrangeFromTexts(const QStringList& itemTexts);
    void ClearFileArrayFrom(int index);

    // What plays and what was prepared to follow it.
    void SetPlaying(PlaylistEntryId id) { m_nPlaying = id; m_nPlayingGoneRow = -1; }
    PlaylistEntryId Playing() const { return m_nPlaying; }
    int PlayingRow() const { return RowOf(m_nPlaying); }
    // The row the playing entry stood at when it was deleted (its follower stands there now), or -1.
    int PlayingGoneRow() const { return m_nPlayingGoneRow; }
    void SetPrepared(PlaylistEntryId id) { m_nPrepared = id; }
    PlaylistEntryId Prepared() const { return m_nPrepared; }

signals:
    // A path was listed for the first time, or its last entry went: watchers follow these.
    void pathListed(const QString& path);
    void pathUnlisted(const QString& path);

private:
    void Forget(const CPlaylistEntry& entry);
    void ForgetRow(int row);
    CSubstringIndex& PathIndex();

    CStringArray& m_files;
    CStringArray& m_titles;
    QList<CPlaylistEntry> m_entries;
    QHash<QString, int> m_pathUses; // entries per path, for the watch set
    std::unique_ptr<CSubstringIndex> m_pPathIndex;
    PlaylistEntryId m_nLastId = kNoPlaylistEntry;
    PlaylistEntryId m_nPlaying = kNoPlaylistEntry;
    PlaylistEntryId m_nPrepared = kNoPlaylistEntry;
    int m_nPlayingGoneRow = -1;
};
