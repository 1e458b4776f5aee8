#include "session/PlaylistModel.h"

#include <algorithm>

CPlaylistModel::CPlaylistModel(CStringArray& files, CStringArray& titles, QObject* parent)
    : QObject(parent), m_files(files), m_titles(titles)
{
}

CPlaylistModel::~CPlaylistModel() = default;

PlaylistEntryId CPlaylistModel::IdAt(int row) const
{
    return row >= 0 && row < RowCount() ? m_entries[row].nId : kNoPlaylistEntry;
}

int CPlaylistModel::RowOf(PlaylistEntryId id) const
{
    if (id == kNoPlaylistEntry)
        return -1;
    for (int row = 0; row < RowCount(); ++row)
        if (m_entries[row].nId == id)
            return row;
    return -1;
}

const CPlaylistEntry* CPlaylistModel::Entry(PlaylistEntryId id) const
{
    return EntryAt(RowOf(id));
}

const CPlaylistEntry* CPlaylistModel::EntryAt(int row) const
{
    return row >= 0 && row < RowCount() ? &m_entries[row] : nullptr;
}

const CPlaylistEntry* CPlaylistModel::EntryWithPath(const QString& path) const
{
    for (const CPlaylistEntry& entry : m_entries)
        if (entry.strPath == path)
            return &entry;
    return nullptr;
}

CSubstringIndex& CPlaylistModel::PathIndex()
{
    // Appends extend the index; every other change of the path array drops it, and it is rebuilt here.
    if (!m_pPathIndex)
        m_pPathIndex = std::make_unique<CSubstringIndex>(Qt::CaseSensitive);
    if (m_pPathIndex->Size() != m_files.GetSize())
        m_pPathIndex->Build(m_files.Items());
    return *m_pPathIndex;
}

bool CPlaylistModel::IsDuplicate(const QString& path)
{
    return PathIndex().FirstContaining(path) >= 0;
}

PlaylistEntryId CPlaylistModel::Append(const QString& path, const QString& title, int bUseTags, const QString& aux2)
{
    CSubstringIndex& index = PathIndex();
    m_files.Add(path);
    index.Append(path);
    m_titles.Add(title);
    m_entries.append(CPlaylistEntry{++m_nLastId, path, bUseTags, aux2});
    if (!path.isEmpty() && m_pathUses[path]++ == 0)
        emit pathListed(path);
    return m_nLastId;
}

void CPlaylistModel::Forget(const CPlaylistEntry& entry)
{
    if (entry.nId == m_nPrepared)
        m_nPrepared = kNoPlaylistEntry;
    if (entry.strPath.isEmpty())
        return;
    auto uses = m_pathUses.find(entry.strPath);
    if (uses != m_pathUses.end() && --uses.value() <= 0) {
        m_pathUses.erase(uses);
        emit pathUnlisted(entry.strPath);
    }
}

void CPlaylistModel::ForgetRow(int row)
{
    const CPlaylistEntry entry = m_entries.takeAt(row);
    if (entry.nId == m_nPlaying) {
        m_nPlaying = kNoPlaylistEntry;
        m_nPlayingGoneRow = row;
    } else if (m_nPlayingGoneRow > row) {
        --m_nPlayingGoneRow;
    }
    Forget(entry);
}

void CPlaylistModel::RemoveAt(int row)
{
    // The arrays first: an index outside them throws before anything changed, as it always did.
    m_files.RemoveAt(row);
    m_titles.RemoveAt(row);
    if (m_pPathIndex)
        m_pPathIndex->Clear();
    if (row >= 0 && row < RowCount())
        ForgetRow(row);
}

void CPlaylistModel::DropRows(QList<int> rows)
{
    std::sort(rows.begin(), rows.end());
    for (auto it = rows.crbegin(); it != rows.crend(); ++it)
        if (*it >= 0 && *it < RowCount())
            ForgetRow(*it);
}

void CPlaylistModel::InsertForeignRows(int row, int count)
{
    row = std::clamp(row, 0, RowCount());
    for (int k = 0; k < count; ++k)
        m_entries.insert(row + k, CPlaylistEntry{++m_nLastId, QString(), 0, QString()});
    if (m_nPlayingGoneRow >= row)
        m_nPlayingGoneRow += count;
}

void CPlaylistModel::MoveRows(QList<int> rows, int insertIndex)
{
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    rows.removeIf([this](int row) { return row < 0 || row >= RowCount(); });
    QList<CPlaylistEntry> moved;
    for (auto it = rows.crbegin(); it != rows.crend(); ++it) {
        moved.prepend(m_entries.takeAt(*it));
        if (*it < insertIndex)
            --insertIndex;
    }
    insertIndex = std::clamp(insertIndex, 0, RowCount());
    for (int k = 0; k < moved.size(); ++k)
        m_entries.insert(insertIndex + k, moved[k]);
}

void CPlaylistModel::MoveLastRowsTo(int count, int index)
{
    const int before = RowCount() - count;
    if (count <= 0 || before < 0)
        return;
    index = std::clamp(index, 0, before);
    // The same block of the arrays, by row number.
    auto moveBlock = [&](auto& v) {
        if (before + count <= v.size())
            std::rotate(v.begin() + index, v.begin() + before, v.begin() + before + count);
    };
    moveBlock(m_entries);
    moveBlock(m_files.Items());
    moveBlock(m_titles.Items());
    if (m_pPathIndex)
        m_pPathIndex->Clear();
}

void CPlaylistModel::Clear()
{
    m_files.SetSize(0);
    m_titles.SetSize(0);
    if (m_pPathIndex)
        m_pPathIndex->Clear();
    const QList<CPlaylistEntry> entries = std::exchange(m_entries, {});
    for (const CPlaylistEntry& entry : entries)
        Forget(entry);
    m_pathUses.clear();
    m_nPlaying = kNoPlaylistEntry;
    m_nPrepared = kNoPlaylistEntry;
    m_nPlayingGoneRow = -1;
}

void CPlaylistModel::SetTitleAt(int row, const QString& title)
{
    if (row >= 0 && row < m_titles.GetSize())
        m_titles.SetAt(row, title);
}

void CPlaylistModel::RenumberFromTexts(const QStringList& itemTexts)
{
    // Each item's entry is found by case-insensitive substring: the first title that holds its text,
    // else the first path.
    CSubstringIndex titleIndex(Qt::CaseInsensitive);
    titleIndex.Build(m_titles.Items());
    // Paths are only searched for items whose text no title holds: indexed on first need.
    std::unique_ptr<CSubstringIndex> fileIndex;

    CStringArray titles;
    CStringArray files;
    for (int i = 0; i < itemTexts.size() && i < m_titles.GetSize(); ++i) {
        QString text = itemTexts[i];
        const int dot = static_cast<int>(text.indexOf(QLatin1Char('.')));
        if (dot >= 0)
            text = text.mid(dot + 2);
        int j = titleIndex.FirstContaining(text);
        if (j < 0) {
            if (!fileIndex) {
                fileIndex = std::make_unique<CSubstringIndex>(Qt::CaseInsensitive);
                fileIndex->Build(m_files.Items());
            }
            j = fileIndex->FirstContaining(text);
        }
        if (j < 0)
            continue;
        titles.Add(text);
        files.Add(m_files.GetAt(j));
    }
    if (m_pPathIndex)
        m_pPathIndex->Clear();
    for (int i = 0; i < titles.GetSize(); ++i) {
        m_titles.SetAt(i, titles.GetAt(i));
        m_files.SetAt(i, files.GetAt(i));
    }
}

void CPlaylistModel::RearrangeFromTexts(const QStringList& itemTexts)
{
    if (m_pPathIndex)
        m_pPathIndex->Clear();
    for (int i = 0; i < itemTexts.size(); ++i) {
        const QString& full = itemTexts[i];
        const auto p = full.indexOf(QStringLiteral(". "));
        const QString text = full.right(full.size() - p - 1).trimmed();
        for (int j = 0; j < m_files.GetSize(); ++j) {
            if (m_files.GetAt(j).contains(text)) {
                // Deliberately no exchange: the item text is stored at j.
                m_files.SetAt(i, m_files.GetAt(j));
                m_files.SetAt(j, text);
            }
        }
    }
}

void CPlaylistModel::ClearFileArrayFrom(int index)
{
    if (m_pPathIndex)
        m_pPathIndex->Clear();
    // Each removal shifts the tail down, so this removes every second entry from `index` on; kept as is.
    for (int i = index; i < m_files.GetSize(); ++i)
        m_files.RemoveAt(i);
}
