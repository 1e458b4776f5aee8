#include "AudioTestSupport.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QThread>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>

#include "support/ProgramRun.h"
#include "support/TestFolders.h"

namespace tunivox::test {

QByteArray ReferencePcm(const QString& path)
{
    const ProgramResult ffmpeg = RunProgram(
        QStringLiteral("ffmpeg"), {QStringLiteral("-nostdin"), QStringLiteral("-v"), QStringLiteral("error"),
                                   QStringLiteral("-i"), path, QStringLiteral("-f"), QStringLiteral("s16le"),
                                   QStringLiteral("-ar"), QStringLiteral("44100"), QStringLiteral("-ac"),
                                   QStringLiteral("2"), QStringLiteral("-")});
    return ffmpeg.bFinished && ffmpeg.nExitCode == 0 ? ffmpeg.output : QByteArray();
}

ScopedNullDevice::ScopedNullDevice(double speed, long dieAfterBlocks, MMRESULT openResult)
    : m_previous(GetWaveMapper()), m_pCapture(std::make_shared<CWaveMemoryCapture>())
{
    WaveMapperOptions options;
    options.eBackend = WaveBackend::Null;
    options.null.bUntimed = speed <= 0;
    options.null.dSpeed = speed > 0 ? speed : 1.0;
    options.null.pCapture = m_pCapture;
    options.null.nDieAfterBlocks = dieAfterBlocks;
    options.null.nOpenResult = openResult;
    SetWaveMapper(options);
}

ScopedNullDevice::~ScopedNullDevice()
{
    SetWaveMapper(m_previous);
}

QByteArray ScopedNullDevice::Captured() const
{
    const std::vector<BYTE> bytes = m_pCapture->Bytes();
    return QByteArray(reinterpret_cast<const char*>(bytes.data()), static_cast<qsizetype>(bytes.size()));
}

QList<int> ThreadIdsNamed(const QString& name)
{
    QList<int> ids;
    const QDir tasks(QStringLiteral("/proc/self/task"));
    for (const QString& tid : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile comm(tasks.filePath(tid + QStringLiteral("/comm")));
        if (comm.open(QIODevice::ReadOnly) && QString::fromUtf8(comm.readAll().trimmed()) == name)
            ids.append(tid.toInt());
    }
    return ids;
}

bool WaitUntil(const std::function<bool()>& condition, int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > timeoutMs)
            return false;
        QThread::msleep(1);
    }
    return true;
}

void InitAndOpen(CAudioPlayer& player, const QString& path)
{
    ASSERT_EQ(player.Init(), S_OK) << player.m_szError;
    ASSERT_EQ(player.Open(path.toUtf8().constData()), S_OK) << player.m_szError << " " << path.toStdString();
}

QByteArray PlayToEnd(CAudioPlayer& player, const ScopedNullDevice& device, QWORD start)
{
    device.Capture()->Clear();
    EXPECT_EQ(player.Play(start), S_OK) << player.m_szError;
    EXPECT_TRUE(WaitUntil([&] { return !player.m_bPlaying; }, 30000));
    return device.Captured();
}

MatchResult BestMatch(const QByteArray& haystack, long long expectedFrame, long long rangeFrames,
                      const QByteArray& needle)
{
    MatchResult best{expectedFrame, 1e18};
    const auto* h = reinterpret_cast<const qint16*>(haystack.constData());
    const auto* n = reinterpret_cast<const qint16*>(needle.constData());
    const long long needleSamples = needle.size() / 2;
    const long long haySamples = haystack.size() / 2;
    for (long long frame = expectedFrame - rangeFrames; frame <= expectedFrame + rangeFrames; ++frame) {
        if (frame < 0 || frame * 2 + needleSamples > haySamples)
            continue;
        double sum = 0;
        for (long long i = 0; i < needleSamples; ++i)
            sum += std::abs(h[frame * 2 + i] - n[i]);
        const double mean = sum / static_cast<double>(needleSamples);
        if (mean < best.dMeanDifference)
            best = {frame, mean};
    }
    return best;
}

} // namespace tunivox::test
