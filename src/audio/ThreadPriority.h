#pragma once
// Real-time scheduling for the threads that keep the sound going (decoding, the wave device).

#include <pthread.h>
#include <sched.h>

// FIFO at the highest priority, else RR, when the system grants it; else the thread stays as it is.
void SetHighestThreadPriority(pthread_t thread);

// Runs the calling thread at normal priority while it lives, so that threads it creates meanwhile
// (a sound server client's own thread) do not inherit real-time scheduling; restores it after.
class CNormalPriorityScope
{
public:
    CNormalPriorityScope();
    ~CNormalPriorityScope();
    CNormalPriorityScope(const CNormalPriorityScope&) = delete;
    CNormalPriorityScope& operator=(const CNormalPriorityScope&) = delete;

private:
    int m_nPolicy = SCHED_OTHER;
    sched_param m_param{};
    bool m_bLowered = false;
};
