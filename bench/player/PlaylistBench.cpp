// Playlist operations on long lists. Targets: 20,000 addFile calls under 0.5 s in total (the
// substring duplicate rule makes a naive loop quadratic), and RenumberItems after a drop in a
// 10,000-song playlist under 50 ms.
#include <QApplication>
#include <benchmark/benchmark.h>
#include <memory>

#include "player/CMediaPlayerCtrl.h"
#include "song/CMp3Song.h"

namespace {

CMp3Song Song(int i)
{
    CMp3Song song;
    song.m_strFilePath = QStringLiteral("/home/listener/Music/Artist %1/Album %2/%3 - Song number %4.mp3")
                             .arg(i % 97).arg(i % 13).arg(i % 20 + 1).arg(i);
    song.m_strTagArtist = QStringLiteral("Artist %1").arg(i % 97);
    song.m_strTagTitle = QStringLiteral("Song number %1").arg(i);
    song.m_strAux2 = song.m_strFilePath.section(QLatin1Char('/'), -1);
    return song;
}

struct PlayerHost
{
    QWidget host;
    CMediaPlayerCtrl* ctrl = new CMediaPlayerCtrl(&host);
    PlayerHost()
    {
        host.resize(400, 400);
        ctrl->setGeometry(0, 0, 400, 400);
        ctrl->Init();
        ctrl->ClearPlayList();
    }
};

void BM_AddFiles(benchmark::State& state)
{
    const int count = static_cast<int>(state.range(0));
    std::vector<CMp3Song> songs;
    for (int i = 0; i < count; ++i)
        songs.push_back(Song(i));
    for (auto _ : state) {
        state.PauseTiming();
        auto host = std::make_unique<PlayerHost>();
        state.ResumeTiming();
        int rejected = 0;
        for (const CMp3Song& song : songs)
            rejected += host->ctrl->addFile(song, 0) != 0;
        // Every tenth song again: all rejected by the duplicate rule.
        for (int i = 0; i < count; i += 10)
            rejected += host->ctrl->addFile(songs[static_cast<size_t>(i)], 0) != 0;
        benchmark::DoNotOptimize(rejected);
        state.PauseTiming();
        if (rejected != count / 10)
            state.SkipWithError("duplicate rule gave a different answer");
        host.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * (count + count / 10));
}
BENCHMARK(BM_AddFiles)->Arg(20000)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_RenumberAfterDrop(benchmark::State& state)
{
    const int count = static_cast<int>(state.range(0));
    PlayerHost host;
    for (int i = 0; i < count; ++i)
        host.ctrl->addFile(Song(i), 0);
    for (auto _ : state) {
        state.PauseTiming();
        // What a drop leaves behind: the list reordered (first item moved to the end) and renumbered.
        QListWidgetItem* first = host.ctrl->takeItem(0);
        host.ctrl->addItem(first);
        state.ResumeTiming();
        host.ctrl->RenumberItems();
    }
    if (host.ctrl->GetFiles().GetAt(count - 1) != Song(0).m_strFilePath && state.iterations() == 1)
        state.SkipWithError("arrays did not follow the list");
}
BENCHMARK(BM_RenumberAfterDrop)->Arg(10000)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
