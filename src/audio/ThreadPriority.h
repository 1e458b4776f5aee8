#pragma once
// Scheduling for the threads that keep the sound going (decoding, the wave device).
//
// "Time-critical" is the top of the normal scheduling class, as it is for a thread of an ordinary
// process elsewhere: the lowest nice value the system grants the calling thread (-20 with
// CAP_SYS_NICE, else what RLIMIT_NICE allows), never a real-time class. A nice thread wins the
// processor from busy ones within a scheduler slice, far inside the engine's 1.5 s ring and the
// device's 500 ms buffer, and a real-time wake-up costs several times its system time (priority
// inheritance, real-time balancing between cores). Threads made by the thread afterwards (a sound
// server client's, a codec's) inherit the value.

// Raises the calling thread as far as granted; it stays as it is when nothing is.
void SetCurrentThreadTimeCritical();

// Names the calling thread (15 bytes at most; longer names are cut) for top -H, gdb and /proc.
void NameCurrentThread(const char* name);
