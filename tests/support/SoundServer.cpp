#include "support/SoundServer.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QThread>
#include <csignal>
#include <sys/prctl.h>

namespace tunivox::test {

namespace {
constexpr int kStartTimeoutMs = 10000;

// The graph runs at the songs' rate, so the null sink's monitor records exactly what was played.
constexpr char kPipeWireRateConfig[] = R"(context.properties = {
    default.clock.rate = 44100
    default.clock.allowed-rates = [ 44100 ]
}
)";

// The null sink is part of the server's own configuration, so it exists before the pulse socket
// answers: a client reconnecting after a restart never meets a server without it and is never
// moved onto it while it plays.
constexpr char kPipeWireNullSinkConfig[] = R"(context.objects = [
    { factory = adapter
      args = {
          factory.name = support.null-audio-sink
          node.name = "nullsink"
          media.class = "Audio/Sink"
          audio.position = [ FL FR ]
          audio.rate = 44100
          monitor.channel-volumes = true
      }
    }
]
)";

bool WriteConfigFile(const QString& path, const char* text)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(text) >= 0;
}
} // namespace

const char* SoundServerName(SoundServerKind kind)
{
    switch (kind) {
    case SoundServerKind::PipeWire:
        return "PipeWire";
    case SoundServerKind::PipeWireAt44k:
        return "PipeWireAt44k";
    case SoundServerKind::PulseAudio:
        break;
    }
    return "PulseAudio";
}

ScopedSoundServer::ScopedSoundServer(SoundServerKind kind) : m_kind(kind)
{
    if (!m_folder.isValid()) {
        m_strError = QStringLiteral("no temporary folder");
        return;
    }
    QFile::setPermissions(m_folder.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    SetEnvironment("PULSE_SERVER", ServerAddress().toUtf8());
    if (IsPipeWire()) {
        SetEnvironment("PIPEWIRE_RUNTIME_DIR", m_folder.path().toUtf8());
        const QString config = m_folder.filePath(QStringLiteral("config/pipewire/pipewire.conf.d"));
        QDir().mkpath(config);
        if ((m_kind == SoundServerKind::PipeWireAt44k &&
             !WriteConfigFile(config + QStringLiteral("/10-rate.conf"), kPipeWireRateConfig)) ||
            !WriteConfigFile(config + QStringLiteral("/20-null-sink.conf"), kPipeWireNullSinkConfig)) {
            m_strError = QStringLiteral("cannot write the PipeWire configuration");
            return;
        }
        // wireplumber needs a session bus; a private one, for the life of the object.
        if (!StartChild(QStringLiteral("dbus-daemon"),
                        {QStringLiteral("--session"), QStringLiteral("--nofork"),
                         QStringLiteral("--address=unix:path=") + m_folder.filePath(QStringLiteral("bus"))})) {
            m_strError = QStringLiteral("dbus-daemon did not start");
            return;
        }
        QElapsedTimer timer;
        timer.start();
        while (!QFileInfo::exists(m_folder.filePath(QStringLiteral("bus"))) && timer.elapsed() < kStartTimeoutMs)
            QThread::msleep(10);
    }
    m_bStarted = Start();
}

void ScopedSoundServer::SetEnvironment(const char* name, const QByteArray& value)
{
    m_saved.push_back({name, {qEnvironmentVariableIsSet(name), qgetenv(name)}});
    qputenv(name, value);
}

bool ScopedSoundServer::Start()
{
    return IsPipeWire() ? StartPipeWire() : StartPulseAudio();
}

bool ScopedSoundServer::StartPulseAudio()
{
    const QStringList arguments{
        QStringLiteral("-D"), QStringLiteral("-n"), QStringLiteral("--exit-idle-time=-1"),
        QStringLiteral("--load=module-null-sink sink_name=nullsink rate=44100 channels=2 norewinds=1"),
        QStringLiteral("--load=module-native-protocol-unix auth-anonymous=1")};
    if (!RunTool(QStringLiteral("pulseaudio"), arguments, kStartTimeoutMs)) {
        m_strError = QStringLiteral("pulseaudio did not start");
        return false;
    }
    return WaitForPulseProtocol();
}

bool ScopedSoundServer::StartPipeWire()
{
    if (!StartChild(QStringLiteral("pipewire"), {})) {
        m_strError = QStringLiteral("pipewire did not start");
        return false;
    }
    QElapsedTimer timer;
    timer.start();
    while (!QFileInfo::exists(m_folder.filePath(QStringLiteral("pipewire-0"))) && timer.elapsed() < kStartTimeoutMs)
        QThread::msleep(10);
    if (!StartChild(QStringLiteral("wireplumber"), {}) || !StartChild(QStringLiteral("pipewire-pulse"), {})) {
        m_strError = QStringLiteral("wireplumber or pipewire-pulse did not start");
        return false;
    }
    if (!WaitForPulseProtocol())
        return false;
    // The session manager links new streams to the default sink once it has chosen one.
    QElapsedTimer chosen;
    chosen.start();
    QByteArray sink;
    while (!RunTool(QStringLiteral("pactl"), {QStringLiteral("get-default-sink")}, 2000, &sink) ||
           sink.trimmed() != "nullsink") {
        if (chosen.elapsed() > kStartTimeoutMs) {
            m_strError = QStringLiteral("the null sink never became the default");
            return false;
        }
        QThread::msleep(20);
    }
    return true;
}

bool ScopedSoundServer::WaitForPulseProtocol()
{
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

bool ScopedSoundServer::StartChild(const QString& program, const QStringList& arguments)
{
    auto process = std::make_unique<QProcess>();
    process->setProcessEnvironment(Environment());
    process->setStandardOutputFile(QProcess::nullDevice());
    process->setStandardErrorFile(m_folder.filePath(program + QStringLiteral(".log")), QIODevice::Append);
    // A test that dies takes its servers with it.
    process->setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGKILL); });
    process->start(program, arguments);
    if (!process->waitForStarted(kStartTimeoutMs))
        return false;
    m_children.push_back(std::move(process));
    return true;
}

bool ScopedSoundServer::Restart()
{
    Kill();
    m_bStarted = Start();
    return m_bStarted;
}

ScopedSoundServer::~ScopedSoundServer()
{
    if (m_capture.state() != QProcess::NotRunning)
        StopCapture();
    Kill();
    for (auto& child : m_children) { // the session bus
        child->terminate();
        if (!child->waitForFinished(kStartTimeoutMs))
            child->kill();
    }
    for (auto it = m_saved.rbegin(); it != m_saved.rend(); ++it) {
        if (it->second.first)
            qputenv(it->first.constData(), it->second.second);
        else
            qunsetenv(it->first.constData());
    }
}

void ScopedSoundServer::Kill()
{
    if (IsPipeWire()) {
        // Everything but the session bus, the first child.
        while (m_children.size() > 1) {
            std::unique_ptr<QProcess>& child = m_children.back();
            child->terminate();
            if (!child->waitForFinished(kStartTimeoutMs)) {
                child->kill();
                child->waitForFinished(1000);
            }
            m_children.pop_back();
        }
    } else if (m_folder.isValid() &&
               RunTool(QStringLiteral("pulseaudio"), {QStringLiteral("--kill")}, kStartTimeoutMs)) {
        // --kill only signals; the folder can go once the daemon has cleaned up after itself.
        QElapsedTimer timer;
        timer.start();
        while (RunTool(QStringLiteral("pulseaudio"), {QStringLiteral("--check")}, 2000) &&
               timer.elapsed() < kStartTimeoutMs)
            QThread::msleep(20);
    }
    m_bStarted = false;
}

QString ScopedSoundServer::ServerAddress() const
{
    return QStringLiteral("unix:") + m_folder.path() + QStringLiteral("/pulse/native");
}

QProcessEnvironment ScopedSoundServer::Environment() const
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), m_folder.path());
    environment.insert(QStringLiteral("HOME"), m_folder.path());
    environment.insert(QStringLiteral("PULSE_SERVER"), ServerAddress());
    if (IsPipeWire()) {
        environment.insert(QStringLiteral("XDG_CONFIG_HOME"), m_folder.filePath(QStringLiteral("config")));
        environment.insert(QStringLiteral("PIPEWIRE_RUNTIME_DIR"), m_folder.path());
        environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"),
                           QStringLiteral("unix:path=") + m_folder.filePath(QStringLiteral("bus")));
    }
    return environment;
}

bool ScopedSoundServer::RunTool(const QString& program, const QStringList& arguments, int timeoutMs,
                                QByteArray* output) const
{
    QProcess process;
    process.setProcessEnvironment(Environment());
    process.start(program, arguments);
    if (!process.waitForFinished(timeoutMs)) {
        process.kill();
        process.waitForFinished(1000);
        return false;
    }
    if (output)
        *output = process.readAllStandardOutput();
    return process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

bool ScopedSoundServer::StartCapture()
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

QByteArray ScopedSoundServer::StopCapture()
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
