#pragma once
// A host window with a player control in it, the engine on a fast null device, and helpers to wait
// for the engine and to collect the control's posted notifications.

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEvent>
#include <QTest>
#include <QWidget>
#include <functional>
#include <memory>

#include "audio/CAudioPlayer.h"
#include "audio/WaveOut.h"
#include "platform/UserMessages.h"
#include "player/CMediaPlayerCtrl.h"
#include "song/CMp3Song.h"
#include "support/TestFolders.h"

namespace tunivox::test {

// Records the user messages posted to it.
class HostWindow : public QWidget
{
public:
    QList<int> types;
    QList<std::uintptr_t> wParams;
    int Count(QEvent::Type type) const { return static_cast<int>(types.count(int(type))); }

protected:
    void customEvent(QEvent* e) override
    {
        if (auto* message = dynamic_cast<CUserMessageEvent*>(e)) {
            types.append(int(e->type()));
            wParams.append(message->WParam());
        }
    }
};

inline bool WaitUntil(const std::function<bool()>& done, int timeoutMs = 5000)
{
    QElapsedTimer timer;
    timer.start();
    while (!done()) {
        if (timer.elapsed() > timeoutMs)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        QTest::qSleep(2);
    }
    return true;
}

inline CMp3Song SongFor(const QString& path, const QString& artist = QString(), const QString& title = QString())
{
    CMp3Song song;
    song.m_strFilePath = path;
    song.m_strTagArtist = artist;
    song.m_strTagTitle = title;
    song.m_strAux2 = path.section(QLatin1Char('/'), -1);
    return song;
}

// A control in a host window, initialised, with its playlist cleared, its settings and temporary
// files in private folders, playing through a null device at `speed` × real time.
class PlayerFixture
{
public:
    explicit PlayerFixture(double speed = 50.0)
    {
        WaveMapperOptions options;
        options.eBackend = WaveBackend::Null;
        options.null.dSpeed = speed;
        SetWaveMapper(options);
        host = std::make_unique<HostWindow>();
        host->resize(400, 300);
        ctrl = new CMediaPlayerCtrl(host.get());
        ctrl->SetDlgCtrlID(77);
        ctrl->setGeometry(10, 10, 300, 200);
        ctrl->SetHostFolders(folders.TempFolder(), folders.TempFolder());
        ctrl->Init();
        ctrl->ClearPlayList();
        QCoreApplication::processEvents();
        host->types.clear();
        host->wParams.clear();
    }
    ~PlayerFixture()
    {
        delete ctrl;
        host.reset();
        SetWaveMapper(WaveMapperOptions());
    }

    void Add(const QStringList& fixtures)
    {
        for (const QString& name : fixtures)
            ctrl->addFile(SongFor(FixturePath(name), QStringLiteral("Artist"), name), 0);
    }
    bool EngineFinished(int timeoutMs = 8000)
    {
        return WaitUntil([this] { return !ctrl->GetAudioPlayer()->m_bPlaying; }, timeoutMs);
    }

    ScopedUserFolders folders;
    std::unique_ptr<HostWindow> host;
    CMediaPlayerCtrl* ctrl = nullptr;
};

} // namespace tunivox::test
