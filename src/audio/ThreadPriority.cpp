#include "audio/ThreadPriority.h"

#include <cstring>
#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

void SetCurrentThreadTimeCritical()
{
    // With PRIO_PROCESS and a thread id, Linux sets the nice value of that one thread.
    const pid_t tid = gettid();
    const int current = getpriority(PRIO_PROCESS, static_cast<id_t>(tid));
    if (setpriority(PRIO_PROCESS, static_cast<id_t>(tid), -20) == 0)
        return;
    rlimit limit{};
    if (getrlimit(RLIMIT_NICE, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY && limit.rlim_cur <= 40) {
        const int lowest = 20 - static_cast<int>(limit.rlim_cur);
        if (lowest < current)
            setpriority(PRIO_PROCESS, static_cast<id_t>(tid), lowest);
    }
}

void NameCurrentThread(const char* name)
{
    char shortName[16] = {};
    std::strncpy(shortName, name, sizeof(shortName) - 1);
    pthread_setname_np(pthread_self(), shortName);
}
