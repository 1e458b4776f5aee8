// ThreadSanitizer builds only. libstdc++'s timed_mutex waits with pthread_mutex_clocklock, which
// GCC 12's ThreadSanitizer does not intercept: it then takes the mutex for unlocked and reports each
// unlock as an error. This definition, in the test program, wins the symbol lookup for the library
// too and waits through pthread_mutex_timedlock, which ThreadSanitizer does see.
#include <cerrno>
#include <pthread.h>
#include <time.h>

extern "C" __attribute__((visibility("default"))) int pthread_mutex_clocklock(pthread_mutex_t* mutex, clockid_t clock, const struct timespec* deadline)
{
    if (clock == CLOCK_REALTIME)
        return pthread_mutex_timedlock(mutex, deadline);
    timespec now{};
    timespec realNow{};
    if (clock_gettime(clock, &now) != 0 || clock_gettime(CLOCK_REALTIME, &realNow) != 0)
        return EINVAL;
    long long nanoseconds = (static_cast<long long>(deadline->tv_sec) - now.tv_sec) * 1000000000LL +
                            (deadline->tv_nsec - now.tv_nsec) + realNow.tv_nsec;
    timespec realDeadline{};
    realDeadline.tv_sec = realNow.tv_sec + static_cast<time_t>(nanoseconds / 1000000000LL);
    realDeadline.tv_nsec = static_cast<long>(nanoseconds % 1000000000LL);
    if (realDeadline.tv_nsec < 0) {
        realDeadline.tv_nsec += 1000000000L;
        --realDeadline.tv_sec;
    }
    return pthread_mutex_timedlock(mutex, &realDeadline);
}
