// The listening choices of the control: off until the host switches them on, remembered only when
// asked, and a sound device that fails reported only with recovery on.
#include <gtest/gtest.h>

#include "PlayerTestSupport.h"
#include "visual/CRegistry.h"

using namespace tunivox::test;

namespace {

bool Stored(const char* name)
{
    CRegistry registry;
    RegistryValue value;
    return registry.Read(REGISTRY_PLAYER_SUBKEY, name, value);
}

TEST(PlaybackChoices, RememberedOnlyWhenTheHostAsks)
{
    PlayerFixture fixture;
    CMediaPlayerCtrl* ctrl = fixture.ctrl;
    EXPECT_EQ(ctrl->GetReplayGain(), ReplayGainOptions{}) << "off by default";
    EXPECT_TRUE(ctrl->GetOutputDevice().isEmpty());
    const ReplayGainOptions chosen{ReplayGainMode::Album, 2.5, false, -4};

    ctrl->SetReplayGain(chosen);
    EXPECT_EQ(ctrl->SetOutputDevice(QStringLiteral("pulse")), 1);
    EXPECT_FALSE(Stored("ReplayGainMode"));
    EXPECT_FALSE(Stored("OutputDevice"));

    ctrl->SetRemembersPlaybackChoices(1); // nothing stored yet: the choices made stay
    EXPECT_EQ(ctrl->GetReplayGain(), chosen);
    ctrl->SetReplayGain(chosen);
    EXPECT_TRUE(Stored("ReplayGainMode"));

    CMediaPlayerCtrl forgetful;
    EXPECT_EQ(forgetful.GetReplayGain(), ReplayGainOptions{});
    CMediaPlayerCtrl remembering;
    remembering.SetRemembersPlaybackChoices(1);
    EXPECT_EQ(remembering.GetReplayGain(), chosen);
    EXPECT_EQ(remembering.GetOutputDevice(), QStringLiteral("pulse"));
}

// The device dies mid-song. Either way the control goes on as for an ended song; with recovery on
// it also says why, once, through Error and deviceStopped.
TEST(PlaybackChoices, ADeviceFailureEndsTheSongAndIsReportedOnlyWithRecovery)
{
    for (const int recoverySeconds : {0, 5}) {
        SCOPED_TRACE(recoverySeconds ? "recovery on" : "recovery off");
        PlayerFixture fixture;
        WaveMapperOptions options = GetWaveMapper();
        options.null.nDieAfterBlocks = 40;
        SetWaveMapper(options);
        CMediaPlayerCtrl* ctrl = fixture.ctrl;
        ctrl->SetDeviceRecovery(recoverySeconds);
        fixture.Add({QStringLiteral("tone-44k-stereo.mp3"), QStringLiteral("chord-44k-stereo.flac")});
        QStringList stopped;
        int started = 0;
        QObject::connect(ctrl, &CMediaPlayerCtrl::deviceStopped, [&](const QString& text) { stopped.append(text); });
        QObject::connect(ctrl, &CMediaPlayerCtrl::songStarted, [&] { ++started; });

        ASSERT_EQ(ctrl->PlayStart(FixturePath(QStringLiteral("tone-44k-stereo.mp3")).toUtf8().constData()), 1);
        ASSERT_TRUE(fixture.EngineFinished());
        ctrl->OnTimer(291); // re-enables the progress updates
        ctrl->OnTimer(291); // sees the ended song
        EXPECT_EQ(started, 2) << "the next song started";
        if (recoverySeconds) {
            ASSERT_FALSE(stopped.isEmpty());
            for (const QString& text : stopped)
                EXPECT_TRUE(text.startsWith(QStringLiteral("The sound device stopped: "))) << text.toStdString();
            EXPECT_TRUE(ctrl->m_strWork.contains(stopped[0]));
        } else {
            EXPECT_TRUE(stopped.isEmpty());
            EXPECT_FALSE(ctrl->m_strWork.contains(QStringLiteral("sound device")));
        }
    }
}

} // namespace
