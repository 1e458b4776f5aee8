#pragma once
// Shared pieces of the engine tests: reference decodes by the ffmpeg command-line tool, the null
// device set up as the wave mapper, and bounded waits on the engine's flags.

#include <QByteArray>
#include <QList>
#include <QString>
#include <functional>
#include <memory>

#include "audio/CAudioPlayer.h"
#include "audio/WaveOut.h"

namespace tunivox::test {

inline constexpr int kBlockBytes = 2048;
inline constexpr double kUnitsPerByte = 10000000.0 / 176400.0;

// `ffmpeg -i FILE -f s16le -ar 44100 -ac 2 -` of the file (empty on failure).
QByteArray ReferencePcm(const QString& path);

// Makes the null device the wave mapper for the scope, capturing into memory.
class ScopedNullDevice
{
public:
    explicit ScopedNullDevice(double speed = 0.0, long dieAfterBlocks = -1, MMRESULT openResult = MMSYSERR_NOERROR);
    ~ScopedNullDevice();
    std::shared_ptr<CWaveMemoryCapture> Capture() const { return m_pCapture; }
    QByteArray Captured() const;

private:
    WaveMapperOptions m_previous;
    std::shared_ptr<CWaveMemoryCapture> m_pCapture;
};

// Polls `condition` every millisecond until it holds or `timeoutMs` passes.
bool WaitUntil(const std::function<bool()>& condition, int timeoutMs);

// The ids of this process's threads named `name` (as /proc/self/task/*/comm shows it).
QList<int> ThreadIdsNamed(const QString& name);

// Init + Open of `path` on the engine; fails the calling test on error.
void InitAndOpen(CAudioPlayer& player, const QString& path);

// The engine with `path` open on a null device of the given speed (0: untimed). The device is the
// first base, so the player is gone before the wave mapper is restored.
class NullDevicePlayer : public ScopedNullDevice, public CAudioPlayer
{
public:
    explicit NullDevicePlayer(const QString& path, double speed = 0.0, DWORD handBackMs = 0);
    // Plays from `start` until the thread ends by itself; returns what the device got.
    QByteArray PlayToEnd(QWORD start = 0);
};

} // namespace tunivox::test
