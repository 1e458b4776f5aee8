// Time-stamped lyrics: one line carrying N times against N lines of one time each (the same number
// of times and about the same text). Reading is linear when the ratio stays near 1 as N grows.

#include <QString>
#include <benchmark/benchmark.h>

#include "song/SyncedLyrics.h"

namespace {

QString OneLineManyTimes(int times)
{
    QString text;
    for (int i = 0; i < times; ++i)
        text += QStringLiteral("[%1:%2.00]").arg(i / 60 % 10000, 2, 10, QLatin1Char('0')).arg(i % 60, 2, 10, QLatin1Char('0'));
    return text + QStringLiteral(" words");
}

QString ManyLinesOneTime(int lines)
{
    QString text;
    for (int i = 0; i < lines; ++i)
        text += QStringLiteral("[%1:%2.00]w\n").arg(i / 60 % 10000, 2, 10, QLatin1Char('0')).arg(i % 60, 2, 10, QLatin1Char('0'));
    return text;
}

void BM_LrcOneLineManyTimes(benchmark::State& state)
{
    const QString text = OneLineManyTimes(static_cast<int>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(ParseLrcLyrics(text));
    state.SetComplexityN(state.range(0));
}

void BM_LrcManyLinesOneTime(benchmark::State& state)
{
    const QString text = ManyLinesOneTime(static_cast<int>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(ParseLrcLyrics(text));
    state.SetComplexityN(state.range(0));
}

BENCHMARK(BM_LrcOneLineManyTimes)->Arg(20000)->Arg(50000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LrcManyLinesOneTime)->Arg(20000)->Arg(50000)->Arg(100000)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
