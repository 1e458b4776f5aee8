// Thousands of random engine calls against a fast null device: every call returns well within the
// stop bound, nothing crashes, nothing leaks (checked under the asan preset).
#include <QElapsedTimer>
#include <gtest/gtest.h>
#include <random>

#include "AudioTestSupport.h"
#include "support/TestFolders.h"

using namespace tunivox::test;

namespace {

TEST(EngineSoak, RandomCallsNeverHang)
{
    ScopedNullDevice device(50.0);
    const QByteArray files[] = {FixturePath("short-44k-stereo.wav").toUtf8(), FixturePath("tone-44k-stereo.mp3").toUtf8(),
                                FixturePath("melody-48k-mono.flac").toUtf8(), FixturePath("not-audio.mp3").toUtf8(),
                                FixturePath("noise-48k-stereo.ogg").toUtf8()};
    CAudioPlayer player;
    ASSERT_EQ(player.Init(), S_OK);
    std::mt19937 random(20240601);
    long slowest = 0;
    for (int i = 0; i < 2500; ++i) {
        QElapsedTimer timer;
        timer.start();
        const int operation = static_cast<int>(random() % 8);
        HRESULT hr = S_OK;
        switch (operation) {
        case 0: hr = player.Open(files[random() % std::size(files)].constData()); break;
        case 1:
        case 2: hr = player.Play(random() % 60000000); break;
        case 3: hr = player.Pause(); break;
        case 4: hr = player.Resume(); break;
        case 5: hr = player.Stop(); break;
        case 6: hr = player.Close(); break;
        default: player.GetCurrentTime(); break;
        }
        if (operation == 5) {
            ASSERT_EQ(hr, S_OK) << "step " << i << ": " << player.m_szError;
        }
        slowest = std::max<long>(slowest, static_cast<long>(timer.elapsed()));
        if (i % 4 == 0)
            device.Capture()->Clear();
    }
    EXPECT_LT(slowest, 1000);
    EXPECT_EQ(player.Release(), S_OK);
    EXPECT_EQ(player.Release(), S_OK);
}

} // namespace
