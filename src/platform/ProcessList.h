#pragma once
// The running processes as /proc shows them, and ending them: the counterparts of a process snapshot,
// OpenProcess + TerminateProcess and the process-information record of a started program.
//
// Threading: any thread; every call reads /proc afresh.

#include <QList>
#include <QString>
#include <cstdint>
#include <sys/types.h>

#include "tunivox_export.h"

// A started program as the control keeps it. Linux has no process or thread handles: hProcess holds
// the process id as well (non-zero while the record is in use), hThread and dwThreadId stay 0.
struct PROCESS_INFORMATION
{
    std::intptr_t hProcess = 0;
    std::intptr_t hThread = 0;
    std::uint32_t dwProcessId = 0;
    std::uint32_t dwThreadId = 0;
};

struct ProcessEntry
{
    pid_t pid = 0;
    QString strExeName;   // file name of the executable, e.g. "tplayer"
};

// Every live process whose /proc entry could be read, in ascending process id order; processes that
// ended but were not reaped yet (zombies) are left out. The executable name comes from /proc/PID/exe,
// or, when that link is not readable, from /proc/PID/stat.
TUNIVOX_EXPORT QList<ProcessEntry> ListProcesses();

// Ends a process as TerminateProcess would with that exit code: 9 means a hard kill (SIGKILL),
// anything else a polite one (SIGTERM). False when the process does not exist or may not be signalled.
TUNIVOX_EXPORT bool TerminateProcessById(pid_t pid, unsigned exitCode);

// Reaps `pid` if it is a child of ours, waiting at most `timeoutMs` for it to end. True when reaped.
TUNIVOX_EXPORT bool ReapChild(pid_t pid, int timeoutMs);
