// The playlist: adding, numbering, titling, reordering, finding and clearing entries, and the string
// routines the transport and the visualization feed use.
#include "platform/StringConv.h"
#include "platform/UserMessages.h"
#include "player/CMediaPlayerCtrl.h"
#include "session/SubstringIndex.h"
#include "session/PlayOrder.h"

int CMediaPlayerCtrl::addFile(CMp3Song song, int bUseTags)
{
    if (!m_bInitDone && !parentWidget())
        return -1;
    const QString& path = song.m_strFilePath;
    // Duplicate rule: rejected when an existing path contains this one (case-sensitive substring).
    if (m_pPlaylist->IsDuplicate(path))
        return -1;

    ++m_nAdded;
    QString title;
    QString text;
    EntryTexts(song, bUseTags, &title, &text);
    m_pPlaylist->Append(path, title, bUseTags, song.m_strAux2);
    const int n = m_arrFiles.GetSize();
    insertItem(n - 1, QString::asprintf("%d. ", n) + text);
    return 0;
}

void CMediaPlayerCtrl::EntryTexts(const CMp3Song& song, int bUseTags, QString* title, QString* text)
{
    const QString& artist = song.m_strTagArtist;
    const QString& songTitle = song.m_strTagTitle;
    if (bUseTags)
        *title = !artist.isEmpty() ? artist : GetFileWithNoExtension(CapitalizeStr(song.m_strAux2));
    else
        *title = artist + QStringLiteral(" - ") + songTitle;
    if (bUseTags && !artist.isEmpty())
        *text = artist;
    else if (!artist.isEmpty() && !songTitle.isEmpty())
        *text = artist + QStringLiteral(" - ") + songTitle;
    else
        *text = GetFileWithNoExtension(CapitalizeStr(song.m_strAux2));
}

int CMediaPlayerCtrl::LoadMp3sToPlayer(CStringArray*)
{
    return 1;
}

void CMediaPlayerCtrl::ClearPlayList()
{
    Stop();
    clear();
    m_bStopped = 1;
    m_bPlaying = 0;
    m_nAdded = 0;
    m_nCurrentIndex = 0; // as built: the next list starts from its first entries
    m_pPlaylist->Clear();
    PostToHost(WM_PLAYER_LIST_CLEARED);
    emit playlistCleared();
}

void CMediaPlayerCtrl::ClearFileArray()
{
    m_pPlaylist->ClearFileArrayFrom(count() - 1);
}

void CMediaPlayerCtrl::RemoveEntryAt(int index)
{
    m_pPlaylist->RemoveAt(index);
    m_nCurrentIndex = PlayOrder::EntryAfterRemoval(m_nCurrentIndex, index);
    AnnounceStateChanges();
}

void CMediaPlayerCtrl::Dropped(QPoint ptScreen)
{
    // The list box moves the item texts; the entries (and with them the playing one) move the same way.
    if (!IsSorted()) {
        const QList<int> rows = IsMultiSelection() ? GetSelItems() : QList<int>{GetCurSel()};
        CInterDragListBox* target = TargetFromPoint(ptScreen);
        if (target == this)
            m_pPlaylist->MoveRows(rows, InsertIndexFromPoint(ptScreen));
        else if (target)
            m_pPlaylist->DropRows(rows);
    }
    CInterDragListBox::Dropped(ptScreen);
    viewport()->update();
}

void CMediaPlayerCtrl::OnRowsInserted(int first, int last)
{
    // Rows another list dropped in have no entry yet; the control's own inserts made theirs first.
    const int foreign = count() - m_pPlaylist->RowCount();
    if (foreign > 0)
        m_pPlaylist->InsertForeignRows(first, std::min(foreign, last - first + 1));
}

QStringList CMediaPlayerCtrl::ItemTexts() const
{
    QStringList texts;
    texts.reserve(count());
    for (int i = 0; i < count(); ++i)
        texts.append(item(i)->text());
    return texts;
}

void CMediaPlayerCtrl::RenumberItems()
{
    const QList<QString> before = m_arrFiles.Items();
    m_pPlaylist->RenumberFromTexts(ItemTexts());
    m_nCurrentIndex = PlayOrder::EntryAfterReorder(m_nCurrentIndex, before, m_arrFiles.Items());
    AnnounceStateChanges();
}

void CMediaPlayerCtrl::RearrangeListItems()
{
    m_pPlaylist->RearrangeFromTexts(ItemTexts());
}

int CMediaPlayerCtrl::FindString(const CStringArray& arr, const char* s)
{
    const QString needle = FromNarrow(s);
    for (int i = 0; i < arr.GetSize(); ++i)
        if (arr.GetAt(i).contains(needle, Qt::CaseInsensitive))
            return i;
    return -1;
}

QString CMediaPlayerCtrl::GetPlayingSongName()
{
    if (!m_bPlaying || m_nCurrentIndex < 0 || m_nCurrentIndex >= count())
        return QString();
    return item(m_nCurrentIndex)->text();
}

QString CMediaPlayerCtrl::GetPlayingFileName()
{
    return m_arrFiles.GetAt(m_nCurrentIndex);
}

QString CMediaPlayerCtrl::SetPlayerSongTitle(CMp3Song song, int bFirstOnly, int bTwoLines)
{
    const QString& artist = song.m_strTagArtist;
    const QString& title = song.m_strTagTitle;
    QString result;
    if (!artist.isEmpty() && !title.isEmpty() && !bFirstOnly)
        result = CapitalizeStr(artist) + QLatin1Char('-') + CapitalizeStr(title);
    else if (!artist.isEmpty() && bFirstOnly)
        result = CapitalizeStr(artist);
    else
        result = GetFileWithNoExtension(CapitalizeStr(song.m_strAux2));
    if (bTwoLines && !artist.isEmpty() && !title.isEmpty() && !bFirstOnly)
        result = CapitalizeStr(artist) + QStringLiteral("\r\n") + CapitalizeStr(title);
    return result;
}

QString CMediaPlayerCtrl::GetFormattedTime(int s)
{
    int m = s / 60;
    const int seconds = s - 60 * m;
    const int hours = m / 60;
    const int minutes = m - 60 * hours;
    if (hours < 1)
        return QString::asprintf("%02d:%02d", minutes, seconds);
    return QString::asprintf("%02d:%02d:%02d", hours, minutes, seconds);
}

QString CMediaPlayerCtrl::CapitalizeStr(const QString& s)
{
    if (s.isEmpty())
        return s;
    QString out = s;
    out[0] = out[0].toUpper();
    for (int i = 0; i < out.size() - 1; ++i) {
        const QChar c = out[i];
        if (c == QLatin1Char(' ') || c == QLatin1Char('(') || c == QLatin1Char('\\') || c == QLatin1Char('-'))
            out[i + 1] = out[i + 1].toUpper();
        else
            out[i + 1] = out[i + 1].toLower();
    }
    return out;
}

QString CMediaPlayerCtrl::AddSpace2String(const QString& s, int width)
{
    if (width < s.size())
        return s;
    return s + QString(width - s.size(), QLatin1Char(' '));
}

QString CMediaPlayerCtrl::GetFileName(const QString& path)
{
    // Both separators count: hosts on this platform hand in "/" paths.
    const int p = std::max(path.lastIndexOf(QLatin1Char('\\')), path.lastIndexOf(QLatin1Char('/')));
    if (p < 0)
        return QString();
    const QString name = path.mid(p + 1);
    return name.left(std::max(0, static_cast<int>(name.size()) - 4));
}

QString CMediaPlayerCtrl::GetFileWithNoExtension(const QString& name)
{
    const int p = name.lastIndexOf(QLatin1Char('.'));
    if (p < 0)
        return QString();
    return name.left(p);
}

int CMediaPlayerCtrl::ReverseFind(const char* s, const char* sub)
{
    if (!s || !sub)
        return -1;
    const QByteArray hay(s);
    return static_cast<int>(hay.lastIndexOf(QByteArray(sub)));
}

char16_t* CMediaPlayerCtrl::UnicodeConversion(const char* text)
{
    if (!text)
        return nullptr;
    const QString wide = QString::fromUtf8(text);
    auto* copy = new char16_t[static_cast<size_t>(wide.size()) + 1];
    std::copy(wide.utf16(), wide.utf16() + wide.size(), copy);
    copy[wide.size()] = 0;
    return copy;
}
