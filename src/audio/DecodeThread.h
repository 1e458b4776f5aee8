#pragma once
// A thread that is created suspended, can be made time-critical (see ThreadPriority.h), and can be
// waited for with a time limit (the classic thread handle's operations). It is named
// "tunivox-decode".
//
// Threading: one owner thread calls every member; the started function runs on the new thread.
// Close after a timed-out wait leaves the thread running, detached (the caller abandoned it).

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

#include "audio/WaveTypes.h"

class CDecodeThread
{
public:
    using Entry = DWORD (*)(void* argument);

    CDecodeThread(Entry entry, void* argument);
    ~CDecodeThread();
    CDecodeThread(const CDecodeThread&) = delete;
    CDecodeThread& operator=(const CDecodeThread&) = delete;

    // Starts the OS thread, held before `entry` until Resume. False when no thread can be made.
    bool Create();
    // The thread raises itself to time-critical when resumed, before it runs the entry.
    void SetTimeCriticalPriority();
    void Resume();
    // True when the thread has ended within `timeoutMs`.
    bool Wait(DWORD timeoutMs);
    // Joins a finished thread or detaches a running one.
    void Close();

private:
    // Shared with the thread, so that an abandoned thread never touches a deleted owner.
    struct State
    {
        std::mutex lock; // guards the flags
        std::condition_variable changed;
        bool bResumed = false;
        bool bFinished = false;
        bool bCancelled = false; // closed before it was resumed: never runs the entry
        bool bTimeCritical = false;
    };
    static void Run(std::shared_ptr<State> state, Entry entry, void* argument);

    const Entry m_entry;
    void* const m_pArgument;
    std::shared_ptr<State> m_pState;
    std::thread m_thread;
};
