// What the demo host remembers between runs: the playlist, the song that was playing and where,
// repeat, shuffle, volume and the window's geometry. They live in files of the demo's own next to
// the library's settings ("tunivox/demo-session.ini" and "tunivox/demo-session.m3u8"); the library's
// own settings are left as they are.
#include <QDir>
#include <QLabel>
#include <QSettings>
#include <QTimer>
#include <QToolButton>
#include <memory>

#include "DemoWindow.h"
#include "audio/CAudioPlayer.h"
#include "controls/CSliderCtrlEx.h"
#include "platform/Folders.h"
#include "player/CMediaPlayerCtrl.h"
#include "player/PlaylistFormats.h"

namespace {

QString SessionFile(const char* suffix)
{
    return UserConfigFolder() + QStringLiteral("tunivox/demo-session.") + QLatin1String(suffix);
}

} // namespace

bool DemoWindow::SaveSession(QString* error)
{
    // The playlist and the playing song are the user's own business: a folder only they can open.
    if (!EnsurePrivateFolder(UserConfigFolder() + QStringLiteral("tunivox"))) {
        *error = tr("the folder %1 cannot be made private").arg(UserConfigFolder() + QStringLiteral("tunivox"));
        return false;
    }
    if (!m_bKeepSessionPlaylist) {
        QList<PlaylistFileEntry> entries;
        for (const QString& path : m_player->GetFiles().Items())
            entries.append({path, QString(), -1});
        if (!WritePlaylist(SessionFile("m3u8"), entries, PlaylistPaths::Absolute, error))
            return false;
        QFile::setPermissions(SessionFile("m3u8"), QFile::ReadOwner | QFile::WriteOwner);
    }

    QSettings settings(SessionFile("ini"), QSettings::IniFormat);
    settings.setValue(QStringLiteral("geometry"), saveGeometry());
    settings.setValue(QStringLiteral("repeat"), m_repeat->isChecked());
    settings.setValue(QStringLiteral("shuffle"), m_shuffle->isChecked());
    settings.setValue(QStringLiteral("volume"), m_player->GetVolumeBar()->GetPos());
    const CAudioPlayer* engine = m_player->GetAudioPlayer();
    if (m_bKeepSessionPlaylist) {
        // The remembered song belongs to the remembered playlist: both stay.
    } else if (m_player->IsPlaying() && engine) {
        settings.setValue(QStringLiteral("song"), m_player->GetPlayingFileName());
        settings.setValue(QStringLiteral("position"), qulonglong(const_cast<CAudioPlayer*>(engine)->GetCurrentTime()));
    } else {
        settings.remove(QStringLiteral("song"));
        settings.remove(QStringLiteral("position"));
    }
    settings.sync();
    if (settings.status() != QSettings::NoError) {
        *error = tr("%1 could not be written").arg(SessionFile("ini"));
        return false;
    }
    QFile::setPermissions(SessionFile("ini"), QFile::ReadOwner | QFile::WriteOwner);
    return true;
}

bool DemoWindow::RestoreSession()
{
    if (!QFile::exists(SessionFile("ini")))
        return false;
    QSettings settings(SessionFile("ini"), QSettings::IniFormat);
    restoreGeometry(settings.value(QStringLiteral("geometry")).toByteArray());
    m_repeat->setChecked(settings.value(QStringLiteral("repeat")).toBool());
    m_shuffle->setChecked(settings.value(QStringLiteral("shuffle")).toBool());
    if (settings.contains(QStringLiteral("volume"))) {
        const int volume = settings.value(QStringLiteral("volume")).toInt();
        m_player->GetVolumeBar()->SetPos(volume);
        m_player->ProcessVolumeBar(TB_ENDTRACK, unsigned(volume));
    }
    const PlaylistReadResult read = ReadPlaylist(SessionFile("m3u8"));
    QStringList paths;
    for (const PlaylistFileEntry& entry : read.entries)
        paths.append(entry.strPath);
    const QString song = settings.value(QStringLiteral("song")).toString();
    const quint64 position = settings.value(QStringLiteral("position")).toULongLong();
    // The songs are read in the background (a long playlist must not hold the window back); the song
    // resumes once they are all listed.
    auto* once = new QObject(this);
    connect(m_player, &CMediaPlayerCtrl::scanFinished, once, [this, once, song, position] {
        once->deleteLater();
        ResumeSong(song, position);
    });
    m_player->InsertPathsAt(-1, paths);
    return true;
}

void DemoWindow::ResumeSong(const QString& song, quint64 position)
{
    if (song.isEmpty() || !m_player->GetFiles().Items().contains(song))
        return;
    // Back where the listener left, paused: the shuffle draw must not pick another song.
    const BOOL shuffle = m_player->IsShuffle();
    m_player->SetShuflleMode(0);
    const QByteArray path = song.toUtf8();
    int started = m_player->PlayStart(path.constData());
    if (!started && !m_bTriedNull) {
        FallBackToNullDevice();
        started = m_player->PlayStart(path.constData());
    }
    m_player->SetShuflleMode(shuffle);
    if (!started)
        return;
    CAudioPlayer* engine = m_player->GetAudioPlayer();
    m_player->StartPlayingFromPos(static_cast<unsigned>(position));
    // The engine seeks on its own thread: pause once its position is there (checked every 10 ms, for
    // at most two seconds), so the pause does not land before the seek.
    auto* wait = new QTimer(this);
    auto tries = std::make_shared<int>(0);
    connect(wait, &QTimer::timeout, this, [this, wait, tries, engine, position] {
        if (engine->GetCurrentTime() + 1 >= position || ++*tries >= 200) {
            wait->deleteLater();
            wait->stop();
            m_player->Pause();
            // Paused, no progress step comes to show where: the times and the slider show it now,
            // and the list shows the song.
            m_elapsed->setText(CMediaPlayerCtrl::GetFormattedTime(static_cast<int>(position / 10000000)));
            if (CSliderCtrlEx* slider = m_player->GetTrackbar())
                slider->SetPos(static_cast<int>(position / 1000000));
            if (QListWidgetItem* row = m_player->item(m_player->GetCurrentIndex()))
                m_player->scrollToItem(row);
        }
    });
    wait->start(10);
}
