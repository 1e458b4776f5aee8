#include "platform/MsvcRand.h"

namespace {
thread_local unsigned int t_state = 1;
}

void MsvcSrand(unsigned int seed)
{
    t_state = seed;
}

int MsvcRand()
{
    t_state = t_state * 214013u + 2531011u;
    return static_cast<int>((t_state >> 16) & 0x7FFFu);
}
