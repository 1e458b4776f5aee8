#pragma once
// A private PulseAudio server with one null sink ("nullsink", 44.1 kHz stereo) for the life of the
// object, and PCM capture from its monitor. The server lives in its own runtime folder, so parallel
// tests and a user's own server are never touched; while it runs, this process's PULSE_SERVER points
// at it, so the ALSA devices "pulse" and "default" play into the null sink.
//
// Threading: construct, capture and destroy on one thread. Not copyable.

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

namespace tunivox::test {

class ScopedPulseServer
{
public:
    ScopedPulseServer();
    ~ScopedPulseServer();
    ScopedPulseServer(const ScopedPulseServer&) = delete;
    ScopedPulseServer& operator=(const ScopedPulseServer&) = delete;

    bool Started() const { return m_bStarted; }
    // Why the server could not start (empty when it runs).
    QString ErrorText() const { return m_strError; }
    QString ServerAddress() const;
    // Ends the server as a crash or a user's restart would (clients lose their streams; a capture
    // running stops recording); Restart starts it again at the same address.
    void Kill();
    bool Restart();

    // Starts recording the null sink's monitor; returns once data flows.
    bool StartCapture();
    // Stops recording and returns everything recorded (raw s16le stereo 44.1 kHz).
    QByteArray StopCapture();

private:
    bool StartDaemon();
    QProcessEnvironment Environment() const;
    bool RunTool(const QString& program, const QStringList& arguments, int timeoutMs) const;

    QTemporaryDir m_folder;
    bool m_bStarted = false;
    QString m_strError;
    QByteArray m_previousServer;
    bool m_bHadPreviousServer = false;
    QProcess m_capture;
};

} // namespace tunivox::test
