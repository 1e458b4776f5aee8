#pragma once
// The shuffle draw's source as the classic control had it: the monotonic tick count and the
// calendar time for seeds, the classic C runtime's srand/rand (MsvcRand) for draws.
//
// Threading: the generator state is per thread (MsvcRand), so each thread draws on its own.

#include "session/PlayOrder.h"

class SystemShuffleSource final : public PlayOrder::ShuffleSource
{
public:
    std::uint32_t TickCount() override;
    std::uint32_t CalendarSeconds() override;
    void Seed(std::uint32_t seed) override;
    int Rand() override;
};
