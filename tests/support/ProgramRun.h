#pragma once
// Runs a program without a shell and collects its exit code and output. posix_spawn rather than
// QProcess: QProcess starts children with clone(), after which ThreadSanitizer loses track of how the
// threads of a busy process synchronise and reports races between accesses under the same mutex.

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace tunivox::test {

struct ProgramResult
{
    bool bFinished = false; // started and ended within the time limit
    int nExitCode = -1;
    QByteArray output;
    QByteArray errors;
};

// Standard input is /dev/null. A program still running after `timeoutMs` is killed.
ProgramResult RunProgram(const QString& program, const QStringList& arguments, int timeoutMs = 60000);

} // namespace tunivox::test
