#pragma once
// A private sound server with one null sink ("nullsink", 44.1 kHz stereo) for the life of the
// object, and PCM capture from its monitor. Two kinds, as desktops run them:
// - PulseAudio: one daemon.
// - PipeWire: pipewire, wireplumber (its session manager) and pipewire-pulse on a private session
//   bus, the graph at its default 48 kHz as desktops run it, so 44.1 kHz songs are resampled.
// - PipeWireAt44k: the same with the graph clocked at 44.1 kHz, so the monitor records exactly
//   what was played.
// The server lives in its own runtime folder, so parallel tests and a user's own server are never
// touched. While it runs, this process's PULSE_SERVER (and for PipeWire PIPEWIRE_RUNTIME_DIR) point
// at it, so ALSA's "pulse" device (and "pulse:nullsink") plays into the null sink, on PipeWire
// through its PulseAudio protocol as desktops have it. (PipeWire's own ALSA plugin cannot be
// installed beside the PulseAudio daemon.)
//
// Threading: construct, capture and destroy on one thread. Not copyable.

#include <QByteArray>
#include <QList>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>
#include <memory>
#include <vector>

namespace tunivox::test {

enum class SoundServerKind { PulseAudio, PipeWire, PipeWireAt44k };

const char* SoundServerName(SoundServerKind kind);

class ScopedSoundServer
{
public:
    explicit ScopedSoundServer(SoundServerKind kind = SoundServerKind::PulseAudio);
    ~ScopedSoundServer();
    ScopedSoundServer(const ScopedSoundServer&) = delete;
    ScopedSoundServer& operator=(const ScopedSoundServer&) = delete;

    SoundServerKind Kind() const { return m_kind; }
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
    // Stops recording and returns everything recorded (raw s16le stereo 44.1 kHz; on PipeWire at
    // 48 kHz resampled twice, so not the bytes played).
    QByteArray StopCapture();

private:
    bool Start();
    bool StartPulseAudio();
    bool StartPipeWire();
    bool IsPipeWire() const { return m_kind != SoundServerKind::PulseAudio; }
    bool WaitForPulseProtocol();
    bool StartChild(const QString& program, const QStringList& arguments);
    QProcessEnvironment Environment() const;
    bool RunTool(const QString& program, const QStringList& arguments, int timeoutMs,
                 QByteArray* output = nullptr) const;
    void SetEnvironment(const char* name, const QByteArray& value);

    const SoundServerKind m_kind;
    QTemporaryDir m_folder;
    bool m_bStarted = false;
    QString m_strError;
    std::vector<std::pair<QByteArray, std::pair<bool, QByteArray>>> m_saved; // name, (was set, value)
    std::vector<std::unique_ptr<QProcess>> m_children;                       // PipeWire's processes
    QProcess m_capture;
};

} // namespace tunivox::test
