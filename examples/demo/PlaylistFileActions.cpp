#include "PlaylistFileActions.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QStatusBar>

#include "player/CMediaPlayerCtrl.h"
#include "player/PlaylistFormats.h"
#include "song/CId3Tag.h"

namespace {

QString Filters()
{
    return QObject::tr("Playlists (*.m3u8 *.m3u *.pls *.xspf);;M3U8 (*.m3u8);;M3U (*.m3u);;PLS (*.pls);;XSPF (*.xspf)");
}

} // namespace

bool LoadPlaylist(const QString& playlistPath, CMediaPlayerCtrl* player, QWidget* parent, QStatusBar* bar)
{
    const PlaylistReadResult read = ReadPlaylist(playlistPath);
    if (!read.Ok()) {
        if (parent)
            QMessageBox::warning(parent, QObject::tr("Open playlist"), read.strError);
        return false;
    }
    QStringList paths;
    for (const PlaylistFileEntry& entry : read.entries)
        paths.append(entry.strPath);
    player->CancelScan();
    player->ClearPlayList();
    player->InsertPathsAt(-1, paths);
    if (!read.missing.isEmpty() && bar)
        bar->showMessage(QObject::tr("%n song(s) of the playlist not found, first: %1", nullptr, int(read.missing.size()))
                             .arg(read.missing.first()),
                         10000);
    return true;
}

QList<PlaylistFileEntry> PlaylistEntriesOf(CMediaPlayerCtrl* player)
{
    QList<PlaylistFileEntry> entries;
    const CStringArray& files = player->GetFiles();
    for (int i = 0; i < files.GetSize() && i < player->count(); ++i) {
        // The text the list shows, without its number.
        const QString text = player->item(i)->text();
        const int dot = text.indexOf(QStringLiteral(". "));
        // The list keeps paths and texts only: the length comes from the song's record.
        const QString length = CId3Tag().ReadTag(files.GetAt(i), QString()).m_strLength;
        bool ok = false;
        const int seconds = length.toInt(&ok);
        entries.append({files.GetAt(i), dot < 0 ? text : text.mid(dot + 2), ok ? seconds : -1});
    }
    return entries;
}

void OpenPlaylist(QWidget* parent, CMediaPlayerCtrl* player, QStatusBar* bar)
{
    const QString path = QFileDialog::getOpenFileName(parent, QObject::tr("Open playlist"), QString(), Filters());
    if (!path.isEmpty())
        LoadPlaylist(path, player, parent, bar);
}

void SavePlaylist(QWidget* parent, CMediaPlayerCtrl* player, QStatusBar* bar)
{
    QFileDialog dialog(parent, QObject::tr("Save playlist"), QString(), Filters());
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix(QStringLiteral("m3u8"));
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return;
    const QString path = dialog.selectedFiles().first();
    QString error;
    // Relative paths: the playlist keeps working when the music folder moves with it.
    if (!WritePlaylist(path, PlaylistEntriesOf(player), PlaylistPaths::Relative, &error))
        QMessageBox::warning(parent, QObject::tr("Save playlist"), error);
    else
        bar->showMessage(QObject::tr("Playlist saved: %1").arg(QFileInfo(path).fileName()), 4000);
}
