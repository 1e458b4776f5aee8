#pragma once
// Events in the classic style (manual- or auto-reset) and a wait for any of several, for the engine's
// command and block-done signals. Events that are waited on together share one CEventGroup.
//
// Threading: Set/Reset from any thread; waits from any thread. The group's mutex guards every flag of
// its events and is held only for flag updates and inside the condition wait; no allocation.

#include <chrono>
#include <condition_variable>
#include <mutex>

#include "audio/WaveTypes.h"

class CEventGroup
{
public:
    std::mutex m_lock;
    std::condition_variable m_changed;
};

class CWaitableEvent
{
public:
    CWaitableEvent(CEventGroup& group, bool manualReset) : m_group(group), m_bManualReset(manualReset) {}

    void Set()
    {
        std::lock_guard<std::mutex> guard(m_group.m_lock);
        m_bSignaled = true;
        m_group.m_changed.notify_all();
    }
    void Reset()
    {
        std::lock_guard<std::mutex> guard(m_group.m_lock);
        m_bSignaled = false;
    }

    // Waits until one of `events` (all of the same group) is set, or `timeoutMs` passes. Returns the
    // index of the first set event (an auto-reset one is cleared), or -1 on time-out.
    static int WaitAny(CWaitableEvent* const* events, int count, DWORD timeoutMs)
    {
        CEventGroup& group = events[0]->m_group;
        std::unique_lock<std::mutex> lock(group.m_lock);
        int found = -1;
        group.m_changed.wait_for(lock, std::chrono::milliseconds(timeoutMs), [&] {
            for (int i = 0; i < count; ++i) {
                if (events[i]->m_bSignaled) {
                    found = i;
                    return true;
                }
            }
            return false;
        });
        if (found >= 0 && !events[found]->m_bManualReset)
            events[found]->m_bSignaled = false;
        return found;
    }

private:
    CEventGroup& m_group;
    const bool m_bManualReset;
    bool m_bSignaled = false;
};
