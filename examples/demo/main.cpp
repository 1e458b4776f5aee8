// tunivox-demo [--device alsa|null] [--quit-after SECONDS] [--screenshot FILE] [--visualization]
//              [--print-first-sound] [FILE|FOLDER…]
// With no files it loads the demo playlist generated next to it and starts playing.
#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QFileInfo>
#include <QScreen>
#include <QTimer>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <memory>
#include <thread>

#include "DemoWindow.h"
#include "audio/CAudioPlayer.h"
#include "audio/WaveOut.h"
#include "platform/Folders.h"
#include "player/CMediaPlayerCtrl.h"
#include "visual/CVisualThread.h"

namespace {

// The main window to `file`; with the visualization open, its latest frame to "<file>-visual.png".
void SaveScreenshots(DemoWindow& window, const QString& file)
{
    window.grab().save(file);
    if (CVisualThread* visual = window.Player()->GetVisualThread()) {
        const QImage frame = visual->GrabFrame();
        if (!frame.isNull())
            frame.save(QFileInfo(file).path() + QLatin1Char('/') + QFileInfo(file).completeBaseName()
                       + QStringLiteral("-visual.png"));
    }
}

using Clock = std::chrono::steady_clock;

double Milliseconds(Clock::duration d) { return std::chrono::duration<double, std::milli>(d).count(); }

// Writes to stderr when the first block of sound came back from the device, i.e. was heard. It
// watches the engine's position from a thread of its own: the window's thread may still be busy
// starting up, and what the listener waits for is the sound, not the window. GetCurrentTime, not the
// raw position: with a hand-back interval the device returns heard blocks in bursts, and
// GetCurrentTime collects those heard by now first.
class FirstSoundReport
{
public:
    FirstSoundReport(CAudioPlayer* engine, Clock::time_point mainStart)
        : m_thread([this, engine, mainStart] { Watch(engine, mainStart); })
    {
    }
    ~FirstSoundReport()
    {
        m_bStop = true;
        m_thread.join();
    }

private:
    void Watch(CAudioPlayer* engine, Clock::time_point mainStart)
    {
        while (!m_bStop) {
            if (engine->m_bPlaying && engine->GetCurrentTime() > 0) {
                const Clock::time_point now = Clock::now();
                std::fprintf(stderr, "tunivox-demo: first sound %.1f ms after main(), at %.3f ms on the monotonic clock\n",
                             Milliseconds(now - mainStart), Milliseconds(now.time_since_epoch()));
                return;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }

    std::atomic<bool> m_bStop{false};
    std::thread m_thread;
};

} // namespace

int main(int argc, char** argv)
{
    const Clock::time_point mainStart = Clock::now();
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Tunivox Demo"));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Tunivox Player demo host"));
    parser.addHelpOption();
    QCommandLineOption device(QStringLiteral("device"), QStringLiteral("Sound output: alsa (default) or null."),
                              QStringLiteral("alsa|null"), QStringLiteral("alsa"));
    QCommandLineOption quitAfter(QStringLiteral("quit-after"), QStringLiteral("Quit after this many seconds."),
                                 QStringLiteral("SECONDS"));
    QCommandLineOption screenshot(QStringLiteral("screenshot"),
                                  QStringLiteral("Save a picture of the window to FILE (before quitting)."),
                                  QStringLiteral("FILE"));
    QCommandLineOption visualization(QStringLiteral("visualization"),
                                     QStringLiteral("Open the visualization window once playing."));
    QCommandLineOption firstSound(QStringLiteral("print-first-sound"),
                                  QStringLiteral("Write to standard error when the first sound was heard."));
    parser.addOptions({device, quitAfter, screenshot, visualization, firstSound});
    parser.addPositionalArgument(QStringLiteral("paths"), QStringLiteral("Songs or folders to play."),
                                 QStringLiteral("[FILE|FOLDER…]"));
    parser.process(app);

    WaveMapperOptions options = GetWaveMapper();
    if (!ParseWaveBackend(parser.value(device).toStdString(), &options.eBackend)) {
        fprintf(stderr, "tunivox-demo: unknown device '%s' (alsa or null)\n", qPrintable(parser.value(device)));
        return 2;
    }
    SetWaveMapper(options);

    DemoWindow window;
    std::unique_ptr<FirstSoundReport> firstSoundReport;
    if (parser.isSet(firstSound) && window.Player()->GetAudioPlayer())
        firstSoundReport = std::make_unique<FirstSoundReport>(window.Player()->GetAudioPlayer(), mainStart);
    QStringList paths = parser.positionalArguments();
    // Without paths the last session comes back (paused where it was); the first time, the demo playlist plays.
    const bool restored = paths.isEmpty() && window.RestoreSession();
    if (!restored) {
        // Songs named here are for this run: the remembered session stays for the next.
        if (!paths.isEmpty())
            window.KeepSessionPlaylist();
        if (paths.isEmpty())
            paths.append(ApplicationFolder() + QStringLiteral("demo"));
        window.AddPaths(paths);
        // The sound starts before the window is drawn: the engine decodes on its own thread while
        // this one lays out and shows the window.
        window.PlayFirst();
    }
    window.show();
    if (parser.isSet(visualization))
        QTimer::singleShot(300, &window, [&window] { window.Player()->Refresh(1); });

    if (parser.isSet(quitAfter)) {
        const int ms = static_cast<int>(parser.value(quitAfter).toDouble() * 1000);
        const QString shot = parser.value(screenshot);
        QTimer::singleShot(ms, &window, [&window, shot] {
            if (!shot.isEmpty())
                SaveScreenshots(window, shot);
            window.CloseWithoutAsking();
        });
    } else if (parser.isSet(screenshot)) {
        const QString shot = parser.value(screenshot);
        QTimer::singleShot(3000, &window, [&window, shot] { SaveScreenshots(window, shot); });
    }
    return app.exec();
}
