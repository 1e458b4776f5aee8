#pragma once
// The player control: a drag-reorder playlist list box that also plays its songs through the audio
// engine, drives a position and a volume slider, posts notifications to the host window, feeds the
// visualization thread and hands the playlist to the external player.
//
// The host creates it as a child of one of its windows (or promotes a QListWidget in Designer).
// Init() runs once the control has its parent window (deferred from the constructor or from the first
// parent change); a host may call it itself. Init puts a companion window (CMediaPlayerWnd) at the
// list's place, re-parents the list into it and makes the toolbar and sliders there, hidden: the host
// takes them with GetToolbar(), GetTrackbar() and GetVolumeBar(), places them and calls show().
//
// The playlist is held three times in parallel, index for index: the item texts ("%d. %s"),
// m_arrFiles (paths) and m_arrTitles (display titles). The two arrays are written only by the
// playlist model (CPlaylistModel), which also keeps a record with a stable id per row and holds the
// playing and the prepared entries by id.
//
// Notifications (posted CUserMessageEvent to the widget that was the control's parent when Init ran, not
// to its top-level window: a QMainWindow host whose control sits in a central widget gets them in that
// widget; wParam = GetDlgCtrlID(), lParam = 0), each also emitted as a signal, which any object can take:
//   1223 WM_PLAYER_SONG_STARTED  songStarted()     a song was started by PlayStart
//                                                  (or, gapless, the next song was heard)
//   1224 WM_PLAYER_LIST_CLEARED  playlistCleared() ClearPlayList ran
//   1226 WM_PLAYER_RIGHT_CLICK   rightClicked()    right button pressed on a non-empty list
//
// Tags saved while the list is shown (the host is a tagging application): with SetWatchFiles(1) the
// control watches every listed file; when one changes it re-reads its tags after a short settling
// time, re-titles that entry by addFile's rules (with the bUseTags it was added with) and, for the
// playing song, hands the new title, lyrics and cover to the visualization feed; then it emits
// songTagsChanged(path). NotifyFileChanged(path) does the same at once, for hosts whose files sit
// where changes are not notified. The playing audio is not disturbed: the engine follows its file.
//
// Listening choices beyond the classic control, each off until the host switches it on: ReplayGain
// (SetReplayGain), the output device (SetOutputDevice, also while playing), recovery of a failed
// device (SetDeviceRecovery, then deviceStopped when it does not come back), and remembering the
// listener's ReplayGain and device in the settings store (SetRemembersPlaybackChoices).
// Gapless playback (SetGapless(1), off by default, kept in the settings as "Gapless"): while a song
// plays, the song the play order brings next (Next's rules, shuffle and repeat as the timer would
// apply them) is opened ahead and follows the current one without a gap. When its first block is
// heard the control does what PlayStart does for a started song: index, selection, slider, 1223,
// songStarted, title and tags to the visualization. A list change, a repeat or shuffle change, Stop
// or PlayStart cancels or replaces it. Off: the end of a song is found by the timer, as always.
// The engine tells the control when the next song was heard (CEngineEvents); nothing polls for it.
// A next song that cannot be prepared is reported with songFailed; the timer then moves on to it
// at the end of the current song, as without the option.
//
// Sleeping between blocks (off by default): with SetHandBackInterval(ms) the sound device hands
// heard blocks back in bursts up to ms apart, and the engine's threads sleep in between, while no
// visualization window is open (it draws the block now sounding, so it gets them one by one). The
// position the timer, the slider and the host read is exact either way.
//
// Songs from other programs (off by default): with SetAcceptsExternalDrops(1), files and folders
// dropped as text/uri-list (a file manager's drag) are inserted where the insertion mark shows, and
// selected items dragged out of the program's windows are offered to other programs as file URLs.
// The mouse dragging inside and between drag list boxes is the same either way.
//
// InsertPathsAt reads tags off the GUI thread (CSongScanner) and inserts the songs in batches as they
// are read, in order, by addFile's rules (duplicates rejected), renumbering the list. Scans queue up
// and run one at a time; scanProgress and scanFinished report on them, CancelScan ends them.
//
// Threading: every operation runs on the GUI thread. The visualization thread reads the feed (title,
// lyrics, arts, backgrounds, change word) only under m_hChangeMutex, which both sides take with a
// 100 ms limit; writers that miss the limit drop their update (the GUI never waits longer).

#include <QHash>
#include <QPointer>
#include <QSet>
#include <QString>
#include <QTimer>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <sys/types.h>

#include "audio/ReplayGain.h"
#include "audio/WaveOut.h"
#include "controls/CInterDragListBox.h"
#include "controls/CSliderCtrlEx.h"
#include "controls/PlaylistArrays.h"
#include "platform/CStringArray.h"
#include "platform/ProcessList.h"
#include "player/CMediaPlayerToolbar.h"
#include "platform/ProcessRunner.h"
#include "session/NowPlaying.h"
#include "session/PlaylistModel.h"
#include "song/CMp3Song.h"
#include "tunivox_export.h"
#include "visual/IVisualFeedSource.h"

class CAudioPlayer;
class CMediaPlayerWnd;
class QFileSystemWatcher;
class QMimeData;
class CSongScanner;
class CPlaylistModel;
class CVisualThread;

// The progress timer's id (its tick is OnTimer(kProgressTimerId)) and the position slider's control id.
inline constexpr int kProgressTimerId = 291;
inline constexpr int kTrackbarId = 222;

// Custom event the control posts to itself after a progress step and on Stop; its number is the
// timer's, as the window message it stands for was. wParam kTrackbarId, lParam the position.
inline constexpr QEvent::Type WM_PLAYER_PROGRESS = static_cast<QEvent::Type>(QEvent::User + kProgressTimerId);

class TUNIVOX_EXPORT CMediaPlayerCtrl : public CInterDragListBox, public IVisualFeedSource, public IPlaylistArrays
{
    Q_OBJECT

public:
    // What stateChanged reports.
    enum PlaybackState { StateStopped, StatePlaying, StatePaused };
    Q_ENUM(PlaybackState)

    explicit CMediaPlayerCtrl(QWidget* parent = nullptr);
    ~CMediaPlayerCtrl() override;

    // Lifecycle.
    void Init();
    BOOL WMInit();
    void WMRelease();
    void Error(long code, const char* context);
    CAudioPlayer* GetAudioPlayer() override;
    const char* GetRegSubKey() override;
    void SetRegSubKey(const char* key);
    void MovePlayerCtrl(const QRect& rc);
    int DoEvents();

    // Playlist.
    int addFile(CMp3Song song, int bUseTags);
    int LoadMp3sToPlayer(CStringArray* files);
    void ClearPlayList();
    void ClearFileArray();
    void RearrangeListItems();
    QString GetPlayingSongName();
    QString GetPlayingFileName();
    QString SetPlayerSongTitle(CMp3Song song, int bFirstOnly, int bTwoLines);
    static QString GetFormattedTime(int seconds);
    static QString GetFileName(const QString& path);
    static QString GetFileWithNoExtension(const QString& name);

    // Drops from other programs and drags out to them (off by default).
    void SetAcceptsExternalDrops(int bAccept);
    BOOL IsAcceptingExternalDrops() const { return m_bAcceptsDrops; }
    // Reads the songs of `paths` (files; folders recursively, for the types the engine plays) off the
    // GUI thread and inserts them before entry `index` (at the end when out of range), in order.
    // Returns at once; a scan that runs already goes first.
    void InsertPathsAt(int index, const QStringList& paths, int bUseTags = 0);
    // Ends the running scan and drops the waiting ones; what was inserted stays.
    void CancelScan();
    BOOL IsScanning() const { return m_bScanning; }
    // The selected entries' files as a drag to another program carries them (file URLs); owned by the caller.
    QMimeData* SelectionMimeData() const;

    // Tag changes of listed files (off by default).
    void SetWatchFiles(int bWatch);
    BOOL IsWatchingFiles() const { return m_pWatcher != nullptr; }
    // Re-reads the tags of `path` now: 1 when it is listed (and readable), else 0.
    int NotifyFileChanged(const char* path);
    int NotifyFileChanged(const QString& path) { return NotifyFileChanged(path.toUtf8().constData()); }

    // Transport.
    int PlayStart(const char* path);
    int PlayStart(const QString& path) { return PlayStart(path.toUtf8().constData()); }
    int Play();
    int Pause();
    int Stop();
    int Prev();
    int Next();
    int Refresh(int bSetTitle);
    BOOL IsPlaying() const { return m_bPlaying; }
    // Playing, paused or stopped as the listener hears it (a song that ended is stopped).
    PlaybackState GetPlaybackState() const;
    BOOL IsPaused() const { return m_bPaused; }
    BOOL IsStopped() const { return m_bStopped; }
    BOOL IsRepeat() const { return m_bRepeat; }
    BOOL IsShuffle() const { return m_bShuffle; }
    void SetRepeatMode(int b) { m_bRepeat = b; OnPlayOrderChanged(); emit transportChanged(); }
    void SetShuflleMode(int b) { m_bShuffle = b; OnPlayOrderChanged(); emit transportChanged(); }
    // Whether the selection and the scroll position follow the playing song (1, the default, as the
    // classic control does). 0: they are the user's and never move on their own; the playing entry
    // is marked instead (bold, with a play symbol), the marker stays on its song through drags and
    // Deletes, and deleting the playing entry lets the song after it come next.
    void SetSelectionFollowsPlaying(int bFollows);
    BOOL IsSelectionFollowingPlaying() const { return m_bSelectionFollowsPlaying; }
    // The row of the playing song, -1 while stopped, after a song failed to start or when its entry
    // was deleted.
    int GetPlayingRow() const;
    // Gapless playback (see the top of this file). Stored in the settings; Init restores it.
    void SetGapless(int bGapless);
    BOOL IsGapless() const { return m_bGapless; }
    // Burst hand-back while no visualization runs (see the top of this file); 0 (default) is off.
    void SetHandBackInterval(int nMilliseconds);
    int GetHandBackInterval() const { return m_nHandBackMs; }
    // Slider steps a listener can see (0, the classic steps, by default: an arrow key or a wheel
    // notch moves the position 0.1 s and the volume 1/65535, PageUp/PageDown a fifth of the range).
    // 1: arrows and the wheel move the position 1 s and the volume 5 %, PageUp/PageDown 10 s and
    // 10 %. Either way a step ends in TB_ENDTRACK, the seek a released drag makes.
    void SetListenerSliderSteps(int bOn);
    // Whether OK in the visualization's options dialog saves the settings for the next session (0,
    // the classic behaviour, by default: they apply until the window closes).
    void SetSavesVisualOptions(int bSaves);
    BOOL IsSavingVisualOptions() const { return m_bSavesVisualOptions; }
    BOOL HasListenerSliderSteps() const { return m_bListenerSliderSteps; }
    // 0..100 with 100 the loudest.
    long GetVolume();
    // 0..100 inverted on purpose: 0 is the loudest and 100 silence, as the volume slider counts.
    void SetVolume(long v);
    void ProcessTrackbar(unsigned code, unsigned position);
    void ProcessVolumeBar(unsigned code, unsigned position);
    void StartPlayingFromPos(unsigned position);

    // Tags and cover art of a song, handed to the visualization.
    int GetMp3TagInfo(const QString& path);
    // The playing song's record (tags, cover, time-stamped lyrics), read once when it started or its
    // tags changed; nowPlayingRead tells when it is there.
    const CNowPlayingSong& GetNowPlaying() const;

    // Visualization feed.
    void VisualRefresh();
    void AddBackgrounds();
    void SetArts(CStringArray* arts);
    CStringArray* GetArts() override;
    void SetBackgrounds(CStringArray* backgrounds);
    CStringArray* GetBackgrounds() override;
    void SetLyrics(const char* lyrics);
    void SetLyrics(const QString& lyrics) { SetLyrics(lyrics.toUtf8().constData()); }
    const char* GetLyrics() override;
    // Time-stamped lyrics of the playing song, handed over with the lyrics (change bit 2); the
    // visualization follows them when its "synchronised lyrics" setting is on. GetMp3TagInfo sets
    // them from the song (ReadSyncedLyrics); a host may set its own after it.
    void SetSyncedLyrics(const CSyncedLyrics& lines);
    CSyncedLyrics GetSyncedLyrics() override;
    void SetMP3VisualTitle(const char* title);
    const char* GetMP3VisualTitle() override;
    std::timed_mutex& GetChangeMutex() override { return m_hChangeMutex; }
    std::uint32_t GetChange() const override { return m_dwChange.load(std::memory_order_relaxed); }
    void SetChange(std::uint32_t dwChange) override { m_dwChange.store(dwChange, std::memory_order_relaxed); }
    BOOL IsVisualActive() const { return m_bInternalIsVisual; }
    void SetVisualActive(int b) { m_bInternalIsVisual = b; }
    void VisualThreadEnded(CVisualThread* thread) override;
    CVisualThread* GetVisualThread() const { return m_pVisualThread; }

    // External player.
    BOOL IsExternalPlayer() const { return m_bInternalIsVisual; }
    void PlayInExternalPlayer(int unused);
    int CloseExternalPlayer();
    int AppIsAllreadyRunning(const QString& exeName);
    static int IsFileExist(const QString& path);
    static QString GetApplicationPath();
    QWidget* GetChildWindow(QWidget* parent, const QString& text);
    // The external player's process, as a host that launched it with ExecuteProgramHandle stores it.
    void SetExternalProcess(const PROCESS_INFORMATION& pi);
    const PROCESS_INFORMATION& GetExternalProcess() const { return m_piExternal; }
    void SetListFolder(const QString& folder) { m_strListFolder = folder; }
    QString GetListFolder() const { return m_strListFolder; }
    BOOL ExecuteProgramCloseProcess(const QString& program, const QString& args, int mode);
    PROCESS_INFORMATION ExecuteProgramHandle(const QString& program, const QString& args, int bDetached);
    void KillProcessByName(const char* exeName);

    // Overrides of the drag list box's player commands.
    void PlayNext() override;
    void PlayPrevius() override;
    void IncreaseVolume() override;
    void DecreaseVolume() override;
    void SaveToPlaylist() override;
    void ContinuePlay() override;
    void PausePlay() override;
    void PlayPlay() override;
    void StopPlay() override;
    void ClearList() override;
    void RenumberItems() override;
    void StartTunivoxMplayer() override;

    // IPlaylistArrays: the Delete key removes an entry from both parallel arrays.
    void RemoveEntryAt(int index) override;

    // Host-facing access to the pieces Init makes (the host decides where to show them).
    int GetDlgCtrlID() const { return m_nDlgCtrlID; }
    void SetDlgCtrlID(int id) { m_nDlgCtrlID = id; }
    CMediaPlayerWnd* GetPlayerWnd() const { return m_PlayerWnd; }
    CMediaPlayerToolbar* GetToolbar() const { return m_Toolbar.data(); }
    CSliderCtrlEx* GetTrackbar() const { return m_Trackbar.data(); }
    CSliderCtrlEx* GetVolumeBar() const { return m_VolumeBar.data(); }
    QString GetElapsedText() const { return m_strElapsed; }
    QString GetTotalText() const { return m_strTotal; }
    int GetCurrentIndex() const { return m_nCurrentIndex; }
    const CStringArray& GetFiles() const { return m_arrFiles; }
    const CStringArray& GetTitles() const { return m_arrTitles; }
    const CMp3Song& GetSong() const { return m_song; }
    QString GetCurrentPicturePath() const { return m_strPicturePath; }
    // Whether Init restores "InternalIsVisual" and closing saves it (default 1). A second program
    // on the same settings, such as the external player, sets 0 before Init: it neither opens the
    // host's visualization nor changes what the host will restore.
    void SetRemembersVisualization(int bRemember) { m_bRemembersVisual = bRemember != 0; }
    // Folders handed to the engine by WMInit: the converter's folder and the temporary folder.
    // Default: the application folder and the private temporary folder.
    void SetHostFolders(const QString& appFolder, const QString& tempFolder);

    // Listening choices (PlayerPlayback.cpp). ReplayGain of every song played, the playing one
    // included (heard within the engine's ring, about 2 s). Default: off.
    void SetReplayGain(const ReplayGainOptions& options);
    ReplayGainOptions GetReplayGain() const { return m_replayGain; }
    // What the playing song plays at (source None while ReplayGain is off).
    ReplayGainApplied GetReplayGainApplied() const;
    // The output device by ALSA name (empty, the default: the host's wave mapper). While a song
    // plays it moves there at the position reached. 1 done; 0 when the device cannot be opened: the
    // song plays on where it was, the choice is not taken and Error has the reason.
    int SetOutputDevice(const QString& name);
    QString GetOutputDevice() const { return m_strOutputDevice; }
    static std::vector<WaveOutDeviceInfo> ListOutputDevices() { return waveOutListDevices(); }
    // Seconds a failed sound device is tried again before the song ends with deviceStopped (0, the
    // default: a failed device ends the song quietly, as the classic control does).
    void SetDeviceRecovery(int seconds);
    int GetDeviceRecovery() const { return m_nRecoverySeconds; }
    // 1: the stored ReplayGain options and device are applied now and each change is stored, under
    // GetRegSubKey() ("ReplayGainMode", "ReplayGainPreampDb", "ReplayGainPreventClipping",
    // "ReplayGainFallbackDb", "OutputDevice"). Default 0: nothing is read or written.
    void SetRemembersPlaybackChoices(int bRemember);

    // The progress timer's handler (id kProgressTimerId), public so hosts and tests can drive a tick.
    void OnTimer(int id);

signals:
    void songStarted();
    void playlistCleared();
    void rightClicked();
    // Right after songStarted: the started song's file and its row (-1 when it is not listed).
    void songStartedAt(const QString& path, int row);
    // Right after rightClicked: the row under the pointer (-1 below the last) and where, on screen.
    void rightClickedAt(int row, const QPoint& globalPos);
    // Each when it changes, after the call or the event that changed it: the transport's state, the
    // playing entry's row (GetCurrentIndex), the volume (GetVolume's 0..100), repeat and shuffle.
    void stateChanged(CMediaPlayerCtrl::PlaybackState state);
    void currentIndexChanged(int index);
    void volumeChanged(int volume);
    void repeatChanged(bool repeat);
    void shuffleChanged(bool shuffle);
    // After each progress step and on Stop: elapsed text, total text, position in engine units.
    void progressChanged(const QString& elapsed, const QString& total, qulonglong position);
    // A listed file's tags were re-read after it changed: its item text and title follow them.
    void songTagsChanged(const QString& path);
    // A song could not be played: it would not open, or it ended without a sound and without a
    // length (not audio at all). `reason` is for the listener ("no such file", ...).
    void songFailed(const QString& path, const QString& reason);
    // With device recovery on: the sound device failed and did not come back in time, so the song
    // ended. `text` starts "The sound device stopped: ".
    void deviceStopped(const QString& text);
    // Paused, resumed, stopped, the song ended or failed, or repeat, shuffle or the volume changed:
    // for readers that mirror the transport (the desktop's media controls) without polling.
    void transportChanged();
    // The playing song's record was read: a moment after each song start (off the window's thread;
    // the visualization gets the song's lyrics and cover then) and at once after its tags changed.
    // Readers that show the song take it from here instead of reading the file again.
    void nowPlayingRead(const CNowPlayingSong& song);
    // The position was moved (the slider or StartPlayingFromPos), in engine units.
    void seeked(qulonglong position);
    // While InsertPathsAt reads: songs read so far by the running scan and the folder it reads in.
    void scanProgress(int nRead, const QString& folder);
    // A scan ended: the songs it inserted (duplicates not counted) and whether it was cancelled.
    void scanFinished(int nAdded, bool bCancelled);
    // Just before scanFinished, when the scan passed over what it could not read (folders it may not
    // open, names that are not UTF-8, devices or FIFOs named like songs): how many, and the first few.
    void scanSkipped(int nSkipped, const QStringList& firstPaths);

protected:
    int FindString(const CStringArray& arr, const char* s);
    static QString CapitalizeStr(const QString& s);
    static QString AddSpace2String(const QString& s, int width);
    static int ReverseFind(const char* s, const char* sub);
    // A UTF-16 copy (length + 1 units, zero-terminated) that the caller frees with delete[]; null for null.
    static char16_t* UnicodeConversion(const char* text);

    void OnClose();
    void OnDestroy();
    void OnRButtonDown();
    void OnLButtonDblClk();

    bool event(QEvent* e) override;
    // A row cut off by the list's width shows its whole text as a tool tip.
    bool viewportEvent(QEvent* e) override;
    bool eventFilter(QObject* watched, QEvent* e) override;
    void mousePressEvent(QMouseEvent* e) override;
    void mouseDoubleClickEvent(QMouseEvent* e) override;
    void closeEvent(QCloseEvent* e) override;
    bool UserMessage(CUserMessageEvent* e) override;
    UINT Dragging(QPoint ptScreen) override;
    void Dropped(QPoint ptScreen) override;
    void dragEnterEvent(QDragEnterEvent* e) override;
    void dragMoveEvent(QDragMoveEvent* e) override;
    void dragLeaveEvent(QDragLeaveEvent* e) override;
    void dropEvent(QDropEvent* e) override;

private:
    void PostToHost(QEvent::Type type);
    QWidget* HostWindow() const;
    void WriteInternalIsVisual(std::uint32_t value);
    void StartVisualThread(bool bSetTitle);
    void StopVisualThread();
    void ApplyHandBackInterval();
    void ApplySliderSteps();
    void RemovePicture();
    // The folder the feed's pictures go to (private), empty when there is none.
    QString FeedFolder() const;
    // What GetMp3TagInfo hands the visualization, from a record read already.
    void ApplySongToFeed(const CNowPlayingSong& record);
    void OnNowPlayingRead(const CNowPlayingSong& record);
    // Emits the state signals whose value changed since they were last emitted.
    void AnnounceStateChanges();
    void RemoveStalePictures();
    void SetSliderPosition(int position);
    // CAudioPlayer::Play(position) on an open engine, then told to seeked's readers.
    void SeekTo(quint64 position);
    static void EntryTexts(const CMp3Song& song, int bUseTags, QString* title, QString* text);
    QStringList ItemTexts() const;
    void OnRowsInserted(int first, int last);
    void WatchFile(const QString& path);
    void UnwatchFile(const QString& path);
    void OnFileChanged(const QString& path);
    void RereadChangedFiles();
    int RetitleEntry(const QString& path);
    // Selects or deselects a row; a row outside the list is ignored, as the list box's own message does.
    void SetRowSelected(int row, bool selected);
    // The toolbar's Pause button shows m_bPaused.
    void ShowPausedState();
    // Hands the listening choices to the engine (after WMInit made it).
    void ApplyPlaybackChoices();
    void StorePlaybackChoices();
    // At the end of a song: Error and deviceStopped when recovery is on and the device gave up.
    void ReportDeviceFailure();
    // At the end of a song, once each: songFailed for one that played nothing, then ReportDeviceFailure.
    void ReportEndOfSong();
    // The engine's decoding thread ended (song ended, device failed, error).
    void OnEngineEnded();
    // What PlayStart does once a song plays: slider, timer, notification, visualization.
    void ShowStartedSong(const QString& path);
    // Gapless playback (PlayerGapless.cpp).
    void RestoreGapless();
    QString ChooseNextSong(int* index);
    void UpdateNextSong();
    // True when the song could not be dropped any more: it was heard and is shown as playing now.
    bool DropNextSong();
    // Takes the next song over once the engine says it was heard; prepares again when the engine
    // dropped it.
    void FollowNextSong();
    void ShowHeardSong(PlaylistEntryId id, const QString& path);
    // The row the play order steps from: the playing entry's, or, when it was deleted, the row
    // before the one its follower took.
    int PlayingRowForOrder() const;
    // The playing entry becomes the row m_nCurrentIndex names when it holds `path`, else the first
    // entry with that path (or none, for a path that is not listed).
    void HoldPlayingEntry(const QString& path);
    void OnPlayOrderChanged();
    // addFile for each song, then the accepted ones moved before entry `index`; returns how many.
    int InsertSongsAt(int index, const QList<CMp3Song>& songs, int bUseTags);
    void StartNextScan();
    void OnScannedSongs(const QList<CMp3Song>& songs);
    void OnScanFinished(bool bCancelled);
    void StartExternalDrag();

public:
    // Members in the documented order (the playlist, transport and feed read them directly).
    QString m_strWork;
    CMp3Song m_song;
    quint64 m_nTrackMax = 0;
    std::int32_t m_nExternalPid = 0;
    BOOL m_bInternalIsVisual = 0;
    bool m_bRemembersVisual = true;
    bool m_bSongFailureReported = false;   // songFailed was emitted for the song that ended last
    bool m_bDeviceFailureReported = false; // deviceStopped was emitted for it
    QPointer<CSliderCtrlEx> m_Trackbar;
    QPointer<CSliderCtrlEx> m_VolumeBar;
    quint64 m_nPosition = 0;
    std::int32_t m_nVolumeLevel = 0;
    std::int32_t m_nAdded = 0;
    BOOL m_bRestart = 0;
    QString m_strSpare1;
    QString m_strSpare2;
    QString m_strListFolder;
    QString m_strSpare3;
    CStringArray m_arrFiles;
    CStringArray m_arrTitles;
    std::int32_t m_nVisualSaved = 0;
    QString m_strElapsed;
    QString m_strTotal;
    PROCESS_INFORMATION m_piExternal {};
    BOOL m_bPlaying = 0;
    BOOL m_bStopped = 1;
    BOOL m_bRepeat = 0;
    BOOL m_bShuffle = 0;
    BOOL m_bUpdateProgress = 0;
    BOOL m_bPaused = 0;
    BOOL m_bTrackReleased = 1;
    CVisualThread* m_pVisualThread = nullptr;
    QString m_strRegSubKey;
    QString m_strVisualTitle;
    QString m_strLyrics;
    CSyncedLyrics m_syncedLyrics;
    CStringArray m_arrArts;
    CStringArray m_arrBackgrounds;
    CMediaPlayerWnd* m_PlayerWnd = nullptr;   // cleared by the window when it goes first
    QPointer<CMediaPlayerToolbar> m_Toolbar;
    std::int32_t m_nReserved2 = 0;
    std::int32_t m_nCurrentIndex = 0;
    CAudioPlayer* m_pAudioPlayer = nullptr;
    std::atomic<std::uint32_t> m_dwChange {0};
    std::timed_mutex m_hChangeMutex;

private:
    QTimer m_progressTimer;        // timer kProgressTimerId
    QPointer<QWidget> m_hostWindow; // where notifications go: the window the control was placed in
    QString m_strPicturePath;      // current "_tmpPlayerPic_" file
    QStringList m_stalePictures;   // earlier songs' pictures, removed once the new song plays
    std::unique_ptr<CPlaylistModel> m_pPlaylist; // the entries; sole writer of the two arrays
    CNowPlaying* m_pNowPlaying = nullptr;        // a child: the playing song's record
    bool m_bRereadingTags = false;               // the record is read again for a retag, at once
    QString m_strAppFolder;
    QString m_strTempFolder;
    QFileSystemWatcher* m_pWatcher = nullptr; // a child; null while watching is off
    QSet<QString> m_setChangedFiles;          // changed since the last re-read
    QTimer m_tagTimer;                         // lets a writer finish before the tags are re-read
    ReplayGainOptions m_replayGain;
    QString m_strOutputDevice;
    int m_nRecoverySeconds = 0;
    bool m_bRemembersPlayback = false;
    bool m_bGapless = false;
    bool m_bSelectionFollowsPlaying = true;
    bool m_bListenerSliderSteps = false;
    bool m_bSavesVisualOptions = false;
    // What the state signals last said.
    struct CAnnouncedState
    {
        PlaybackState eState = StateStopped;
        int nIndex = 0;
        int nVolume = -1;
        bool bRepeat = false;
        bool bShuffle = false;
    } m_announced;
    int m_nHandBackMs = 0;
    QString m_strNextPath;  // the song prepared in the engine (the model holds its entry); empty when none
    QString m_strNextFailedPath; // could not be prepared for the playing song; not tried again for it
    QTimer m_orderTimer;    // chooses the next song again once a list change has settled
    struct CScanJob
    {
        int nIndex = -1;
        QStringList paths;
        int bUseTags = 0;
    };
    QList<CScanJob> m_scanJobs;     // waiting scans, first next
    CScanJob m_scan;                 // the running scan; nIndex is where its next song goes
    int m_nScanAdded = 0;
    bool m_bScanning = false;
    CSongScanner* m_pScanner = nullptr; // a child, made on first use
    bool m_bAcceptsDrops = false;
    int m_nDlgCtrlID = 0;
    bool m_bInitDone = false;
    bool m_bEngineReady = false;
    // UTF-8 copies returned by the const char* getters.
    QByteArray m_utf8RegSubKey;
    QByteArray m_utf8VisualTitle;
    QByteArray m_utf8Lyrics;
};
