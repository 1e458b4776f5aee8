#include "session/PlayOrder.h"

namespace PlayOrder {

namespace {
constexpr int kShuffleAttempts = 41;
}

int NextEntry(int current, int count)
{
    return (current >= 0 && current + 1 < count) ? current + 1 : 0;
}

int PreviousEntry(int current, int count)
{
    const int k = current - 1;
    return k < 0 ? count - 1 : k;
}

bool AdvancesAtEnd(bool repeat, int selectedRow, int count)
{
    return repeat || count == 0 || selectedRow != count - 1;
}

int DrawShuffled(int avoid, int count, ShuffleSource& source)
{
    int k = 0;
    std::int32_t s = 10000;
    for (int attempt = 0; attempt < kShuffleAttempts; ++attempt) {
        const std::uint32_t t = (attempt % 2 == 1) ? source.TickCount() : source.CalendarSeconds();
        source.Seed(static_cast<std::uint32_t>(s) + t);
        // rand() is at most 0x7FFF, so the shifted value stays positive and so does k.
        const std::int32_t r = (source.Rand() << 16) | source.Rand();
        k = r % count;
        if (k != avoid)
            break;
        s = (attempt + 1) * 343 + 5000;
    }
    return k;
}

int FollowingEntry(const FollowingInput& in, ShuffleSource& source)
{
    if (in.count == 0 || in.files < in.count)
        return kNoEntry;
    if (!AdvancesAtEnd(in.repeat, in.selectedRow, in.count))
        return kNoEntry;
    const int k = NextEntry(in.current, in.count);
    if (!in.shuffle)
        return k;
    // Next selects k before PlayStart draws an entry other than the selected one.
    if (in.prepared >= 0 && in.prepared < in.count && in.prepared != k)
        return in.prepared;
    return DrawShuffled(k, in.count, source);
}

int EntryAfterRemoval(int current, int removed)
{
    return removed <= current ? current - 1 : current;
}

int EntryAfterReorder(int current, const QList<QString>& before, const QList<QString>& after)
{
    if (current < 0 || current >= before.size())
        return current;
    const qsizetype moved = after.indexOf(before.at(current));
    return moved >= 0 ? static_cast<int>(moved) : current;
}

} // namespace PlayOrder
