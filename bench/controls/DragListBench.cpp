// A drop in a long playlist: collect, delete, re-insert and renumber every item. Target: < 50 ms
// for 10,000 items.
#include <QApplication>
#include <QWidget>
#include <benchmark/benchmark.h>

#include "controls/CDragListBoxEx.h"

namespace {

struct CBenchWindow
{
    QWidget host;
    CDragListBoxEx* list = new CDragListBoxEx(&host);

    explicit CBenchWindow(int count, QAbstractItemView::SelectionMode mode)
    {
        host.resize(400, 400);
        list->setGeometry(20, 20, 300, 300);
        list->setSelectionMode(mode);
        QStringList texts;
        for (int i = 0; i < count; ++i)
            texts.append(QStringLiteral("%1. Artist %2 - Title of song number %2").arg(i + 1).arg(i));
        list->addItems(texts);
        host.show();
        QCoreApplication::processEvents();
    }

    QPoint ItemPoint(int index) const
    {
        QRect rect;
        list->GetItemRect(index, &rect);
        return list->viewport()->mapToGlobal(rect.topLeft() + QPoint(4, 1));
    }
};

void BM_DropInLongList(benchmark::State& state)
{
    const int count = static_cast<int>(state.range(0));
    CBenchWindow window(count, QAbstractItemView::SingleSelection);
    for (auto _ : state) {
        state.PauseTiming();
        window.list->SetTopIndex(0);
        window.list->SetCurSel(count / 2);
        const QPoint target = window.ItemPoint(2);
        state.ResumeTiming();
        window.list->Dropped(target);
    }
    state.SetLabel("single item from the middle to the top");
}
BENCHMARK(BM_DropInLongList)->Arg(10000)->Unit(benchmark::kMillisecond);

void BM_DropSelectionInLongList(benchmark::State& state)
{
    const int count = static_cast<int>(state.range(0));
    CBenchWindow window(count, QAbstractItemView::ExtendedSelection);
    for (auto _ : state) {
        state.PauseTiming();
        window.list->SetTopIndex(0);
        window.list->clearSelection();
        for (int i = 0; i < count; i += 100)
            window.list->SetSel(i, TRUE);
        const QPoint target = window.ItemPoint(5);
        state.ResumeTiming();
        window.list->Dropped(target);
    }
    state.SetLabel("every 100th item to the top");
}
BENCHMARK(BM_DropSelectionInLongList)->Arg(10000)->Unit(benchmark::kMillisecond);

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
