#pragma once
// The play order: where Next, Prev, the end of a song and gapless playback go from the playing
// entry, the shuffle draw, and where the playing entry is after the list was edited. Functions of
// their arguments only; the draw takes its clocks and generator from the caller, so a fixed source
// gives a fixed draw.
//
// Threading: no state of its own, callable from any thread; a ShuffleSource is the caller's to share.

#include <QList>
#include <QString>
#include <cstdint>

namespace PlayOrder {

// No entry: play ends there, or the playing entry has no place in the list.
inline constexpr int kNoEntry = -1;

// Next's step in a list of `count` >= 1 entries: the entry after `current`, entry 0 after the last
// one and from any index outside the list.
int NextEntry(int current, int count);

// Prev's step: the entry before `current`, the last entry before entry 0. An index past the end
// steps to a row past the end too, which the list ignores.
int PreviousEntry(int current, int count);

// The progress timer's rule when a song has ended: advance with Next's step unless repeat is off
// and the selected row is the last entry (play ends after the last entry).
bool AdvancesAtEnd(bool repeat, int selectedRow, int count);

// What the shuffle draw takes from outside: the two clocks it seeds from and the classic C
// runtime's generator (srand, and rand giving 0..0x7FFF).
class ShuffleSource
{
public:
    virtual ~ShuffleSource() = default;
    virtual std::uint32_t TickCount() = 0;       // milliseconds since start-up, cut to 32 bits
    virtual std::uint32_t CalendarSeconds() = 0; // seconds since 1970, cut to 32 bits
    virtual void Seed(std::uint32_t seed) = 0;
    virtual int Rand() = 0;
};

// The shuffle draw of `count` >= 1 entries: up to 41 attempts, each seeded afresh, for an entry
// other than `avoid`; the 41st attempt's entry is taken even when it is `avoid`, so a one-song list
// replays itself.
int DrawShuffled(int avoid, int count, ShuffleSource& source);

// What gapless playback decides the next song from.
struct FollowingInput
{
    int count = 0;         // list entries
    int files = 0;         // entries of the path array (a list out of step with it prepares nothing)
    bool repeat = false;
    bool shuffle = false;
    int selectedRow = -1;
    int current = 0;       // the playing entry
    int prepared = kNoEntry; // entry of the song prepared already, if it is still listed
};

// The entry gapless playback prepares to follow the playing one: the one the timer's advance would
// play (Next's step, then, with shuffle, the draw avoiding that entry), or kNoEntry when play ends.
// With shuffle a song prepared already is kept while it is not the entry Next would select, so that
// a list change does not draw anew.
int FollowingEntry(const FollowingInput& in, ShuffleSource& source);

// The playing entry's index after entry `removed` was taken out. When the playing entry itself
// goes, the index moves to the entry before it, so that Next continues with its follower.
int EntryAfterRemoval(int current, int removed);

// The playing entry's index after the list was reordered from `before` to `after` (paths): where
// its path went; unchanged when it had no place before or its path is gone.
int EntryAfterReorder(int current, const QList<QString>& before, const QList<QString>& after);

} // namespace PlayOrder
