// Construction, Init, engine start-up and tear-down, the error routine and the window events.
#include "player/CMediaPlayerCtrl.h"

#include <QApplication>
#include <QCloseEvent>
#include <QLayout>
#include <QMouseEvent>
#include <QToolTip>

#include "audio/CAudioPlayer.h"
#include "controls/CSliderCtrlEx.h"
#include "platform/Folders.h"
#include "platform/StringConv.h"
#include "platform/UserMessages.h"
#include "player/CMediaPlayerToolbar.h"
#include "player/PlayingMarkerDelegate.h"
#include "player/CMediaPlayerWnd.h"
#include "visual/CRegistry.h"

namespace {

// Quiet time after a file change before its tags are read: a tag writer's save is many writes.
constexpr int kTagSettleMs = 150;

} // namespace

CMediaPlayerCtrl::CMediaPlayerCtrl(QWidget* parent)
    : CInterDragListBox(parent), m_strRegSubKey(QString::fromLatin1(REGISTRY_PLAYER_SUBKEY))
{
    // Deliberately pre-sized (size, not capacity): hosts clear the playlist before loading songs.
    m_arrFiles.SetSize(5000);
    m_arrTitles.SetSize(5000);
    m_pPlaylist = std::make_unique<CPlaylistModel>(m_arrFiles, m_arrTitles);
    connect(m_pPlaylist.get(), &CPlaylistModel::pathListed, this, &CMediaPlayerCtrl::WatchFile);
    connect(m_pPlaylist.get(), &CPlaylistModel::pathUnlisted, this, &CMediaPlayerCtrl::UnwatchFile);
    setItemDelegate(new CPlayingMarkerDelegate(this));
    // The state signals follow every change the control announces.
    connect(this, &CMediaPlayerCtrl::transportChanged, this, &CMediaPlayerCtrl::AnnounceStateChanges);
    connect(this, &CMediaPlayerCtrl::songStarted, this, &CMediaPlayerCtrl::AnnounceStateChanges);
    connect(this, &CMediaPlayerCtrl::playlistCleared, this, &CMediaPlayerCtrl::AnnounceStateChanges);
    m_pNowPlaying = new CNowPlaying(this);
    connect(m_pNowPlaying, &CNowPlaying::songRead, this, &CMediaPlayerCtrl::OnNowPlayingRead);
    m_progressTimer.setInterval(950);
    connect(&m_progressTimer, &QTimer::timeout, this, [this] { OnTimer(kProgressTimerId); });
    m_tagTimer.setSingleShot(true);
    m_tagTimer.setInterval(kTagSettleMs);
    connect(&m_tagTimer, &QTimer::timeout, this, [this] { RereadChangedFiles(); });
    m_orderTimer.setSingleShot(true);
    m_orderTimer.setInterval(0);
    connect(&m_orderTimer, &QTimer::timeout, this, [this] { UpdateNextSong(); });
    QAbstractItemModel* list = model();
    connect(list, &QAbstractItemModel::rowsInserted, this, [this](const QModelIndex&, int first, int last) {
        OnRowsInserted(first, last);
        OnPlayOrderChanged();
    });
    connect(list, &QAbstractItemModel::rowsRemoved, this, [this] { OnPlayOrderChanged(); });
    connect(list, &QAbstractItemModel::rowsMoved, this, [this] { OnPlayOrderChanged(); });
    connect(list, &QAbstractItemModel::modelReset, this, [this] { OnPlayOrderChanged(); });
    connect(list, &QAbstractItemModel::layoutChanged, this, [this] { OnPlayOrderChanged(); });
    AddBackgrounds();
    if (parent)
        QMetaObject::invokeMethod(this, [this] { Init(); }, Qt::QueuedConnection);
}

CMediaPlayerCtrl::~CMediaPlayerCtrl()
{
    // The host may be half destroyed already (the control dies with its window): tell it nothing.
    blockSignals(true);
    // The list's model outlives these members (QWidget deletes it) and reports its reset then.
    disconnect(model(), nullptr, this, nullptr);
    OnDestroy();
    if (m_pVisualThread) {
        StopVisualThread();
        m_bInternalIsVisual = 1;
    }
    WriteInternalIsVisual(static_cast<std::uint32_t>(m_bInternalIsVisual));
    Stop();
    WMRelease();
    delete m_pAudioPlayer;
    m_pAudioPlayer = nullptr;
    RemovePicture();
    // Deleted by the host while the companion window lives on: take the window (with the toolbar
    // and sliders) along. When the window is being deleted itself, it has cleared m_PlayerWnd.
    if (CMediaPlayerWnd* wnd = m_PlayerWnd) {
        m_PlayerWnd = nullptr;
        wnd->m_pPlayerCtrl = nullptr;
        setParent(nullptr);
        delete wnd;
    }
}

void CMediaPlayerCtrl::Init()
{
    if (m_bInitDone)
        return;
    QWidget* parent = parentWidget();
    if (!parent)
        return;
    m_bInitDone = true;
    m_hostWindow = parent;
    // The host closing its window is this control's close: the settings are saved then.
    if (QWidget* top = parent->window())
        top->installEventFilter(this);

    const QRect rc = geometry();
    auto* wnd = new CMediaPlayerWnd(parent);
    wnd->setObjectName(QStringLiteral("#32770"));
    wnd->setGeometry(rc);
    wnd->m_pPlayerCtrl = this;
    m_PlayerWnd = wnd;
    // The layout hands back the list's old item: it is ours to free.
    if (QLayout* layout = parent->layout())
        delete layout->replaceWidget(this, wnd);
    wnd->AdoptList(this);
    wnd->show();

    m_Toolbar = new CMediaPlayerToolbar(wnd);
    m_Toolbar->hide();
    m_Trackbar = new CSliderCtrlEx(wnd);
    m_Trackbar->setObjectName(QStringLiteral("trackbar"));
    m_Trackbar->setProperty("dlgCtrlId", kTrackbarId);
    m_Trackbar->setEnabled(false);
    m_Trackbar->SetSuppressDefault(TRUE);
    m_Trackbar->hide();
    m_VolumeBar = new CSliderCtrlEx(wnd);
    m_VolumeBar->setObjectName(QStringLiteral("volumebar"));
    // The position counts the attenuation (level = 65535 - position): full volume sits at 0, drawn
    // on the right so the slider reads as listeners expect.
    m_VolumeBar->SetRange(0, 65535);
    m_VolumeBar->SetInverted(true);
    m_VolumeBar->SetPos(0);
    m_VolumeBar->hide();
    m_Toolbar->ConnectSliders(m_Trackbar, m_VolumeBar);
    ApplySliderSteps();

    WMInit();

    CRegistry registry;
    RegistryValue value;
    DWORD stored = 0;
    if (m_bRemembersVisual && registry.Read(REGISTRY_APP_KEY, "InternalIsVisual", value) &&
        CRegistry::GetDWORD(value, &stored))
        m_bInternalIsVisual = static_cast<BOOL>(stored);

    if (!m_pVisualThread && IsVisualActive()) {
        Refresh(0);
        m_bRestart = 0;
    }
}

BOOL CMediaPlayerCtrl::WMInit()
{
    if (!m_pAudioPlayer) {
        m_pAudioPlayer = new CAudioPlayer();
        CEngineEvents& events = m_pAudioPlayer->Events();
        connect(&events, &CEngineEvents::songHeard, this, &CMediaPlayerCtrl::FollowNextSong);
        // A failed device or an error ends the song too: songEnded comes with them.
        connect(&events, &CEngineEvents::songEnded, this, &CMediaPlayerCtrl::OnEngineEnded);
    }
    const HRESULT hr = m_pAudioPlayer->Init();
    if (FAILED(hr)) {
        Error(hr, m_pAudioPlayer->m_szError);
        m_bEngineReady = false;
        return FALSE;
    }
    m_pAudioPlayer->SetPaths(m_strAppFolder.isEmpty() ? ApplicationFolder() : m_strAppFolder,
                             m_strTempFolder.isEmpty() ? PrivateTempFolder() : m_strTempFolder);
    m_bEngineReady = true;
    ApplyHandBackInterval();
    ApplyPlaybackChoices();
    RestoreGapless();
    return TRUE;
}

void CMediaPlayerCtrl::WMRelease()
{
    if (!m_pAudioPlayer)
        return;
    const HRESULT hr = m_pAudioPlayer->Release();
    if (FAILED(hr))
        Error(hr, m_pAudioPlayer->m_szError);
}

void CMediaPlayerCtrl::Error(long code, const char* context)
{
    // The single place where a diagnostic could be surfaced; deliberately shows and logs nothing.
    const QString text = QString::asprintf("PlayCtrl Error #%d\nError context: %s", static_cast<int>(code),
                                           context ? context : "");
    m_strWork = text;
}

CAudioPlayer* CMediaPlayerCtrl::GetAudioPlayer() { return m_pAudioPlayer; }

const char* CMediaPlayerCtrl::GetRegSubKey()
{
    m_utf8RegSubKey = m_strRegSubKey.toUtf8();
    return m_utf8RegSubKey.constData();
}

void CMediaPlayerCtrl::SetRegSubKey(const char* key) { m_strRegSubKey = FromNarrow(key); }

void CMediaPlayerCtrl::SetHostFolders(const QString& appFolder, const QString& tempFolder)
{
    m_strAppFolder = appFolder;
    m_strTempFolder = tempFolder;
    if (m_pAudioPlayer && m_bEngineReady)
        m_pAudioPlayer->SetPaths(appFolder, tempFolder);
}

void CMediaPlayerCtrl::MovePlayerCtrl(const QRect& rc)
{
    setGeometry(rc);
    update();
}

namespace {

// Notices a quit request (QCoreApplication::quit, or a posted QEvent::Quit) delivered meanwhile.
class CQuitWatcher final : public QObject
{
public:
    bool m_bQuit = false;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Quit)
            m_bQuit = true;
        return QObject::eventFilter(watched, event);
    }
};

} // namespace

int CMediaPlayerCtrl::DoEvents()
{
    QCoreApplication* application = QCoreApplication::instance();
    if (!application)
        return 0;
    // Qt has no peek-and-pump-one; process what is pending without waiting.
    CQuitWatcher watcher;
    application->installEventFilter(&watcher);
    QCoreApplication::processEvents(QEventLoop::AllEvents, 0);
    application->removeEventFilter(&watcher);
    return watcher.m_bQuit ? 1 : 0;
}

void CMediaPlayerCtrl::WriteInternalIsVisual(std::uint32_t value)
{
    if (!m_bRemembersVisual)
        return;
    CRegistry registry;
    DWORD dw = value;
    registry.WriteDWORD(REGISTRY_APP_KEY, "InternalIsVisual", &dw);
}

QWidget* CMediaPlayerCtrl::HostWindow() const
{
    if (m_hostWindow)
        return m_hostWindow.data();
    return parentWidget();
}

void CMediaPlayerCtrl::PostToHost(QEvent::Type type)
{
    if (QWidget* host = HostWindow())
        QCoreApplication::postEvent(host, new CUserMessageEvent(type, static_cast<std::uintptr_t>(m_nDlgCtrlID), 0));
}

void CMediaPlayerCtrl::OnClose()
{
    WriteInternalIsVisual(static_cast<std::uint32_t>(IsVisualActive()));
}

void CMediaPlayerCtrl::OnDestroy()
{
    m_progressTimer.stop();
    m_orderTimer.stop();
}

void CMediaPlayerCtrl::closeEvent(QCloseEvent* e)
{
    OnClose();
    CInterDragListBox::closeEvent(e);
}

void CMediaPlayerCtrl::OnRButtonDown()
{
    if (count() > 0) {
        PostToHost(WM_PLAYER_RIGHT_CLICK);
        emit rightClicked();
    }
}

void CMediaPlayerCtrl::mousePressEvent(QMouseEvent* e)
{
    if (e->button() == Qt::RightButton) {
        OnRButtonDown();
        if (count() > 0)
            emit rightClickedAt(indexAt(e->position().toPoint()).row(), e->globalPosition().toPoint());
        return;
    }
    CInterDragListBox::mousePressEvent(e);
}

void CMediaPlayerCtrl::mouseDoubleClickEvent(QMouseEvent* e)
{
    CInterDragListBox::mouseDoubleClickEvent(e);
    if (e->button() == Qt::LeftButton)
        OnLButtonDblClk();
}

bool CMediaPlayerCtrl::event(QEvent* e)
{
    switch (e->type()) {
    case QEvent::ParentChange:
        if (!m_bInitDone && parentWidget())
            QMetaObject::invokeMethod(this, [this] { Init(); }, Qt::QueuedConnection);
        break;
    case QEvent::Close:
        break;
    default:
        if (e->type() == WM_PLAYER_PROGRESS)
            return true;
        break;
    }
    return CInterDragListBox::event(e);
}

bool CMediaPlayerCtrl::viewportEvent(QEvent* e)
{
    if (e->type() != QEvent::ToolTip)
        return CInterDragListBox::viewportEvent(e);
    const auto* help = static_cast<QHelpEvent*>(e);
    const QListWidgetItem* row = itemAt(help->pos());
    const QRect shown = row ? visualItemRect(row) : QRect();
    // A little room for the row's own margins: a text that just fits needs no tip.
    const bool cut = row && QFontMetrics(row->font()).horizontalAdvance(row->text()) + 8 > shown.width();
    if (cut)
        QToolTip::showText(help->globalPos(), row->text(), viewport(), shown);
    else
        QToolTip::hideText();
    return true;
}

bool CMediaPlayerCtrl::eventFilter(QObject* watched, QEvent* e)
{
    if (e->type() == QEvent::Close && m_hostWindow && watched == m_hostWindow->window())
        OnClose();
    return CInterDragListBox::eventFilter(watched, e);
}

bool CMediaPlayerCtrl::UserMessage(CUserMessageEvent* e)
{
    return CInterDragListBox::UserMessage(e);
}

// The list box's player commands. PlayNext, PlayPrevius, IncreaseVolume, DecreaseVolume and
// SaveToPlaylist deliberately do nothing in this control.
void CMediaPlayerCtrl::PlayNext() {}
void CMediaPlayerCtrl::PlayPrevius() {}
void CMediaPlayerCtrl::IncreaseVolume() {}
void CMediaPlayerCtrl::DecreaseVolume() {}
void CMediaPlayerCtrl::SaveToPlaylist() {}
void CMediaPlayerCtrl::ContinuePlay() { Pause(); }
void CMediaPlayerCtrl::PausePlay() { Pause(); }
void CMediaPlayerCtrl::PlayPlay() { Play(); }
void CMediaPlayerCtrl::StopPlay() { Stop(); }
void CMediaPlayerCtrl::ClearList() { ClearPlayList(); }
