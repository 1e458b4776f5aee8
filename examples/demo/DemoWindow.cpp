#include "DemoWindow.h"

#include <cstdio>
#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QDirIterator>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QSplitter>
#include <QStatusBar>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>

#include "DemoPlayerCtrl.h"
#include "NowPlayingPanel.h"
#include "PlaybackMenu.h"
#include "PlaylistFileActions.h"
#include "ScanStatus.h"
#include "TagEditDialog.h"
#include "TransportBar.h"
#include "audio/CAudioPlayer.h"
#include "audio/WaveOut.h"
#include "controls/CSliderCtrlEx.h"
#include "platform/Folders.h"
#include "platform/UserMessages.h"
#include "player/CMediaPlayerCtrl.h"
#include "player/CMediaPlayerToolbar.h"
#include "player/MprisService.h"
#include "platform/TypedSettings.h"
#include "visual/CRegistry.h"
#include "player/PlaylistFormats.h"
#include "song/CId3Tag.h"

namespace {

const QStringList kAudioPatterns = {
    QStringLiteral("*.mp3"), QStringLiteral("*.flac"), QStringLiteral("*.m4a"), QStringLiteral("*.aac"),
    QStringLiteral("*.wma"), QStringLiteral("*.ogg"),  QStringLiteral("*.opus"), QStringLiteral("*.wav"),
    QStringLiteral("*.aif"), QStringLiteral("*.aiff"), QStringLiteral("*.ape"),  QStringLiteral("*.mp4")};

const char* kStyleSheet = R"(
QMainWindow { background: #f4f6fa; }
QListWidget { background: white; border: 1px solid #d5dbe5; border-radius: 6px; font-size: 11pt; padding: 4px; }
QListWidget::item { padding: 5px 4px; }
QListWidget::item:selected { background: #dce8fb; color: #12233f; }
#nowPlayingTitle { font-size: 15pt; font-weight: 600; color: #1b2437; }
#nowPlayingArtist { font-size: 11pt; color: #3d4a63; }
#nowPlayingAlbum { font-size: 10pt; color: #6b7790; }
#transport { background: #ffffff; border-top: 1px solid #d5dbe5; }
#transport QLabel { color: #3d4a63; font-family: monospace; }
QToolBar { border: none; spacing: 4px; }
QToolButton { border-radius: 4px; padding: 3px 6px; }
QToolButton:checked { background: #dce8fb; }
QToolButton:hover { background: #e9eef6; }
#qt_toolbar_ext_button { padding: 0px; }
)";

// The visualization follows time-stamped lyrics unless the user switched that off in its options.
void SwitchOnSyncedLyrics()
{
    CTypedSettings store;
    const QString key = QString::fromLatin1(REGISTRY_PLAYER_SUBKEY);
    if (store.IsUsable() && !store.Value(key, QStringLiteral("SyncLyrics")))
        store.SetValue(key, QStringLiteral("SyncLyrics"), TypedValue::FromDWORD(1));
}

} // namespace

DemoWindow::DemoWindow()
{
    setWindowTitle(QStringLiteral("Tunivox Player demo"));
    setStyleSheet(QString::fromLatin1(kStyleSheet));

    auto* splitter = new QSplitter(this);
    m_nowPlaying = new NowPlayingPanel(splitter);
    auto* listHolder = new QWidget(splitter);
    auto* listLayout = new QVBoxLayout(listHolder);
    listLayout->setContentsMargins(8, 12, 12, 8);
    m_player = new DemoPlayerCtrl(listHolder);
    m_player->setObjectName(QStringLiteral("playlist"));
    m_player->SetDlgCtrlID(1001);
    m_player->setSelectionMode(QAbstractItemView::ExtendedSelection);
    listLayout->addWidget(m_player);
    splitter->addWidget(m_nowPlaying);
    splitter->addWidget(listHolder);
    splitter->setStretchFactor(1, 1);
    // A narrow window folds the now-playing panel away before the playlist gets too thin to read.
    listHolder->setMinimumWidth(240);
    splitter->setCollapsible(1, false);
    auto* central = new QWidget(this);
    auto* centralLayout = new QVBoxLayout(central);
    centralLayout->setContentsMargins(0, 0, 0, 0);
    centralLayout->setSpacing(0);
    centralLayout->addWidget(splitter, 1);
    setCentralWidget(central);
    m_player->Init();
    // The control starts with room for 5000 entries; a host clears the list before it loads songs.
    m_player->ClearPlayList();

    QToolBar* actions = addToolBar(tr("Playlist"));
    actions->setObjectName(QStringLiteral("playlistActions"));
    actions->setMovable(false);
    actions->setToolButtonStyle(Qt::ToolButtonTextOnly);
    actions->addAction(tr("Add files…"), this, &DemoWindow::AddFiles);
    actions->addAction(tr("Add folder…"), this, &DemoWindow::AddFolder);
    actions->addAction(tr("Clear"), m_player, &CMediaPlayerCtrl::ClearPlayList);
    QAction* editTags = actions->addAction(tr("Edit tags…"), this, &DemoWindow::EditTags);
    editTags->setToolTip(tr("Edit the selected song's tags, lyrics and cover (also while it plays)"));
    actions->addSeparator();
    QAction* visual = actions->addAction(tr("Visualization"), this, [this] { m_player->Refresh(1); });
    visual->setToolTip(tr("Open or close the visualization window"));
    m_openExternal = actions->addAction(tr("Open in external player"), this, &DemoWindow::OpenExternalPlayer);
    m_closeExternal = actions->addAction(tr("Close external player"), this, &DemoWindow::CloseExternalPlayer);
    m_closeExternal->setEnabled(false);
    actions->addSeparator();
    // The listener's ReplayGain and device are remembered; a sound server that restarts is waited for.
    m_player->SetRemembersPlaybackChoices(1);
    m_player->SetDeviceRecovery(10);
    // While no visualization shows, the sound comes back in bursts: a few wake-ups a second.
    m_player->SetHandBackInterval(200);
    auto* playback = new PlaybackMenu(m_player, this);
    QAction* playbackAction = playback->menuAction();
    actions->addAction(playbackAction);
    if (auto* button = qobject_cast<QToolButton*>(actions->widgetForAction(playbackAction)))
        button->setPopupMode(QToolButton::InstantPopup);
    connect(playback, &PlaybackMenu::replayGainChanged, this, &DemoWindow::ShowReplayGain);
    connect(playback, &PlaybackMenu::message, this, [this](const QString& text) { statusBar()->showMessage(text, 6000); });
    connect(m_player, &CMediaPlayerCtrl::deviceStopped, this,
            [this](const QString& text) { statusBar()->showMessage(text, 10000); });

    QMenu* playlistMenu = menuBar()->addMenu(tr("Play&list"));
    playlistMenu->addAction(tr("Open playlist…"), this, [this] { OpenPlaylist(this, m_player, statusBar()); });
    playlistMenu->addAction(tr("Save playlist…"), this, [this] { SavePlaylist(this, m_player, statusBar()); });

    centralLayout->addWidget(BuildTransportBar());
    // Gapless playback is this host's default; a listener's own choice is kept by the control.
    RegistryValue stored;
    if (!CRegistry().Read(m_player->GetRegSubKey(), "Gapless", stored))
        m_player->SetGapless(1);
    // The selection is what "Edit tags…" edits: a song change never moves it; the playing song is
    // marked instead.
    m_player->SetSelectionFollowsPlaying(0);
    // Songs dragged in from a file manager land where the mark shows; entries dragged out go as files.
    m_player->SetAcceptsExternalDrops(1);
    new ScanStatus(m_player, statusBar());
    connect(m_player, &CMediaPlayerCtrl::songStarted, this, &DemoWindow::OnSongStarted);
    // A tagging application saves while songs play: the list, the feed and this window follow.
    m_player->SetWatchFiles(1);
    connect(m_player, &CMediaPlayerCtrl::nowPlayingRead, this, &DemoWindow::OnNowPlayingRead);
    connect(m_player, &CMediaPlayerCtrl::songFailed, this, [this](const QString& path, const QString& reason) {
        statusBar()->showMessage(tr("Cannot play %1: %2").arg(QFileInfo(path).fileName(), reason), 8000);
        // A song prepared to follow that fails leaves the playing one on; one that was to start now
        // leaves nothing playing.
        if (m_player->GetPlayingRow() < 0 || !m_player->GetAudioPlayer()->m_bPlaying)
            ShowNothingPlaying();
    });
    connect(m_player, &CMediaPlayerCtrl::playlistCleared, this, [this] {
        ShowNothingPlaying();
        // The visualization shows the feed until it is told otherwise.
        CStringArray none;
        m_player->SetArts(&none);
        m_player->SetLyrics("");
        m_player->SetMP3VisualTitle("");
        m_player->VisualRefresh();
        statusBar()->showMessage(tr("Playlist cleared"), 3000);
    });
    // Stopped, the gain line goes; paused or resumed it stays.
    connect(m_player, &CMediaPlayerCtrl::transportChanged, this, &DemoWindow::ShowReplayGain);
    connect(m_player, &CMediaPlayerCtrl::progressChanged, this,
            [this](const QString& elapsed, const QString& total) {
                m_elapsed->setText(elapsed);
                m_total->setText(total.isEmpty() ? QStringLiteral("00:00") : total);
            });
    // Repeat and shuffle set anywhere (the desktop's media controls among them) show here.
    connect(m_player, &CMediaPlayerCtrl::repeatChanged, m_repeat, &QToolButton::setChecked);
    connect(m_player, &CMediaPlayerCtrl::shuffleChanged, m_shuffle, &QToolButton::setChecked);
    // Media keys and the desktop's media controls (MPRIS).
    QString mprisError;
    if (!MprisService::Attach(m_player, QString(), &mprisError)) {
        statusBar()->showMessage(tr("No media keys: %1").arg(mprisError), 8000);
    }
    // Not needed before the first song plays: a scan of the process list for an external player
    // left running, and a settings write that the visualization reads when it opens.
    QTimer::singleShot(0, this, [this] {
        UpdateExternalActions();
        SwitchOnSyncedLyrics();
    });
    resize(1000, 620);
}

DemoWindow::~DemoWindow() = default;

QWidget* DemoWindow::BuildTransportBar()
{
    // The toolbar keeps all its buttons: a toolbar outside a main window's tool area would fold them
    // into an extension that is never shown.
    CMediaPlayerToolbar* toolbar = m_player->GetToolbar();
    toolbar->setIconSize(QSize(26, 26));
    toolbar->setMinimumSize(toolbar->sizeHint());
    toolbar->show();

    auto* position = new QWidget;
    auto* positionLayout = new QHBoxLayout(position);
    positionLayout->setContentsMargins(0, 0, 0, 0);
    m_elapsed = new QLabel(QStringLiteral("00:00"), position);
    m_elapsed->setObjectName(QStringLiteral("elapsed"));
    m_total = new QLabel(QStringLiteral("00:00"), position);
    m_total->setObjectName(QStringLiteral("total"));
    CSliderCtrlEx* trackbar = m_player->GetTrackbar();
    trackbar->setParent(position);
    trackbar->setMinimumWidth(160);
    trackbar->show();
    // The elapsed time follows the thumb while it is dragged and shows where a release jumps to at
    // once; the control's tick (under a second) takes over from there.
    connect(trackbar, &CSliderCtrlEx::Scroll, this, [this](unsigned, unsigned tenths) {
        const unsigned seconds = tenths / 10;
        m_elapsed->setText(QStringLiteral("%1:%2")
                               .arg(seconds / 60, 2, 10, QLatin1Char('0'))
                               .arg(seconds % 60, 2, 10, QLatin1Char('0')));
    });
    positionLayout->addWidget(m_elapsed);
    positionLayout->addWidget(trackbar, 1);
    positionLayout->addWidget(m_total);

    auto* options = new QWidget;
    auto* optionsLayout = new QHBoxLayout(options);
    optionsLayout->setContentsMargins(0, 0, 0, 0);
    m_repeat = new QToolButton(options);
    m_repeat->setObjectName(QStringLiteral("repeat"));
    m_repeat->setText(tr("Repeat"));
    m_repeat->setCheckable(true);
    connect(m_repeat, &QToolButton::toggled, this, [this](bool on) { m_player->SetRepeatMode(on); });
    m_shuffle = new QToolButton(options);
    m_shuffle->setObjectName(QStringLiteral("shuffle"));
    m_shuffle->setText(tr("Shuffle"));
    m_shuffle->setCheckable(true);
    connect(m_shuffle, &QToolButton::toggled, this, [this](bool on) { m_player->SetShuflleMode(on); });
    optionsLayout->addWidget(m_repeat);
    optionsLayout->addWidget(m_shuffle);
    optionsLayout->addWidget(new QLabel(tr("Volume"), options));
    CSliderCtrlEx* volume = m_player->GetVolumeBar();
    volume->setParent(options);
    volume->setFixedWidth(110);
    volume->show();
    optionsLayout->addWidget(volume);

    auto* bar = new TransportBar(toolbar, position, options, this);
    bar->setObjectName(QStringLiteral("transport"));
    bar->setAttribute(Qt::WA_StyledBackground);
    return bar;
}

int DemoWindow::AddFile(const QString& path)
{
    CId3Tag tag;
    CMp3Song song = tag.ReadTag(path, QString());
    song.m_strFilePath = path;
    song.m_strAux2 = QFileInfo(path).fileName();
    return m_player->addFile(song, 0) == 0 ? 1 : 0;
}

int DemoWindow::AddPaths(const QStringList& paths)
{
    int added = 0;
    for (const QString& path : paths) {
        const QFileInfo info(path);
        if (info.isFile() && PlaylistFormatFromPath(path) != PlaylistFormat::Unknown) {
            const PlaylistReadResult read = ReadPlaylist(path);
            if (!read.Ok())
                statusBar()->showMessage(read.strError, 8000);
            for (const PlaylistFileEntry& entry : read.entries)
                added += AddFile(entry.strPath);
        } else if (info.isDir()) {
            QStringList files;
            QDirIterator it(info.absoluteFilePath(), kAudioPatterns, QDir::Files, QDirIterator::Subdirectories);
            while (it.hasNext())
                files.append(it.next());
            files.sort(Qt::CaseInsensitive);
            for (const QString& file : files)
                added += AddFile(file);
        } else if (info.isFile()) {
            added += AddFile(info.absoluteFilePath());
        } else {
            statusBar()->showMessage(tr("Not found: %1").arg(path), 5000);
        }
    }
    if (added > 0)
        statusBar()->showMessage(tr("%n song(s) added", nullptr, added), 4000);
    return added;
}

void DemoWindow::AddFiles()
{
    const QStringList files = QFileDialog::getOpenFileNames(
        this, tr("Add files"), QString(), tr("Audio files (%1);;All files (*)").arg(kAudioPatterns.join(QLatin1Char(' '))));
    // Read in the background: many files never freeze the window.
    if (!files.isEmpty())
        m_player->InsertPathsAt(-1, files);
}

void DemoWindow::AddFolder()
{
    const QString folder = QFileDialog::getExistingDirectory(this, tr("Add folder"));
    if (!folder.isEmpty())
        m_player->InsertPathsAt(-1, {folder});
}

void DemoWindow::PlayFirst()
{
    if (m_player->count() == 0)
        return;
    m_player->setCurrentRow(0);
    if (!m_player->Play()) {
        const CAudioPlayer* engine = m_player->GetAudioPlayer();
        const QString error = engine ? QString::fromUtf8(engine->m_szError) : QString();
        if (!m_bTriedNull && error.startsWith(QLatin1String("Could not open the Audio device"))) {
            FallBackToNullDevice();
            m_player->Play();
        } else if (!error.isEmpty()) {
            statusBar()->showMessage(error, 8000);
        }
    }
}

void DemoWindow::FallBackToNullDevice()
{
    m_bTriedNull = true;
    WaveMapperOptions options = GetWaveMapper();
    options.eBackend = WaveBackend::Null;
    SetWaveMapper(options);
    statusBar()->showMessage(tr("No sound device could be opened: playing silently through the null device"));
}

void DemoWindow::ShowReplayGain()
{
    const ReplayGainApplied applied = m_player->GetReplayGainApplied();
    static const char* const kSources[] = {"", "track", "album", "no values"};
    if (applied.eSource == ReplayGainSource::None || m_player->IsStopped()) {
        m_nowPlaying->ShowGain(QString());
        return;
    }
    m_nowPlaying->ShowGain(tr("ReplayGain %1 dB (%2%3)")
                               .arg(applied.dGainDb, 0, 'f', 1)
                               .arg(QLatin1String(kSources[static_cast<int>(applied.eSource)]),
                                    applied.bLimited ? tr(", held below clipping") : QString()));
}

void DemoWindow::ShowNothingPlaying()
{
    m_nowPlaying->ShowNothing();
    m_elapsed->setText(QStringLiteral("00:00"));
    m_total->setText(QStringLiteral("00:00"));
    setWindowTitle(QStringLiteral("Tunivox Player demo"));
}

void DemoWindow::OnSongStarted()
{
    // The song's tags follow in a moment (nowPlayingRead); until then it is known by its name.
    const QString path = m_player->GetPlayingFileName();
    const CNowPlayingSong& known = m_player->GetNowPlaying();
    m_nowPlaying->ShowSong(known.strPath == path ? known : CNowPlayingSong{path, {}, {}, {}});
    ShowReplayGain();
    // The labels belong to this song at once, not at the control's next progress tick.
    m_elapsed->setText(QStringLiteral("00:00"));
    m_total->setText(m_player->GetTotalText().isEmpty() ? QStringLiteral("00:00") : m_player->GetTotalText());
    setWindowTitle(QStringLiteral("%1 — Tunivox Player demo").arg(m_nowPlaying->Title()));
}

void DemoWindow::EditTags()
{
    const int row = m_player->currentRow();
    if (row < 0 || row >= m_player->GetFiles().GetSize()) {
        statusBar()->showMessage(tr("Select a song first"), 3000);
        return;
    }
    TagEditDialog dialog(m_player->GetFiles().GetAt(row), this);
    if (dialog.exec() == QDialog::Accepted)
        statusBar()->showMessage(tr("Tags saved"), 3000);
}

void DemoWindow::OnNowPlayingRead(const CNowPlayingSong& song)
{
    // At a song start and after its tags were saved: the control's one read of it.
    if (m_player->IsPlaying() && song.strPath == m_player->GetPlayingFileName()) {
        m_nowPlaying->ShowSong(song);
        setWindowTitle(QStringLiteral("%1 — Tunivox Player demo").arg(m_nowPlaying->Title()));
    }
}

void DemoWindow::customEvent(QEvent* e)
{
    // The control's notifications also arrive as posted events, as a non-Qt host would see them.
    if (e->type() == WM_PLAYER_RIGHT_CLICK)
        statusBar()->showMessage(tr("%n song(s) selected", nullptr, int(m_player->selectedItems().size())), 3000);
    QMainWindow::customEvent(e);
}

void DemoWindow::OpenExternalPlayer()
{
    const QString folder = PrivateTempFolder();
    m_player->SetListFolder(folder);
    m_player->StartTunivoxMplayer();
    const QString program = CMediaPlayerCtrl::GetApplicationPath() + QStringLiteral("tplayer");
    const QString device = GetWaveMapper().eBackend == WaveBackend::Null ? QStringLiteral("null") : QStringLiteral("alsa");
    const QString args = QStringLiteral("--device %1 \"%2_tmpIntPlayer.m3u\"").arg(device, folder);
    const PROCESS_INFORMATION pi = m_player->ExecuteProgramHandle(program, args, 0);
    if (pi.dwProcessId == 0) {
        statusBar()->showMessage(tr("Could not start the external player"), 5000);
        return;
    }
    m_player->SetExternalProcess(pi);
    statusBar()->showMessage(tr("Playlist handed to the external player"), 4000);
    UpdateExternalActions();
}

void DemoWindow::CloseExternalPlayer()
{
    m_player->CloseExternalPlayer();
    UpdateExternalActions();
}

void DemoWindow::UpdateExternalActions()
{
    const bool running = m_player->AppIsAllreadyRunning(QStringLiteral("tplayer"));
    m_openExternal->setEnabled(!running);
    m_closeExternal->setEnabled(running);
}

void DemoWindow::closeEvent(QCloseEvent* e)
{
    if (m_player->AppIsAllreadyRunning(QStringLiteral("tplayer")))
        m_player->CloseExternalPlayer();
    QString error;
    if (!SaveSession(&error)) {
        const QString text = tr("The session could not be saved: %1").arg(error);
        std::fprintf(stderr, "tunivox-demo: %s\n", text.toUtf8().constData());
        // The listener sees why before the window goes; closing again quits with the last session kept.
        if (!m_bCloseWithoutAsking && !m_bSaveFailureShown) {
            m_bSaveFailureShown = true;
            statusBar()->showMessage(text + tr(". Close again to quit; the session saved before stays."));
            e->ignore();
            return;
        }
    }
    QMainWindow::closeEvent(e);
}

void DemoWindow::CloseWithoutAsking()
{
    m_bCloseWithoutAsking = true;
    close();
}
