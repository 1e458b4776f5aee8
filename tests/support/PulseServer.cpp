#include "support/PulseServer.h"

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QThread>

namespace tunivox::test {

namespace {
constexpr int kStartTimeoutMs = 10000;
}

ScopedPulseServer::ScopedPulseServer()
{
    if (!m_folder.isValid()) {
        m_strError = QStringLiteral("no temporary folder");
        return;
    }
    QFile::setPermissions(m_folder.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    m_bHadPreviousServer = qEnvironmentVariableIsSet("PULSE_SERVER");
    m_previousServer = qgetenv("PULSE_SERVER");
    qputenv("PULSE_SERVER", ServerAddress().toUtf8());
    m_bStarted = StartDaemon();
}

bool ScopedPulseServer::StartDaemon()
{
    const QStringList arguments{
        QStringLiteral("-D"), QStringLiteral("-n"), QStringLiteral("--exit-idle-time=-1"),
        QStringLiteral("--load=module-null-sink sink_name=nullsink rate=44100 channels=2 norewinds=1"),
        QStringLiteral("--load=module-native-protocol-unix auth-anonymous=1")};
    if (!RunTool(QStringLiteral("pulseaudio"), arguments, kStartTimeoutMs)) {
        m_strError = QStringLiteral("pulseaudio did not start");
        return false;
    }
    QElapsedTimer timer;
    timer.start();
    while (!RunTool(QStringLiteral("pactl"), {QStringLiteral("info")}, 2000)) {
        if (timer.elapsed() > kStartTimeoutMs) {
            m_strError = QStringLiteral("pactl info never answered");
            return false;
        }
        QThread::msleep(50);
    }
    return true;
}

bool ScopedPulseServer::Restart()
{
    Kill();
    m_bStarted = StartDaemon();
    return m_bStarted;
}

ScopedPulseServer::~ScopedPulseServer()
{
    if (m_capture.state() != QProcess::NotRunning)
        StopCapture();
    Kill();
    if (m_bHadPreviousServer)
        qputenv("PULSE_SERVER", m_previousServer);
    else
        qunsetenv("PULSE_SERVER");
}

void ScopedPulseServer::Kill()
{
    if (m_folder.isValid() && RunTool(QStringLiteral("pulseaudio"), {QStringLiteral("--kill")}, kStartTimeoutMs)) {
        // --kill only signals; the folder can go once the daemon has cleaned up after itself.
        QElapsedTimer timer;
        timer.start();
        while (RunTool(QStringLiteral("pulseaudio"), {QStringLiteral("--check")}, 2000) &&
               timer.elapsed() < kStartTimeoutMs)
            QThread::msleep(20);
    }
    m_bStarted = false;
}

QString ScopedPulseServer::ServerAddress() const
{
    return QStringLiteral("unix:") + m_folder.path() + QStringLiteral("/pulse/native");
}

QProcessEnvironment ScopedPulseServer::Environment() const
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), m_folder.path());
    environment.insert(QStringLiteral("HOME"), m_folder.path());
    environment.insert(QStringLiteral("PULSE_SERVER"), ServerAddress());
    return environment;
}

bool ScopedPulseServer::RunTool(const QString& program, const QStringList& arguments, int timeoutMs) const
{
    QProcess process;
    process.setProcessEnvironment(Environment());
    process.start(program, arguments);
    if (!process.waitForFinished(timeoutMs)) {
        process.kill();
        process.waitForFinished(1000);
        return false;
    }
    return process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

bool ScopedPulseServer::StartCapture()
{
    // A WAV file, not --raw: in raw mode parec drops a whole fragment whenever two arrive before
    // it has written the first out, which a loaded machine makes happen.
    const QString file = m_folder.filePath(QStringLiteral("capture.wav"));
    QFile::remove(file);
    m_capture.setProcessEnvironment(Environment());
    m_capture.start(QStringLiteral("parec"),
                    {QStringLiteral("-d"), QStringLiteral("nullsink.monitor"), QStringLiteral("--format=s16le"),
                     QStringLiteral("--rate=44100"), QStringLiteral("--channels=2"),
                     QStringLiteral("--file-format=wav"), QStringLiteral("--latency-msec=20"), file});
    if (!m_capture.waitForStarted(kStartTimeoutMs))
        return false;
    // The monitor delivers silence while nothing plays, so a file growing past its header means the
    // recording runs.
    QElapsedTimer timer;
    timer.start();
    while (QFileInfo(file).size() < 4096) {
        if (timer.elapsed() > kStartTimeoutMs || m_capture.state() == QProcess::NotRunning)
            return false;
        QThread::msleep(10);
    }
    return true;
}

QByteArray ScopedPulseServer::StopCapture()
{
    m_capture.terminate();
    if (!m_capture.waitForFinished(5000)) {
        m_capture.kill();
        m_capture.waitForFinished(1000);
    }
    QFile file(m_folder.filePath(QStringLiteral("capture.wav")));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray wav = file.readAll();
    const qsizetype data = wav.indexOf("data", 12);
    return data < 0 ? QByteArray() : wav.mid(data + 8);
}

} // namespace tunivox::test
