#pragma once
// Helpers of the real-time tests through a private PulseAudio null sink: a signal with no silent
// frame, its WAV file, and the recording cut into its stretches of sound.

#include <QByteArray>
#include <QList>
#include <algorithm>
#include <string>

namespace tunivox::test {

inline constexpr int kPulseRate = 44100;
inline constexpr int kPulseFrameBytes = 4;

// A signal without a silent frame, so that the monitor's silence marks exactly where sound was.
inline QByteArray Pattern(int frames)
{
    QByteArray pcm(frames * kPulseFrameBytes, Qt::Uninitialized);
    auto* samples = reinterpret_cast<qint16*>(pcm.data());
    quint32 state = 12345;
    for (int i = 0; i < frames * 2; ++i) {
        state = state * 1103515245u + 12345u;
        samples[i] = static_cast<qint16>(((state >> 16) % 20000) + 100) * ((i & 2) ? 1 : -1);
    }
    return pcm;
}

inline QByteArray Wav(const QByteArray& pcm)
{
    QByteArray wav;
    auto put32 = [&](quint32 v) { wav.append(reinterpret_cast<const char*>(&v), 4); };
    auto put16 = [&](quint16 v) { wav.append(reinterpret_cast<const char*>(&v), 2); };
    wav.append("RIFF");
    put32(36 + pcm.size());
    wav.append("WAVEfmt ");
    put32(16);
    put16(1);
    put16(2);
    put32(kPulseRate);
    put32(kPulseRate * kPulseFrameBytes);
    put16(kPulseFrameBytes);
    put16(16);
    wav.append("data");
    put32(pcm.size());
    return wav + pcm;
}

// The recording cut into stretches of sound; silence between them is a pause, a seek or a gap.
// Stretches shorter than `minFrames` are dropped: a resampling server rings for a few frames
// after the sound stops.
inline QList<QByteArray> SoundRuns(const QByteArray& captured, qsizetype minFrames = 0)
{
    QList<QByteArray> runs;
    qsizetype start = -1;
    const auto* frames = reinterpret_cast<const quint32*>(captured.constData());
    const qsizetype count = captured.size() / kPulseFrameBytes;
    for (qsizetype i = 0; i <= count; ++i) {
        const bool sound = i < count && frames[i] != 0;
        if (sound && start < 0)
            start = i;
        if (!sound && start >= 0) {
            if (i - start >= minFrames)
                runs.append(captured.mid(start * kPulseFrameBytes, (i - start) * kPulseFrameBytes));
            start = -1;
        }
    }
    return runs;
}

inline qsizetype CommonPrefix(const QByteArray& a, const QByteArray& b)
{
    qsizetype n = 0;
    const qsizetype limit = std::min(a.size(), b.size());
    while (n < limit && a[n] == b[n])
        ++n;
    return n - n % kPulseFrameBytes;
}

inline double FramesToMs(qsizetype frames)
{
    return 1000.0 * static_cast<double>(frames) / kPulseRate;
}

inline std::string Describe(const QList<QByteArray>& runs)
{
    std::string text = "sound runs (ms):";
    for (const QByteArray& run : runs)
        text += " " + std::to_string(static_cast<int>(FramesToMs(run.size() / kPulseFrameBytes)));
    return text;
}

} // namespace tunivox::test
