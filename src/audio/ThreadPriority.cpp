#include "audio/ThreadPriority.h"

#include <cstring>
#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

void SetCurrentThreadTimeCritical()
{
    // With PRIO_PROCESS and a thread id, Linux sets the nice value of that one thread.
    const auto tid = static_cast<id_t>(gettid());
    if (setpriority(PRIO_PROCESS, tid, -20) == 0)
        return;
    rlimit limit{};
    if (getrlimit(RLIMIT_NICE, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY && limit.rlim_cur <= 40) {
        const int lowest = 20 - static_cast<int>(limit.rlim_cur);
        if (lowest < getpriority(PRIO_PROCESS, tid))
            setpriority(PRIO_PROCESS, tid, lowest);
    }
}

void NameCurrentThread(const char* name)
{
    char shortName[16] = {};
    std::strncpy(shortName, name, sizeof(shortName) - 1);
    pthread_setname_np(pthread_self(), shortName);
}
