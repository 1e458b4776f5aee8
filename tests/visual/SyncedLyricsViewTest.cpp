// Synchronised lyrics end to end: a control plays a song with an .lrc beside it through the null
// device at real time, its visualization (Mesa, real X display) highlights the line sung at the
// engine's position and keeps it in view; with the setting off, or without times, the lyrics
// behave as they always have.
#include <QFile>
#include <QSet>
#include <algorithm>
#include <QTest>
#include <gtest/gtest.h>

#include "PlayerTestSupport.h"
#include "VisualTestSupport.h"
#include "song/SyncedLyrics.h"
#include "visual/CVisualThread.h"

using namespace tunivox::test;

namespace {

// Ten lines, half a second apart from 0.5 s.
QByteArray LrcText()
{
    QByteArray text("[ti:Counting]\n");
    for (int i = 1; i <= 10; ++i)
        text += QStringLiteral("[00:%1.%2]Line number %3 of the song\n")
                    .arg(i / 2, 2, 10, QLatin1Char('0'))
                    .arg(i % 2 ? 50 : 0, 2, 10, QLatin1Char('0'))
                    .arg(i)
                    .toUtf8();
    return text;
}

int Brightest(const QImage& image, const QRect& rect)
{
    int best = 0;
    for (int y = std::max(0, rect.top()); y <= std::min(image.height() - 1, rect.bottom()); ++y)
        for (int x = std::max(0, rect.left()); x <= std::min(image.width() - 1, rect.right()); ++x) {
            const QRgb p = image.pixel(x, y);
            best = std::max(best, std::min({qRed(p), qGreen(p), qBlue(p)}));
        }
    return best;
}

class SyncedLyricsView : public ::testing::Test
{
protected:
    // The song (a copy of a fixture) with `lrc` beside it, the settings, and the visualization open.
    void Open(bool bSyncSetting, const QString& fixture, const QByteArray& lrc)
    {
        const QString extension = fixture.section(QLatin1Char('.'), -1);
        song = files.WriteFile(QStringLiteral("song.") + extension, QByteArray());
        QFile::remove(song);
        ASSERT_TRUE(QFile::copy(FixturePath(fixture), song));
        if (!lrc.isEmpty())
            files.WriteFile(QStringLiteral("song.lrc"), lrc);
        const std::pair<const char*, DWORD> values[] = {{"Flags", VISUAL_FLAG_LYRICS}, {"LyrBkColor", 0xFF102050},
            {"LyrFontColor", 0xFFFFFFFF}, {"LyrFontSize", 14}, {"SyncLyrics", bSyncSetting ? 1u : 0u}};
        for (auto [name, value] : values)
            StoreVisualSetting(name, TypedValue::FromDWORD(value));
        StoreVisualSetting("LyrFontName", TypedValue::FromString(QStringLiteral("DejaVu Sans")));
        // A host whose engine sleeps between bursts: the visualization still follows block by block.
        fixture_.ctrl->SetHandBackInterval(1000);
        fixture_.ctrl->addFile(SongFor(song), 0);
        fixture_.ctrl->Refresh(1);
        thread = fixture_.ctrl->GetVisualThread();
        ASSERT_NE(thread, nullptr);
        ASSERT_TRUE(WaitUntil([&] { return thread->SceneState().nFrames > 5; }, 8000));
        ASSERT_EQ(fixture_.ctrl->PlayStart(song.toUtf8().constData()), 1);
    }
    bool WaitState(const std::function<bool(const VisualSceneState&)>& predicate, int timeoutMs = 3000)
    {
        return WaitUntil([&] { return predicate(thread->SceneState()); }, timeoutMs);
    }
    qint64 EngineMs() { return static_cast<qint64>(fixture_.ctrl->GetAudioPlayer()->GetCurrentTime() / 10000); }

    PlayerFixture fixture_{1.0};
    ScopedTempFolder files;
    QString song;
    CVisualThread* thread = nullptr;
};

} // namespace

TEST_F(SyncedLyricsView, HighlightsTheLineSungAtTheEnginesPositionAndKeepsItInView)
{
    Open(true, QStringLiteral("long-44k-stereo.mp3"), LrcText());
    const CSyncedLyrics lines = ParseLrcLyrics(QString::fromUtf8(LrcText()));
    ASSERT_TRUE(WaitState([](const VisualSceneState& s) { return s.bSyncedLyrics; }, 5000));

    // Each frame highlights the line of the position it read, and that position is the engine's as
    // it stands (never ahead of it, and typically within a few frames behind: read without waiting).
    int lastLine = -1, wrong = 0, ahead = 0, samples = 0;
    QVector<qint64> lags;
    QSet<int> seen;
    while (EngineMs() < 5600 && samples < 2000) {
        const VisualSceneState s = thread->SceneState();
        const qint64 now = EngineMs();
        const int line = s.nSyncedLine;
        if (line != SyncedLineAt(lines, s.nSyncedPositionMs))
            ++wrong;
        if (s.nSyncedPositionMs > now + 1)
            ++ahead;
        if (s.nSyncedPositionMs > 0)
            lags.append(now - s.nSyncedPositionMs);
        EXPECT_GE(line, lastLine) << "at " << now << " ms";
        lastLine = line;
        seen.insert(line);
        ++samples;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        QTest::qSleep(7);
    }
    EXPECT_EQ(wrong, 0) << "of " << samples << " samples";
    EXPECT_EQ(ahead, 0);
    ASSERT_FALSE(lags.isEmpty());
    std::sort(lags.begin(), lags.end());
    EXPECT_LT(lags[lags.size() / 2], 60) << "median lag behind the engine, ms";
    EXPECT_EQ(seen.size(), 11) << "no line and each of the ten";

    // Backwards too: a seek to 1.2 s highlights the second line again.
    fixture_.ctrl->StartPlayingFromPos(12000000);
    EXPECT_TRUE(WaitState([](const VisualSceneState& s) { return s.nSyncedLine == 1; }));

    // Paused, the line rests in the middle of the box: bright over a band, the others dimmed.
    ASSERT_TRUE(WaitUntil([&] { return EngineMs() >= 2100; }, 3000));
    fixture_.ctrl->Pause();
    ASSERT_TRUE(WaitState([](const VisualSceneState& s) { return s.nSyncedLine == 3; }));
    QTest::qWait(800);
    const VisualSceneState s = thread->SceneState();
    const VisualRect& box = s.rcLyricsBox;
    const VisualRect& line = s.rcSyncedLine;
    EXPECT_NEAR((line.top + line.bottom) / 2, (box.top + box.bottom) / 2, 2);
    const QImage frame = thread->GrabFrame();
    ASSERT_FALSE(frame.isNull());
    frame.save(QStringLiteral(TUNIVOX_BINARY_DIR "/synced-lyrics.png"));
    const QRect current(box.left, line.top, box.Width(), line.bottom - line.top);
    EXPECT_GE(Brightest(frame, current), 235) << "the sung line in the full font colour";
    EXPECT_LE(Brightest(frame, current.translated(0, -current.height())), 190) << "the line before, dimmed";
    EXPECT_LE(Brightest(frame, current.translated(0, current.height())), 190) << "the line after, dimmed";
}

TEST_F(SyncedLyricsView, SettingOffOrLyricsWithoutTimesScrollAsBefore)
{
    const struct
    {
        bool bSyncSetting;
        const char* pszFixture;
        QByteArray lrc;
        bool bLyricsShown;
    } cases[] = {
        {false, "long-44k-stereo.mp3", LrcText(), false}, // no lyrics tag: no box, as before
        {true, "melody-44k-stereo.m4a", QByteArray(), true}, // plain lyrics scroll on their own
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.pszFixture);
        Open(c.bSyncSetting, QLatin1String(c.pszFixture), c.lrc);
        ASSERT_TRUE(WaitState([](const VisualSceneState& s) { return s.nFrames > 20; }));
        QTest::qWait(1500);
        const VisualSceneState s = thread->SceneState();
        EXPECT_FALSE(s.bSyncedLyrics);
        EXPECT_EQ(s.bLyricsShown, c.bLyricsShown);
        EXPECT_EQ(s.nSyncedLine, -1);
        if (c.bLyricsShown) {
            // Four short lines rest at the lower limit, a third of the box above the text, as ever.
            EXPECT_FLOAT_EQ(s.scroll.fOffset, static_cast<float>(-(s.rcLyricsBox.Height() / 3)));
        }
        fixture_.ctrl->Refresh(0);
        fixture_.ctrl->Stop();
        fixture_.ctrl->ClearPlayList();
        QFile::remove(files.FilePath(QStringLiteral("song.lrc")));
    }
}
