#pragma once
// What the visualization thread needs from the player control that feeds it: the change word and
// its mutex, the published title, lyrics, art list and background list, the audio engine, the
// settings key, and the notice that the thread has ended. CMediaPlayerCtrl implements it.
//
// Threading and locks:
// - The control writes the feed on its GUI thread; the visualization thread reads it. Title, lyrics,
//   both lists and the change word are only touched under GetChangeMutex(), which both sides take
//   with a 100 ms limit (try_lock_for); a busy mutex defers the hand-over to a later frame.
// - GetSyncedLyrics() is read with the lyrics, under the same mutex; a source without time-stamped
//   lyrics keeps the default (none).
// - GetChange() is a plain read without the mutex, a hint only; SetChange() is called under it.
// - Lock order on the visualization thread: the thread's own feed lock, then the change mutex.
// - GetAudioPlayer() may be called on the visualization thread once per frame; it may return null.
// - GetRegSubKey() is read once when the window is made: the full key of the visualization's
//   settings ("Software\\Tunivox\\TunivoxDesk\\MP3PlayerInternal"); null or empty means that one.
// - VisualThreadEnded() is called on the GUI thread, exactly once per thread: from
//   CVisualThread::RequestQuit before it returns, or, when the thread ended on its own (its window
//   was closed), from the GUI thread's event loop. After it the control must not use the thread
//   pointer (the thread deletes itself) and the thread never calls the control again.

#include <cstdint>
#include <mutex>

#include "platform/CStringArray.h"
#include "song/SyncedLyrics.h"

class CAudioPlayer;
class CVisualThread;

class IVisualFeedSource
{
public:
    virtual std::timed_mutex& GetChangeMutex() = 0;
    virtual std::uint32_t GetChange() const = 0;
    virtual void SetChange(std::uint32_t dwChange) = 0;
    virtual const char* GetMP3VisualTitle() = 0;
    virtual const char* GetLyrics() = 0;
    virtual CSyncedLyrics GetSyncedLyrics() { return {}; }
    virtual CStringArray* GetArts() = 0;
    virtual CStringArray* GetBackgrounds() = 0;
    virtual CAudioPlayer* GetAudioPlayer() = 0;
    virtual const char* GetRegSubKey() = 0;
    virtual void VisualThreadEnded(CVisualThread* pThread) = 0;

protected:
    ~IVisualFeedSource() = default;
};

// Change word bits.
inline constexpr std::uint32_t VISUAL_CHANGE_TITLE = 1;
inline constexpr std::uint32_t VISUAL_CHANGE_LYRICS = 2;
inline constexpr std::uint32_t VISUAL_CHANGE_ARTS = 4;
inline constexpr std::uint32_t VISUAL_CHANGE_BACKGROUNDS = 8;
