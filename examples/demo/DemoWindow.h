#pragma once
// The demo host: a main window standing in for the tagging application. It embeds the player control
// and shows what a host typically builds around it.

#include <QMainWindow>
#include <QStringList>

#include "platform/ProcessList.h"
#include "session/NowPlaying.h"

class CMediaPlayerCtrl;
class NowPlayingPanel;
class QAction;
class QLabel;
class QMenu;
class QToolBar;
class QToolButton;

class DemoWindow : public QMainWindow
{
    Q_OBJECT

public:
    DemoWindow();
    ~DemoWindow() override;

    // Adds files and folders (recursively) in order; returns the number of songs added.
    int AddPaths(const QStringList& paths);
    void PlayFirst();
    CMediaPlayerCtrl* Player() const { return m_player; }
    // Called when no sound device could be opened: continue through the null device.
    void FallBackToNullDevice();
    // The playlist, the playing song and its position (restored paused), repeat, shuffle, volume and
    // geometry are saved on close; RestoreSession is false when no session was saved.
    // False, with why in `error`, when a file could not be written; the files saved before stay.
    bool SaveSession(QString* error);
    // A close the program asks for (--quit-after) closes even when the session cannot be saved.
    void CloseWithoutAsking();
    bool RestoreSession();
    // The list holds songs named on the command line: a close saves repeat, shuffle, volume and
    // geometry but keeps the remembered playlist and song for the next start without arguments.
    void KeepSessionPlaylist() { m_bKeepSessionPlaylist = true; }

protected:
    void customEvent(QEvent* e) override;
    void closeEvent(QCloseEvent* e) override;

private:
    QWidget* BuildTransportBar();
    // Keys for every action, shown in the menus and tool tips; every button takes the focus.
    void SetUpKeyboard(QToolBar* actions);
    void AddFiles();
    void AddFolder();
    void OnSongStarted();
    // The panel, the times and the title when no song plays (cleared list, a song that failed).
    void ShowNothingPlaying();
    void ShowReplayGain();
    void EditTags();
    void OnNowPlayingRead(const CNowPlayingSong& song);
    void OpenExternalPlayer();
    void CloseExternalPlayer();
    void UpdateExternalActions();
    int AddFile(const QString& path);
    void ResumeSong(const QString& song, quint64 position);

    CMediaPlayerCtrl* m_player = nullptr;
    NowPlayingPanel* m_nowPlaying = nullptr;
    QLabel* m_elapsed = nullptr;
    QLabel* m_total = nullptr;
    QToolButton* m_repeat = nullptr;
    QToolButton* m_shuffle = nullptr;
    QMenu* m_playerMenu = nullptr;
    QAction* m_openExternal = nullptr;
    QAction* m_closeExternal = nullptr;
    bool m_bTriedNull = false;
    bool m_bSaveFailureShown = false; // a close after it goes through unsaved
    bool m_bCloseWithoutAsking = false;
    bool m_bKeepSessionPlaylist = false;
};
