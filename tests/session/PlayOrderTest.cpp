// The play order on its own: Next's and Prev's steps, the end of a song, the shuffle draw with fixed
// clocks and the classic generator, the gapless choice, and the playing entry across list edits.
#include <gtest/gtest.h>

#include "platform/MsvcRand.h"
#include "session/PlayOrder.h"

using namespace PlayOrder;

namespace {

constexpr std::uint32_t kCalendar = 1700000000;
constexpr std::uint32_t kTicks = 123456;

// Fixed clocks, the real generator; records the seeds.
class FixedSource final : public ShuffleSource
{
public:
    std::uint32_t TickCount() override { return kTicks; }
    std::uint32_t CalendarSeconds() override { return kCalendar; }
    void Seed(std::uint32_t seed) override
    {
        seeds.push_back(seed);
        MsvcSrand(seed);
    }
    int Rand() override { return MsvcRand(); }
    std::vector<std::uint32_t> seeds;
};

} // namespace

TEST(PlayOrder, StepsWrapAtBothEnds)
{
    const struct { int current, count, next, prev; } rows[] = {
        {0, 1, 0, 0}, {-1, 4, 0, 3}, {0, 4, 1, 3}, {2, 4, 3, 1}, {3, 4, 0, 2},
        {5, 4, 0, 4}, // a stale index past the end: Next restarts, Prev's row is past the end too
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(testing::Message() << "current " << r.current << " of " << r.count);
        EXPECT_EQ(NextEntry(r.current, r.count), r.next);
        EXPECT_EQ(PreviousEntry(r.current, r.count), r.prev);
    }
}

TEST(PlayOrder, PlayEndsAfterTheSelectedLastEntryWithoutRepeat)
{
    const struct { bool repeat; int row, count; bool advances; } rows[] = {
        {false, 3, 4, false}, {true, 3, 4, true}, {false, 2, 4, true}, {false, -1, 4, true}, {false, -1, 0, true},
    };
    for (const auto& r : rows)
        EXPECT_EQ(AdvancesAtEnd(r.repeat, r.row, r.count), r.advances) << r.repeat << " " << r.row << " " << r.count;
}

// Entries and attempt counts worked out with the classic runtime's generator by hand: they pin the
// seeds (10000 + calendar, then i * 343 + 5000 + tick count or calendar), the 30-bit value and the
// remainder.
TEST(PlayOrder, ShuffleDrawIsTheClassicSequence)
{
    const struct { int avoid, count, entry; size_t attempts; } rows[] = {
        {-1, 10, 0, 1}, {0, 10, 9, 2}, {2, 3, 0, 4}, {650, 1000, 49, 2},
        {0, 1, 0, 41}, // a lone song replays after the last attempt
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(testing::Message() << "avoid " << r.avoid << " of " << r.count);
        FixedSource source;
        EXPECT_EQ(DrawShuffled(r.avoid, r.count, source), r.entry);
        EXPECT_EQ(source.seeds.size(), r.attempts);
    }
    FixedSource source;
    DrawShuffled(0, 1, source);
    ASSERT_EQ(source.seeds.size(), 41u);
    EXPECT_EQ(source.seeds[0], kCalendar + 10000);
    EXPECT_EQ(source.seeds[1], kTicks + 5343);
    EXPECT_EQ(source.seeds[2], kCalendar + 5686);
    EXPECT_EQ(source.seeds[40], kCalendar + 18720);
}

// The song gapless playback prepares, also after an entry was removed (the playing entry's index
// follows the removal before the choice is made again).
TEST(PlayOrder, GaplessChoiceFollowsTheTimersRuleAfterListEdits)
{
    struct Row
    {
        const char* name;
        int count, files, current;
        int row;     // the selected row, after the edit
        int removed; // -1: no edit
        bool repeat, shuffle;
        int prepared, following;
    };
    const Row rows[] = {
        {"empty list", 0, 0, 0, -1, -1, false, false, kNoEntry, kNoEntry},
        {"paths out of step", 4, 3, 0, 0, -1, false, false, kNoEntry, kNoEntry},
        {"last entry selected", 4, 4, 3, 3, -1, false, false, kNoEntry, kNoEntry},
        {"last entry, repeat", 4, 4, 3, 3, -1, true, false, kNoEntry, 0},
        {"in order", 4, 4, 1, 1, -1, false, false, kNoEntry, 2},
        {"shuffle keeps the prepared song", 4, 4, 0, 0, -1, false, true, 2, 2},
        {"shuffle draws when it is Next's entry", 10, 10, 8, 8, -1, false, true, 9, 0},
        {"shuffle draws when it is gone", 10, 10, 8, 8, -1, false, true, 12, 0},
        {"entry above removed", 6, 6, 3, 2, 1, false, false, kNoEntry, 3},
        {"the playing entry removed: its follower", 6, 6, 3, 3, 3, false, false, kNoEntry, 3},
        {"entry below removed", 6, 6, 3, 3, 5, false, false, kNoEntry, 4},
        {"first removed while the last plays", 5, 5, 4, 3, 0, false, false, kNoEntry, kNoEntry},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.name);
        FollowingInput in;
        in.count = r.count;
        in.files = r.files;
        in.current = r.current;
        in.selectedRow = r.row;
        in.repeat = r.repeat;
        in.shuffle = r.shuffle;
        in.prepared = r.prepared;
        if (r.removed >= 0) {
            in.current = EntryAfterRemoval(r.current, r.removed);
            --in.count;
            --in.files;
        }
        FixedSource source;
        EXPECT_EQ(FollowingEntry(in, source), r.following);
    }
}

TEST(PlayOrder, ThePlayingEntryFollowsRemovalsAndReorders)
{
    const struct { int current, removed, after; } removals[] = {
        {3, 1, 2}, {3, 3, 2}, {3, 4, 3}, {0, 0, -1}, {-1, 0, -1},
    };
    for (const auto& r : removals)
        EXPECT_EQ(EntryAfterRemoval(r.current, r.removed), r.after) << r.current << " " << r.removed;

    const QList<QString> before = {"a", "b", "c", "d"};
    const QList<QString> after = {"c", "a", "b", "d"};
    const struct { int current, after; } reorders[] = {{0, 1}, {2, 0}, {3, 3}, {-1, -1}, {7, 7}};
    for (const auto& r : reorders)
        EXPECT_EQ(EntryAfterReorder(r.current, before, after), r.after) << r.current;
    EXPECT_EQ(EntryAfterReorder(1, before, {"a", "c", "d", "x"}), 1) << "its path gone: unchanged";
}
