// Frame rate, CPU per frame and pacing of the visualization at 700 x 550 with cover art and scrolling
// lyrics, over the background (Arg 0x06) or over the Spectrola plug-in (Arg 0x16, the default
// flags). Needs an X display with OpenGL (run under xvfb-run; Mesa llvmpipe). The CPU figures are
// the whole process's, llvmpipe's rendering threads included (LP_NUM_THREADS changes them).
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QImage>
#include <QPainter>
#include <QTemporaryDir>
#include <QThread>
#include <QTimer>
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include "platform/Folders.h"
#include "platform/TypedSettings.h"
#include "visual/CVisualThread.h"
#include "visual/CVisualWnd.h"
#include "visual/IVisualFeedSource.h"

namespace {

class BenchFeed : public IVisualFeedSource
{
public:
    std::timed_mutex& GetChangeMutex() override { return m_mutex; }
    std::uint32_t GetChange() const override { return 0; }
    void SetChange(std::uint32_t) override {}
    const char* GetMP3VisualTitle() override { return "Benchmark"; }
    const char* GetLyrics() override { return m_lyrics.constData(); }
    CStringArray* GetArts() override { return &m_arts; }
    CStringArray* GetBackgrounds() override { return &m_backgrounds; }
    CAudioPlayer* GetAudioPlayer() override { return nullptr; }
    const char* GetRegSubKey() override { return nullptr; }
    void VisualThreadEnded(CVisualThread*) override {}

    std::timed_mutex m_mutex;
    QByteArray m_lyrics;
    CStringArray m_arts;
    CStringArray m_backgrounds;
};

double CpuSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec)
        + static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

// Runs the GUI thread's event loop for `ms`, sleeping while it has nothing to do, so that the CPU
// figures are the visualization's rather than this loop's.
void Pump(int ms)
{
    QEventLoop loop;
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
}

QString Picture(const QTemporaryDir& dir, const char* name, QSize size, QColor a, QColor b)
{
    QImage image(size, QImage::Format_RGB32);
    QPainter painter(&image);
    QLinearGradient gradient(0, 0, size.width(), size.height());
    gradient.setColorAt(0, a);
    gradient.setColorAt(1, b);
    painter.fillRect(image.rect(), gradient);
    painter.end();
    const QString path = dir.filePath(QString::fromLatin1(name));
    image.save(path, "JPEG");
    return path;
}

void BM_VisualFrames(benchmark::State& state)
{
    QTemporaryDir dir;
    SetUserConfigFolderOverride(dir.filePath(QStringLiteral("config")));
    BenchFeed feed;
    for (int i = 0; i < 60; ++i)
        feed.m_lyrics += "Line " + QByteArray::number(i) + " of a song that scrolls slowly past the box\n";
    feed.m_arts.Add(Picture(dir, "cover.jpg", QSize(500, 500), Qt::darkRed, Qt::yellow));
    feed.m_backgrounds.Add(Picture(dir, "back.jpg", QSize(1280, 800), Qt::darkBlue, Qt::darkCyan));

    {
        // The plug-in comes from the "plugins" folder next to this program.
        CTypedSettings store;
        store.SetValue(QStringLiteral("Software\\Tunivox\\TunivoxDesk\\MP3PlayerInternal"), QStringLiteral("Flags"),
                       TypedValue::FromDWORD(static_cast<DWORD>(state.range(0))));
    }
    auto* thread = new CVisualThread();
    thread->SetPlayerCtrl(&feed);
    thread->start();
    Pump(1500);
    if (!thread->GetMainWnd()) {
        state.SkipWithError("no visualization window (no X display or OpenGL?)");
        thread->RequestQuit();
        return;
    }

    long long frames = 0, offPace = 0;
    double cpu = 0, wall = 0;
    for (auto _ : state) {
        const VisualSceneState before = thread->SceneState();
        const double cpuBefore = CpuSeconds();
        QElapsedTimer clock;
        clock.start();
        Pump(2000);
        const VisualSceneState after = thread->SceneState();
        wall += static_cast<double>(clock.nsecsElapsed()) / 1e9;
        cpu += CpuSeconds() - cpuBefore;
        frames += after.nFrames - before.nFrames;
        offPace += after.nOffPaceFrames - before.nOffPaceFrames;
    }
    state.counters["fps"] = static_cast<double>(frames) / wall;
    state.counters["cpu_core_pct"] = 100.0 * cpu / wall;
    state.counters["cpu_us_per_frame"] = frames ? 1e6 * cpu / static_cast<double>(frames) : 0.0;
    state.counters["within_2ms_pct"] = frames ? 100.0 * static_cast<double>(frames - offPace) / static_cast<double>(frames) : 0.0;
    thread->RequestQuit();
    Pump(200);
    SetUserConfigFolderOverride(QString());
}
BENCHMARK(BM_VisualFrames)->Arg(0x06)->Arg(0x16)->Iterations(3)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "xcb");
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
