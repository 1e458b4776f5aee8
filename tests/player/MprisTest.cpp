// The control's MPRIS 2 service on a private session bus, driven as a desktop drives it: with
// playerctl, gdbus and its monitor, the engine on the null device at real time.
#include <QFileInfo>
#include <QImageReader>
#include <QProcess>
#include <QTemporaryDir>
#include <QUrl>
#include <gtest/gtest.h>

#include "PlayerTestSupport.h"
#include "player/MprisService.h"

using namespace tunivox::test;

namespace {

const QString kBusName = QStringLiteral("org.mpris.MediaPlayer2.tunivox");

// A dbus-daemon of its own for this test program, set as the session bus before Qt first asks.
class PrivateSessionBus
{
public:
    PrivateSessionBus()
    {
        m_daemon.start(QStringLiteral("dbus-daemon"),
                       {QStringLiteral("--session"), QStringLiteral("--nofork"), QStringLiteral("--nopidfile"),
                        QStringLiteral("--print-address=1"),
                        QStringLiteral("--address=unix:path=") + m_folder.path() + QStringLiteral("/bus")});
        if (m_daemon.waitForReadyRead(10000))
            m_strAddress = QString::fromUtf8(m_daemon.readLine()).trimmed();
        if (!m_strAddress.isEmpty())
            qputenv("DBUS_SESSION_BUS_ADDRESS", m_strAddress.toUtf8());
    }
    ~PrivateSessionBus()
    {
        m_daemon.terminate();
        if (!m_daemon.waitForFinished(3000))
            m_daemon.kill();
        m_daemon.waitForFinished(3000);
    }
    bool Started() const { return !m_strAddress.isEmpty(); }

private:
    QTemporaryDir m_folder;
    QProcess m_daemon;
    QString m_strAddress;
};

PrivateSessionBus* g_bus = nullptr;

// Runs a tool while this thread's event loop keeps answering the bus; its trimmed output.
QString Run(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.start(program, arguments);
    WaitUntil([&] { return process.state() == QProcess::NotRunning; }, 10000);
    if (process.state() != QProcess::NotRunning) {
        process.kill();
        process.waitForFinished(1000);
        return QStringLiteral("<timed out>");
    }
    return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
}

QString Playerctl(const QStringList& arguments)
{
    return Run(QStringLiteral("playerctl"), QStringList{QStringLiteral("--player=tunivox")} + arguments);
}

QString NameHasOwner()
{
    return Run(QStringLiteral("gdbus"),
               {QStringLiteral("call"), QStringLiteral("--session"), QStringLiteral("--dest"),
                QStringLiteral("org.freedesktop.DBus"), QStringLiteral("--object-path"), QStringLiteral("/org/freedesktop/DBus"),
                QStringLiteral("--method"), QStringLiteral("org.freedesktop.DBus.NameHasOwner"), kBusName});
}

class MprisTest : public ::testing::Test
{
protected:
    static void SetUpTestSuite() { g_bus = new PrivateSessionBus(); }
    static void TearDownTestSuite()
    {
        delete g_bus;
        g_bus = nullptr;
    }
    void SetUp() override
    {
        if (!g_bus->Started())
            GTEST_SKIP() << "dbus-daemon did not start";
        fixture.Add({QStringLiteral("long-44k-stereo.mp3"), QStringLiteral("melody-44k-stereo.m4a"),
                     QStringLiteral("tone-44k-stereo.mp3")});
    }

    PlayerFixture fixture{1.0};
    CMediaPlayerCtrl* ctrl() { return fixture.ctrl; }
};

} // namespace

TEST_F(MprisTest, NothingIsOnTheBusUntilTheHostAttachesTheService)
{
    EXPECT_EQ(NameHasOwner(), QLatin1String("(false,)"));
    QString error;
    MprisService* service = MprisService::Attach(ctrl(), QString(), &error);
    ASSERT_NE(service, nullptr) << error.toStdString();
    EXPECT_EQ(service->BusName(), kBusName);
    EXPECT_EQ(NameHasOwner(), QLatin1String("(true,)"));
    delete service;
    EXPECT_EQ(NameHasOwner(), QLatin1String("(false,)")) << "the name goes with the service";
}

TEST_F(MprisTest, DesktopCommandsDriveTheControl)
{
    ASSERT_NE(MprisService::Attach(ctrl()), nullptr);
    EXPECT_EQ(Playerctl({QStringLiteral("status")}), QLatin1String("Stopped"));
    const struct
    {
        QStringList command;
        const char* pszStatus;
        std::function<bool(CMediaPlayerCtrl*)> done;
    } steps[] = {
        {{QStringLiteral("play")}, "Playing", [](CMediaPlayerCtrl* c) { return c->IsPlaying() && c->GetCurrentIndex() == 0; }},
        {{QStringLiteral("pause")}, "Paused", [](CMediaPlayerCtrl* c) { return c->IsPaused() != 0; }},
        {{QStringLiteral("play-pause")}, "Playing", [](CMediaPlayerCtrl* c) { return !c->IsPaused(); }},
        {{QStringLiteral("next")}, "Playing", [](CMediaPlayerCtrl* c) { return c->GetCurrentIndex() == 1; }},
        {{QStringLiteral("previous")}, "Playing", [](CMediaPlayerCtrl* c) { return c->GetCurrentIndex() == 0; }},
        {{QStringLiteral("position"), QStringLiteral("6")}, "Playing",
         [](CMediaPlayerCtrl* c) { return c->GetAudioPlayer()->GetCurrentSeconds() >= 6; }},
        {{QStringLiteral("loop"), QStringLiteral("Playlist")}, "Playing", [](CMediaPlayerCtrl* c) { return c->IsRepeat() != 0; }},
        {{QStringLiteral("loop"), QStringLiteral("None")}, "Playing", [](CMediaPlayerCtrl* c) { return !c->IsRepeat(); }},
        {{QStringLiteral("shuffle"), QStringLiteral("On")}, "Playing", [](CMediaPlayerCtrl* c) { return c->IsShuffle() != 0; }},
        {{QStringLiteral("shuffle"), QStringLiteral("Off")}, "Playing", [](CMediaPlayerCtrl* c) { return !c->IsShuffle(); }},
        {{QStringLiteral("stop")}, "Stopped", [](CMediaPlayerCtrl* c) { return c->IsStopped() != 0; }},
    };
    for (const auto& step : steps) {
        const QString what = step.command.join(QLatin1Char(' '));
        Playerctl(step.command);
        EXPECT_TRUE(WaitUntil([&] { return step.done(ctrl()); }, 3000)) << what.toStdString();
        EXPECT_EQ(Playerctl({QStringLiteral("status")}), QLatin1String(step.pszStatus)) << what.toStdString();
    }
    EXPECT_EQ(Playerctl({QStringLiteral("loop")}), QLatin1String("None"));
    // A volume set comes back as set: the device's 16-bit level is rounded, not truncated (0.5 is
    // 32767 of 65535).
    for (const char* volume : {"0.5", "0.07", "0.4"}) {
        Playerctl({QStringLiteral("volume"), QLatin1String(volume)});
        EXPECT_TRUE(WaitUntil([&] { return Playerctl({QStringLiteral("volume")}).toDouble() == QString::fromLatin1(volume).toDouble(); }, 3000))
            << volume << " came back as " << Playerctl({QStringLiteral("volume")}).toStdString();
    }
    EXPECT_EQ(ctrl()->GetVolume(), 40) << "the control's own scale";
}

TEST_F(MprisTest, MetadataFollowsTheSongAndChangesAreAnnounced)
{
    MprisService* service = MprisService::Attach(ctrl());
    ASSERT_NE(service, nullptr);
    QProcess monitor;
    monitor.start(QStringLiteral("gdbus"), {QStringLiteral("monitor"), QStringLiteral("--session"),
                                            QStringLiteral("--dest"), kBusName});
    ASSERT_TRUE(monitor.waitForStarted(5000));
    QTest::qWait(300); // the monitor subscribes

    ctrl()->PlayStart(FixturePath(QStringLiteral("long-44k-stereo.mp3")).toUtf8().constData());
    const QString format = QStringLiteral("{{mpris:trackid}}|{{xesam:title}}|{{xesam:artist}}|{{xesam:album}}|"
                                          "{{mpris:length}}|{{mpris:artUrl}}|{{xesam:url}}");
    const QStringList fields = Playerctl({QStringLiteral("metadata"), QStringLiteral("--format"), format}).split(QLatin1Char('|'));
    ASSERT_EQ(fields.size(), 7) << fields.join(QLatin1Char('|')).toStdString();
    EXPECT_TRUE(fields[0].contains(QLatin1String("/org/tunivox/track/t"))) << fields[0].toStdString(); // quoted
    EXPECT_EQ(fields[1], QLatin1String("Title of long-44k-stereo"));
    EXPECT_EQ(fields[2], QLatin1String("Fixture Artist"));
    EXPECT_EQ(fields[3], QLatin1String("Fixture Album"));
    EXPECT_NEAR(fields[4].toDouble(), 12e6, 0.1e6);
    const QString cover = QUrl(fields[5]).toLocalFile();
    EXPECT_EQ(QImageReader(cover).format(), "jpeg") << fields[5].toStdString();
    EXPECT_EQ(QUrl(fields[6]).toLocalFile(), FixturePath(QStringLiteral("long-44k-stereo.mp3")));

    // Changes made through the control itself (its toolbar, keys, the host) are announced too.
    ctrl()->Pause();
    ctrl()->SetRepeatMode(1);
    ctrl()->Next();
    QByteArray seen;
    WaitUntil([&] {
        seen += monitor.readAllStandardOutput();
        return seen.contains("'LoopStatus': <'Playlist'>") && seen.contains("Title of melody-44k-stereo");
    }, 3000);
    EXPECT_TRUE(seen.contains("org.freedesktop.DBus.Properties.PropertiesChanged")) << seen.constData();
    EXPECT_TRUE(seen.contains("'PlaybackStatus': <'Paused'>")) << seen.constData();
    EXPECT_TRUE(seen.contains("'LoopStatus': <'Playlist'>")) << seen.constData();
    EXPECT_TRUE(seen.contains("Title of melody-44k-stereo")) << seen.constData();
    EXPECT_FALSE(QFileInfo::exists(cover)) << "the previous song's cover copy is removed";

    // While nothing changes, nothing is announced.
    WaitUntil([&] { return false; }, 700);
    monitor.readAllStandardOutput();
    WaitUntil([&] { return false; }, 1000);
    EXPECT_FALSE(monitor.readAllStandardOutput().contains("PropertiesChanged"));
    monitor.kill();
    monitor.waitForFinished(2000);
}
