#pragma once
// Real-time scheduling for the threads that keep the sound going (decoding, the wave device).

#include <pthread.h>

// FIFO at the highest priority, else RR, when the system grants it; else the thread stays as it is.
// Threads that `thread` creates afterwards (a sound server client's own thread) inherit it.
void SetHighestThreadPriority(pthread_t thread);
