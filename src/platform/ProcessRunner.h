#pragma once
// Starting external programs from one command line, as the original did, without a shell: the line
// is split into an argument vector with the Windows rules (quotes group blanks, backslashes escape
// quotes) and the program is started directly with posix_spawn. Nothing in a file name (quotes, ";",
// "$(...)", backquotes, newlines) can make another program run.
//
// Threading: any thread; each call is independent. ExecuteProgramCloseProcess blocks its caller
// until the program ends (no time limit, as specified by its users).

#include <QString>
#include <QStringList>
#include <sys/types.h>

#include "tunivox_export.h"

// Splits a command line by the Windows rules: the first word ends at the first blank (or spans a
// quoted part, without escapes); the others honour quotes, "" inside quotes and the 2n / 2n+1
// backslash rules before a quote.
TUNIVOX_EXPORT QStringList SplitWindowsCommandLine(const QString& commandLine);

// Quotes one argument so that SplitWindowsCommandLine gives it back unchanged: "name" for ordinary
// names, with \" and doubled backslashes where a quote follows.
TUNIVOX_EXPORT QString QuoteWindowsArgument(const QString& argument);

// Runs `program` (one word, whatever it holds) with `arguments` split as a command line's, and waits
// for it to end. mode 1: the child keeps this process's
// terminal and priority; mode 0: no console (standard streams on /dev/null) and detached in a
// session of its own; other values: detached. True when the program was started.
TUNIVOX_EXPORT bool ExecuteProgramCloseProcess(const QString& program, const QString& arguments, int mode);

// The same command line, started without waiting; bDetached as mode 0 above. Returns the process id,
// or -1 when nothing was started. The caller reaps the child (WaitForProgram).
TUNIVOX_EXPORT pid_t ExecuteProgramHandle(const QString& program, const QString& arguments, int bDetached);

// Waits for a child started by ExecuteProgramHandle; returns its exit status or -1.
TUNIVOX_EXPORT int WaitForProgram(pid_t pid);
