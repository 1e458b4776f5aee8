#include "audio/ThreadPriority.h"

#include <initializer_list>

void SetHighestThreadPriority(pthread_t thread)
{
    for (int policy : {SCHED_FIFO, SCHED_RR}) {
        sched_param param{};
        param.sched_priority = sched_get_priority_max(policy);
        if (pthread_setschedparam(thread, policy, &param) == 0)
            return;
    }
}

CNormalPriorityScope::CNormalPriorityScope()
{
    if (pthread_getschedparam(pthread_self(), &m_nPolicy, &m_param) != 0 || m_nPolicy == SCHED_OTHER)
        return;
    const sched_param normal{};
    m_bLowered = pthread_setschedparam(pthread_self(), SCHED_OTHER, &normal) == 0;
}

CNormalPriorityScope::~CNormalPriorityScope()
{
    if (m_bLowered)
        pthread_setschedparam(pthread_self(), m_nPolicy, &m_param);
}
