#include "audio/ThreadPriority.h"

#include <initializer_list>
#include <sched.h>

void SetHighestThreadPriority(pthread_t thread)
{
    for (int policy : {SCHED_FIFO, SCHED_RR}) {
        sched_param param{};
        param.sched_priority = sched_get_priority_max(policy);
        if (pthread_setschedparam(thread, policy, &param) == 0)
            return;
    }
}
