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
QListWidget { background: white; border: 2px solid #d5dbe5; border-radius: 6px; font-size: 11pt; padding: 3px; }
QListWidget:focus { border-color: #2a7fd4; }
QListWidget::item { padding: 5px 4px; }
QListWidget::item:selected { background: #dce8fb; color: #12233f; }
#nowPlayingTitle { font-size: 15pt; font-weight: 600; color: #1b2437; }
#nowPlayingArtist { font-size: 11pt; color: #3d4a63; }
#nowPlayingAlbum { font-size: 10pt; color: #6b7790; }
#transport { background: #ffffff; border-top: 1px solid #d5dbe5; }
#transport QLabel { color: #3d4a63; font-family: monospace; }
QToolBar { border: none; spacing: 4px; }
QToolButton { border: 2px solid transparent; border-radius: 4px; padding: 1px 4px; }
QToolButton:checked { background: #dce8fb; }
QToolButton:hover { background: #e9eef6; }
QToolButton:focus { border-color: #2a7fd4; }
QScrollBar:vertical { background: #eef1f6; width: 12px; margin: 0px; border: none; }
QScrollBar:horizontal { background: #eef1f6; height: 12px; margin: 0px; border: none; }
QScrollBar::handle { background: #6b7790; border-radius: 4px; margin: 2px; }
QScrollBar::handle:vertical { min-height: 28px; }
QScrollBar::handle:horizontal { min-width: 28px; }
QScrollBar::handle:hover { background: #4f5b73; }
QScrollBar::add-line, QScrollBar::sub-line { width: 0px; height: 0px; border: none; }
QScrollBar::add-page, QScrollBar::sub-page { background: none; }
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
    // Every action has a key and a place in the menu bar: the tool bar folds actions away in a narrow
    // window, and a keyboard user reaches them there too.
    QMenu* playlistMenu = menuBar()->addMenu(tr("Play&list"));
    const auto add = [&](QMenu* menu, const QString& text, const QKeySequence& keys, auto slot, auto* target) {
        QAction* action = actions->addAction(text, target, slot);
        action->setShortcut(keys);
        menu->addAction(action);
        return action;
    };
    add(playlistMenu, tr("Add files…"), QKeySequence(Qt::CTRL | Qt::Key_O), &DemoWindow::AddFiles, this);
    add(playlistMenu, tr("Add folder…"), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_O), &DemoWindow::AddFolder, this);
    add(playlistMenu, tr("Clear"), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Backspace), &CMediaPlayerCtrl::ClearPlayList,
        m_player);
    QAction* editTags = add(playlistMenu, tr("Edit tags…"), QKeySequence(Qt::CTRL | Qt::Key_E), &DemoWindow::EditTags, this);
    editTags->setToolTip(tr("Edit the selected song's tags, lyrics and cover (also while it plays)"));
    playlistMenu->addSeparator();
    QAction* openList = playlistMenu->addAction(tr("Open playlist…"), this, [this] { OpenPlaylist(this, m_player, statusBar()); });
    openList->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_L));
    QAction* saveList = playlistMenu->addAction(tr("Save playlist…"), this, [this] { SavePlaylist(this, m_player, statusBar()); });
    saveList->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_S));
    actions->addSeparator();
    m_playerMenu = menuBar()->addMenu(tr("Pla&yer"));
    QAction* visual = add(m_playerMenu, tr("Visualization"), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_V),
                          [this] { m_player->Refresh(1); }, this);
    visual->setToolTip(tr("Open or close the visualization window"));
    m_openExternal = add(m_playerMenu, tr("Open in external player"), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_E),
                         &DemoWindow::OpenExternalPlayer, this);
    m_closeExternal = add(m_playerMenu, tr("Close external player"), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_W),
                          &DemoWindow::CloseExternalPlayer, this);
    m_closeExternal->setEnabled(false);
    actions->addSeparator();
    // The listener's ReplayGain and device are remembered; a sound server that restarts is waited for.
    m_player->SetRemembersPlaybackChoices(1);
    m_player->SetDeviceRecovery(10);
    // What a listener hears first: gain by the song's own values, unless they chose otherwise.
    RegistryValue storedGain;
    if (!CRegistry().Read(m_player->GetRegSubKey(), "ReplayGainMode", storedGain)) {
        ReplayGainOptions gain = m_player->GetReplayGain();
        gain.eMode = ReplayGainMode::Track;
        m_player->SetReplayGain(gain);
    }
    // While no visualization shows, the sound comes back in bursts: a few wake-ups a second.
    m_player->SetHandBackInterval(200);
    // Arrow keys on the sliders move 1 s and 5 %, PageUp and PageDown 10 s and 10 %.
    m_player->SetListenerSliderSteps(1);
    // What OK applies in "Visualization options" is kept for the next session.
    m_player->SetSavesVisualOptions(1);
    auto* playback = new PlaybackMenu(m_player, this);
    playback->setTitle(tr("Play&back"));
    QAction* playbackAction = playback->menuAction();
    actions->addAction(playbackAction);
    menuBar()->addMenu(playback);
    if (auto* button = qobject_cast<QToolButton*>(actions->widgetForAction(playbackAction)))
        button->setPopupMode(QToolButton::InstantPopup);
    connect(playback, &PlaybackMenu::replayGainChanged, this, &DemoWindow::ShowReplayGain);
    connect(playback, &PlaybackMenu::message, this, [this](const QString& text) { statusBar()->showMessage(text, 6000); });
    connect(m_player, &CMediaPlayerCtrl::deviceStopped, this,
            [this](const QString& text) { statusBar()->showMessage(text, 10000); });

    centralLayout->addWidget(BuildTransportBar());
    SetUpKeyboard(actions);
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

void DemoWindow::SetUpKeyboard(QToolBar* actions)
{
    // The transport: the control's own tool bar actions, with keys the list leaves alone (it takes
    // Return and Delete with any modifier, Ctrl+A/S/Z and plain letters).
    CMediaPlayerToolbar* toolbar = m_player->GetToolbar();
    struct Command { int id; const char* text; QKeySequence keys; };
    const Command commands[] = {
        {kCommandPlay, QT_TR_NOOP("Play"), QKeySequence(Qt::CTRL | Qt::Key_Space)},
        {kCommandPause, QT_TR_NOOP("Pause"), QKeySequence(Qt::CTRL | Qt::Key_P)},
        {kCommandStop, QT_TR_NOOP("Stop"), QKeySequence(Qt::CTRL | Qt::Key_Period)},
        {kCommandPrevious, QT_TR_NOOP("Previous"), QKeySequence(Qt::CTRL | Qt::Key_Left)},
        {kCommandNext, QT_TR_NOOP("Next"), QKeySequence(Qt::CTRL | Qt::Key_Right)},
    };
    QAction* visual = m_playerMenu->actions().value(0);
    for (const Command& command : commands) {
        QAction* action = toolbar->CommandAction(command.id);
        action->setText(tr(command.text));
        action->setShortcut(command.keys);
        m_playerMenu->insertAction(visual, action);
    }
    m_playerMenu->insertSeparator(visual);
    m_playerMenu->addSeparator();
    // The tool bar's visualization button does what the "Visualization" action does, with its key.
    toolbar->CommandAction(kCommandVisualization)->setToolTip(
        tr("Visualization (%1)").arg(visual->shortcut().toString(QKeySequence::NativeText)));

    // Repeat and shuffle: menu entries that move with their buttons.
    for (auto [button, keys] : {std::pair{m_repeat, QKeySequence(Qt::CTRL | Qt::Key_R)},
                                std::pair{m_shuffle, QKeySequence(Qt::CTRL | Qt::Key_U)}}) {
        QAction* action = m_playerMenu->addAction(button->text());
        action->setCheckable(true);
        action->setShortcut(keys);
        connect(action, &QAction::toggled, button, &QToolButton::setChecked);
        connect(button, &QToolButton::toggled, action, &QAction::setChecked);
        button->setToolTip(QStringLiteral("%1 (%2)").arg(button->text(), keys.toString(QKeySequence::NativeText)));
    }

    // Tool tips name the key; every tool bar button takes the focus with Tab.
    for (QToolBar* bar : {actions, static_cast<QToolBar*>(toolbar)}) {
        for (QAction* action : bar->actions()) {
            if (!action->shortcut().isEmpty() && action != toolbar->CommandAction(kCommandVisualization)) {
                const QString tip = action->toolTip().isEmpty() ? action->text() : action->toolTip();
                action->setToolTip(QStringLiteral("%1 (%2)").arg(tip, action->shortcut().toString(QKeySequence::NativeText)));
            }
            if (QWidget* button = bar->widgetForAction(action))
                button->setFocusPolicy(Qt::TabFocus);
        }
    }
}

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
