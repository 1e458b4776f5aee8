#pragma once
// The classic Windows C runtime's srand/rand: a linear congruential generator (multiplier 214013,
// increment 2531011) returning 15-bit values, so that random draws give the same numbers as there.
//
// Threading: one generator state per thread, like the runtime's per-thread state.

#include "tunivox_export.h"

inline constexpr int MSVC_RAND_MAX = 0x7FFF;

TUNIVOX_EXPORT void MsvcSrand(unsigned int seed);
TUNIVOX_EXPORT int MsvcRand();
