#include "player/MprisService.h"

#include <QCryptographicHash>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QFile>
#include <QFileInfo>
#include <QUrl>
#include <QWidget>
#include <algorithm>
#include <unistd.h>

#include "audio/CAudioPlayer.h"
#include "audio/WaveOut.h"
#include "platform/Folders.h"
#include "player/CMediaPlayerCtrl.h"
#include "player/MprisAdaptors.h"
#include "song/CId3Tag.h"

namespace {

const QString kObjectPath = QStringLiteral("/org/mpris/MediaPlayer2");
const QString kPlayerInterface = QStringLiteral("org.mpris.MediaPlayer2.Player");
const QString kNoTrack = QStringLiteral("/org/mpris/MediaPlayer2/TrackList/NoTrack");

} // namespace

MprisService* MprisService::Attach(CMediaPlayerCtrl* player, const QString& name, QString* error)
{
    const auto fail = [error](const QString& why) -> MprisService* {
        if (error)
            *error = why;
        return nullptr;
    };
    if (!player)
        return fail(QStringLiteral("no player control"));
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return fail(QStringLiteral("no session bus: ") + bus.lastError().message());
    const QString base = QStringLiteral("org.mpris.MediaPlayer2.") + (name.isEmpty() ? QStringLiteral("tunivox") : name);
    QString busName = base;
    if (!bus.registerService(busName)) {
        busName = base + QStringLiteral(".instance") + QString::number(getpid());
        if (!bus.registerService(busName))
            return fail(QStringLiteral("cannot own %1 on the session bus: %2").arg(busName, bus.lastError().message()));
    }
    auto* service = new MprisService(player, busName);
    if (!bus.registerObject(kObjectPath, service, QDBusConnection::ExportAdaptors)) {
        delete service;
        bus.unregisterService(busName);
        return fail(QStringLiteral("cannot register %1 on the session bus").arg(kObjectPath));
    }
    return service;
}

MprisService::MprisService(CMediaPlayerCtrl* player, const QString& busName)
    : QObject(player), m_pPlayer(player), m_strBusName(busName)
{
    new MprisRootAdaptor(this);
    m_pAdaptor = new MprisPlayerAdaptor(this);
    m_update.setSingleShot(true);
    m_update.setInterval(0);
    connect(&m_update, &QTimer::timeout, this, &MprisService::Update);
    const auto later = [this] { m_update.start(); };
    connect(player, &CMediaPlayerCtrl::songStarted, this, later);
    connect(player, &CMediaPlayerCtrl::playlistCleared, this, later);
    connect(player, &CMediaPlayerCtrl::transportChanged, this, later);
    // The song's tags and cover come from the control's one read of it, at its start and after a retag.
    connect(player, &CMediaPlayerCtrl::nowPlayingRead, this, [this, later](const CNowPlayingSong& song) {
        if (song.strPath == m_strSongPath)
            m_strSongPath.clear(); // build the metadata again from the record
        later();
    });
    // CanGoNext follows the number of entries.
    connect(player->model(), &QAbstractItemModel::rowsInserted, this, later);
    connect(player->model(), &QAbstractItemModel::rowsRemoved, this, later);
    connect(player->model(), &QAbstractItemModel::modelReset, this, later);
    connect(player, &CMediaPlayerCtrl::seeked, this, [this](qulonglong position) {
        emit m_pAdaptor->Seeked(static_cast<qlonglong>(position / 10));
    });
    Update();
    m_announced = Snapshot();
}

MprisService::~MprisService()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    bus.unregisterObject(kObjectPath);
    bus.unregisterService(m_strBusName);
    if (!m_strCoverPath.isEmpty())
        QFile::remove(m_strCoverPath);
}

QString MprisService::Identity() const
{
    return QStringLiteral("Tunivox Player");
}

QString MprisService::CurrentPath() const
{
    if (!m_pPlayer || PlaybackStatus() == QLatin1String("Stopped"))
        return QString();
    const int index = m_pPlayer->GetCurrentIndex();
    const CStringArray& files = m_pPlayer->GetFiles();
    return index >= 0 && index < files.GetSize() ? files.GetAt(index) : QString();
}

QString MprisService::PlaybackStatus() const
{
    CAudioPlayer* engine = m_pPlayer ? m_pPlayer->GetAudioPlayer() : nullptr;
    if (!engine || m_pPlayer->IsStopped() || !engine->m_bPlaying || !engine->m_hDecodeThread)
        return QStringLiteral("Stopped");
    return m_pPlayer->IsPaused() ? QStringLiteral("Paused") : QStringLiteral("Playing");
}

QString MprisService::LoopStatus() const
{
    return m_pPlayer && m_pPlayer->IsRepeat() ? QStringLiteral("Playlist") : QStringLiteral("None");
}

void MprisService::SetLoopStatus(const QString& status)
{
    const bool on = status == QLatin1String("Playlist") || status == QLatin1String("Track");
    if (!m_pPlayer || (!on && status != QLatin1String("None")) || on == (m_pPlayer->IsRepeat() != 0))
        return;
    m_pPlayer->SetRepeatMode(on ? 1 : 0);
    emit repeatChanged(on);
    Update();
}

bool MprisService::Shuffle() const
{
    return m_pPlayer && m_pPlayer->IsShuffle();
}

void MprisService::SetShuffle(bool on)
{
    if (!m_pPlayer || on == (m_pPlayer->IsShuffle() != 0))
        return;
    m_pPlayer->SetShuflleMode(on ? 1 : 0);
    emit shuffleChanged(on);
    Update();
}

double MprisService::Volume() const
{
    if (!m_pPlayer)
        return 0.0;
    // The device level to the nearest hundredth: SetVolume(0.5) stores 32767 of 65535, which the
    // control's GetVolume truncates to 49.
    DWORD level = 0;
    waveOutGetVolume(nullptr, &level);
    return static_cast<double>(qRound((level & 0xFFFFu) * 100.0 / 65535.0)) / 100.0;
}

void MprisService::SetVolume(double volume)
{
    if (!m_pPlayer)
        return;
    // The control's scale is inverted: 0 is full volume.
    const long level = qRound(std::clamp(volume, 0.0, 1.0) * 100.0);
    m_pPlayer->SetVolume(100 - level);
    Update();
}

qlonglong MprisService::Position() const
{
    CAudioPlayer* engine = m_pPlayer ? m_pPlayer->GetAudioPlayer() : nullptr;
    if (!engine || PlaybackStatus() == QLatin1String("Stopped"))
        return 0;
    return static_cast<qlonglong>(engine->GetCurrentTime() / 10);
}

qlonglong MprisService::LengthUs() const
{
    CAudioPlayer* engine = m_pPlayer ? m_pPlayer->GetAudioPlayer() : nullptr;
    return engine && !CurrentPath().isEmpty() ? static_cast<qlonglong>(engine->m_qwDuration / 10) : 0;
}

bool MprisService::CanGoNext() const
{
    return m_pPlayer && m_pPlayer->count() > 0;
}

bool MprisService::CanSeek() const
{
    return PlaybackStatus() == QLatin1String("Playing") && LengthUs() > 0;
}

void MprisService::PlayPause()
{
    if (PlaybackStatus() == QLatin1String("Stopped"))
        Play();
    else
        Pause();
}

void MprisService::Play()
{
    if (!m_pPlayer)
        return;
    const QString status = PlaybackStatus();
    if (status == QLatin1String("Paused"))
        m_pPlayer->Pause(); // resumes
    else if (status == QLatin1String("Stopped"))
        m_pPlayer->Play();
    Update();
}

void MprisService::Pause()
{
    if (!m_pPlayer)
        return;
    const QString status = PlaybackStatus();
    if (status != QLatin1String("Stopped"))
        m_pPlayer->Pause(); // a second Pause resumes, as the toolbar's button does
    Update();
}

void MprisService::Stop()
{
    if (m_pPlayer)
        m_pPlayer->Stop();
    Update();
}

void MprisService::Next()
{
    if (m_pPlayer)
        m_pPlayer->Next();
    Update();
}

void MprisService::Previous()
{
    if (m_pPlayer)
        m_pPlayer->Prev();
    Update();
}

void MprisService::Seek(qlonglong offsetUs)
{
    if (!CanSeek())
        return;
    const qlonglong target = std::max<qlonglong>(0, Position() + offsetUs);
    if (target > LengthUs()) {
        Next();
        return;
    }
    m_pPlayer->StartPlayingFromPos(static_cast<unsigned>(std::min<qlonglong>(target * 10, 0xFFFFFFFFll)));
}

void MprisService::SetPosition(const QString& trackId, qlonglong positionUs)
{
    if (!CanSeek() || trackId != TrackId() || positionUs < 0 || positionUs > LengthUs())
        return;
    m_pPlayer->StartPlayingFromPos(static_cast<unsigned>(std::min<qlonglong>(positionUs * 10, 0xFFFFFFFFll)));
}

void MprisService::Raise()
{
    if (QWidget* window = m_pPlayer ? m_pPlayer->window() : nullptr) {
        window->show();
        window->raise();
        window->activateWindow();
    }
}

QString MprisService::TrackId() const
{
    const QString path = CurrentPath();
    if (path.isEmpty())
        return kNoTrack;
    const QByteArray hash = QCryptographicHash::hash(path.toUtf8(), QCryptographicHash::Sha1).toHex().left(16);
    return QStringLiteral("/org/tunivox/track/t") + QString::fromLatin1(hash);
}

void MprisService::ReadSong(const QString& path)
{
    if (!m_strCoverPath.isEmpty())
        QFile::remove(m_strCoverPath);
    m_strCoverPath.clear();
    m_strSongPath = path;
    m_metadata.clear();
    m_metadata.insert(QStringLiteral("mpris:trackid"), QVariant::fromValue(QDBusObjectPath(TrackId())));
    if (path.isEmpty())
        return;
    // Until the control has read the song, it is known by its file name.
    const CNowPlayingSong& record = m_pPlayer->GetNowPlaying();
    const CMp3Song song = record.strPath == path ? record.song : CMp3Song();
    const QString folder = PrivateTempFolder();
    if (record.strPath == path && !record.cover.isEmpty() && !folder.isEmpty() && EnsurePrivateFolder(folder)) {
        // A new name per song: desktops cache pictures by their URL.
        const QString cover = folder + QStringLiteral("_tmpMprisArt_%1_%2.jpg").arg(getpid()).arg(++m_nCoverNumber);
        CId3Tag::WriteBufferToFile(cover, record.cover.constData(), static_cast<unsigned>(record.cover.size()));
        if (QFileInfo(cover).size() == record.cover.size()) {
            m_strCoverPath = cover;
            m_metadata.insert(QStringLiteral("mpris:artUrl"), QUrl::fromLocalFile(cover).toString());
        }
    }
    const QString title = song.m_strTagTitle.isEmpty() ? QFileInfo(path).completeBaseName() : song.m_strTagTitle;
    m_metadata.insert(QStringLiteral("xesam:title"), title);
    if (!song.m_strTagArtist.isEmpty())
        m_metadata.insert(QStringLiteral("xesam:artist"), QStringList{song.m_strTagArtist});
    if (!song.m_strTagAlbum.isEmpty())
        m_metadata.insert(QStringLiteral("xesam:album"), song.m_strTagAlbum);
    m_metadata.insert(QStringLiteral("xesam:url"), QUrl::fromLocalFile(path).toString());
    m_metadata.insert(QStringLiteral("mpris:length"), LengthUs());
}

QVariantMap MprisService::Snapshot() const
{
    return {{QStringLiteral("PlaybackStatus"), PlaybackStatus()},
            {QStringLiteral("LoopStatus"), LoopStatus()},
            {QStringLiteral("Shuffle"), Shuffle()},
            {QStringLiteral("Volume"), Volume()},
            {QStringLiteral("Metadata"), m_metadata},
            {QStringLiteral("CanGoNext"), CanGoNext()},
            {QStringLiteral("CanGoPrevious"), CanGoNext()},
            {QStringLiteral("CanPlay"), CanPlay()},
            {QStringLiteral("CanPause"), CanPlay()},
            {QStringLiteral("CanSeek"), CanSeek()}};
}

void MprisService::Update()
{
    if (!m_pPlayer)
        return;
    const QString path = CurrentPath();
    if (path != m_strSongPath || (m_metadata.isEmpty()))
        ReadSong(path);
    else if (!path.isEmpty() && m_metadata.value(QStringLiteral("mpris:length")).toLongLong() != LengthUs())
        m_metadata.insert(QStringLiteral("mpris:length"), LengthUs());

    const QVariantMap now = Snapshot();
    QVariantMap changed;
    for (auto it = now.begin(); it != now.end(); ++it)
        if (m_announced.value(it.key()) != it.value())
            changed.insert(it.key(), it.value());
    m_announced = now;
    if (!changed.isEmpty()) {
        QDBusMessage signal = QDBusMessage::createSignal(kObjectPath, QStringLiteral("org.freedesktop.DBus.Properties"),
                                                         QStringLiteral("PropertiesChanged"));
        signal << kPlayerInterface << changed << QStringList();
        QDBusConnection::sessionBus().send(signal);
    }
}
