#include "AudioTestSupport.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QThread>
#include <gtest/gtest.h>

#include "support/ProgramRun.h"

namespace tunivox::test {

QByteArray ReferencePcm(const QString& path)
{
    const QStringList arguments = QStringList{QStringLiteral("-nostdin"), QStringLiteral("-i"), path} +
                                  QStringLiteral("-v error -f s16le -ar 44100 -ac 2 -").split(u' ');
    const ProgramResult ffmpeg = RunProgram(QStringLiteral("ffmpeg"), arguments);
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

NullDevicePlayer::NullDevicePlayer(const QString& path, double speed, DWORD handBackMs) : ScopedNullDevice(speed)
{
    SetHandBackInterval(handBackMs);
    InitAndOpen(*this, path);
}

QByteArray NullDevicePlayer::PlayToEnd(QWORD start)
{
    Capture()->Clear();
    EXPECT_EQ(Play(start), S_OK) << m_szError;
    EXPECT_TRUE(WaitUntil([this] { return !m_bPlaying; }, 30000));
    return Captured();
}

} // namespace tunivox::test
