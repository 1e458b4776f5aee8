#include "player/SystemShuffleSource.h"

#include <ctime>

#include "platform/MsvcRand.h"

std::uint32_t SystemShuffleSource::TickCount()
{
    timespec ts {};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return static_cast<std::uint32_t>(static_cast<std::uint64_t>(ts.tv_sec) * 1000u +
                                      static_cast<std::uint64_t>(ts.tv_nsec) / 1000000u);
}

std::uint32_t SystemShuffleSource::CalendarSeconds()
{
    return static_cast<std::uint32_t>(std::time(nullptr));
}

void SystemShuffleSource::Seed(std::uint32_t seed)
{
    MsvcSrand(seed);
}

int SystemShuffleSource::Rand()
{
    return MsvcRand();
}
