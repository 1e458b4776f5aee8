// The visualization thread and window on a real X display with Mesa: start-up and feed hand-over,
// quitting, creation failure, input and commands, and what the scene draws, read back pixel by pixel.
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QSlider>
#include <QTimer>

#include "VisualTestSupport.h"
#include "visual/COptionsDlg.h"
#include "visual/CVisualSurface.h"
#include "visual/CVisualToolbar.h"

using tunivox::test::ScopedTempFolder;

namespace {

const QString kKey = QString::fromLatin1(REGISTRY_PLAYER_SUBKEY);
const QString kLyrics = QStringLiteral(
    "Under the lamp the night is long\nand every street still hums our song\n\n"
    "We counted stars on window glass\nand let the slow December pass\n\n"
    "So turn the record over, love\nthe needle knows what we're made of");

class FailingThread : public CVisualThread
{
protected:
    CVisualWnd* CreateVisualWindow(const QString&) override { return nullptr; }
};

int Distance(QRgb a, QRgb b)
{
    return std::max({std::abs(qRed(a) - qRed(b)), std::abs(qGreen(a) - qGreen(b)), std::abs(qBlue(a) - qBlue(b))});
}

class VisualThreadTest : public VisualThreadFixture
{
protected:
    void SetUp() override
    {
        const std::pair<const char*, DWORD> values[] = {{"Flags", VISUAL_FLAG_LYRICS | VISUAL_FLAG_ART},
            {"LyrBkColor", 0xFF2040C0}, {"LyrFontColor", 0xFFFFFFFF}, {"ArtTransparency", 128}, {"LyrFontSize", 14}};
        for (auto [name, value] : values)
            StoreVisualSetting(name, TypedValue::FromDWORD(value));
        StoreVisualSetting("LyrFontName", TypedValue::FromString(QStringLiteral("DejaVu Sans")));
        feed.m_strTitle = "First Song";
        feed.m_strLyrics = kLyrics.toStdString();
        // Cover files are named ".jpg" whatever they hold.
        feed.m_arrArts.Add(Picture(QStringLiteral("cover.jpg"), Qt::red, QSize(120, 120), "PNG"));
        feed.m_arrBackgrounds.Add(Picture(QStringLiteral("back.jpg"), Qt::green, QSize(64, 48), "PNG"));
        feed.m_dwChange = 5;
    }

    QString Picture(const QString& name, const QColor& colour, QSize size, const char* format)
    {
        QImage image(size, QImage::Format_RGB32);
        image.fill(colour);
        const QString path = files.FilePath(name);
        EXPECT_TRUE(image.save(path, format));
        return path;
    }

    ScopedTempFolder files;
};

} // namespace

TEST_F(VisualThreadTest, StartsShowsAndEndsOnRequestQuit)
{
    StartShown();
    EXPECT_EQ(thread->GetMainWnd()->windowTitle(), QStringLiteral("First Song"));
    EXPECT_EQ(thread->GetMainWnd()->minimumSize(), QSize(250, 250));
    ASSERT_TRUE(WaitState([](const VisualSceneState& s) { return s.nFrames > 10; }));

    CVisualThread* raw = thread.data();
    QElapsedTimer clock;
    clock.start();
    EXPECT_TRUE(thread->RequestQuit());
    EXPECT_LT(clock.elapsed(), 1000);
    EXPECT_EQ(feed.m_nEnded.load(), 1);
    EXPECT_EQ(feed.m_pEndedThread, raw);
    ASSERT_TRUE(QTest::qWaitFor([&] { return thread.isNull(); }, 3000)) << "the thread deletes itself";
    EXPECT_EQ(feed.m_nEnded.load(), 1) << "reported once";

    const auto flags = CTypedSettings().Value(kKey, QStringLiteral("Flags"));
    ASSERT_TRUE(flags.has_value()) << "placement and flags are written when the window goes";
    EXPECT_EQ(*flags, TypedValue::FromDWORD(VISUAL_FLAG_LYRICS | VISUAL_FLAG_ART));
    EXPECT_TRUE(CTypedSettings().Value(kKey, QStringLiteral("xSize")).has_value());
}

TEST_F(VisualThreadTest, ClosingTheWindowOrFailingToCreateItEndsTheThread)
{
    StartShown();
    thread->GetMainWnd()->close();
    ASSERT_TRUE(QTest::qWaitFor([&] { return feed.m_nEnded.load() == 1; }, 3000)) << "window closed";
    ASSERT_TRUE(QTest::qWaitFor([&] { return thread.isNull(); }, 3000));
    Start<FailingThread>();
    ASSERT_TRUE(QTest::qWaitFor([&] { return feed.m_nEnded.load() == 2; }, 3000)) << "no window created";
    EXPECT_TRUE(QTest::qWaitFor([&] { return thread.isNull(); }, 3000));
}

TEST_F(VisualThreadTest, FeedHandOver)
{
    StartShown();
    {
        const VisualSceneState s = thread->SceneState();
        EXPECT_EQ(s.strTitle, QStringLiteral("First Song")) << "all four at start";
        EXPECT_EQ(s.strLyrics, kLyrics);
        EXPECT_EQ(s.arrArts.size(), 1);
        EXPECT_EQ(s.arrBackgrounds.size(), 1);
        EXPECT_EQ(feed.GetChange(), 0u);
    }

    feed.Publish(VISUAL_CHANGE_TITLE | VISUAL_CHANGE_LYRICS, "Second Song", "new words");
    ASSERT_TRUE(QTest::qWaitFor([&] { return feed.GetChange() == 0; }, 2000));
    ASSERT_TRUE(WaitState([](const VisualSceneState& s) { return s.strTitle == QStringLiteral("Second Song"); }));
    EXPECT_EQ(thread->SceneState().strLyrics, kLyrics) << "word 3 hands over only the title";

    feed.Publish(VISUAL_CHANGE_LYRICS, "", "third words");
    EXPECT_TRUE(WaitState([](const VisualSceneState& s) { return s.strLyrics == QStringLiteral("third words"); }));

    // A busy mutex defers the update until it is free again.
    feed.m_mutex.lock();
    feed.m_strTitle = "Deferred";
    feed.m_dwChange = VISUAL_CHANGE_TITLE;
    QTest::qWait(400);
    EXPECT_EQ(feed.GetChange(), VISUAL_CHANGE_TITLE);
    EXPECT_NE(thread->SceneState().strTitle, QStringLiteral("Deferred"));
    feed.m_mutex.unlock();
    EXPECT_TRUE(WaitState([](const VisualSceneState& s) { return s.strTitle == QStringLiteral("Deferred"); }));
    EXPECT_EQ(feed.GetChange(), 0u);
    EXPECT_TRUE(QTest::qWaitFor([&] { return thread->GetMainWnd()->windowTitle() == QStringLiteral("Deferred"); }, 2000));
}

TEST_F(VisualThreadTest, RefreshVisualTakesLyricsAndArtsAndReleasesTheMutex)
{
    StartShown();
    feed.m_mutex.lock();
    feed.m_strLyrics = "refreshed lyrics";
    feed.m_arrArts.RemoveAll();
    feed.m_arrArts.Add(Picture(QStringLiteral("a.jpg"), Qt::blue, QSize(30, 30), "JPEG"));
    feed.m_arrArts.Add(Picture(QStringLiteral("b.jpg"), Qt::yellow, QSize(30, 30), "BMP"));
    thread->RefreshVisual();
    ASSERT_TRUE(feed.m_mutex.try_lock()) << "RefreshVisual releases the caller's mutex";
    feed.m_mutex.unlock();
    EXPECT_TRUE(WaitState([](const VisualSceneState& s) {
        return s.strLyrics == QStringLiteral("refreshed lyrics") && s.arrArts.size() == 2 && s.nCurrentArt == 0;
    }));
    EXPECT_TRUE(QTest::qWaitFor([&] { return feed.GetChange() == 0; }, 2000)) << "word 7 only triggers the title step";
}

TEST_F(VisualThreadTest, DrawsBackgroundArtAndLyricsBox)
{
    StartShown();
    const QImage frame = thread->GrabFrame();
    ASSERT_FALSE(frame.isNull());
    const VisualSceneState s = thread->SceneState();
    ASSERT_EQ(frame.size(), s.clientSize);
    ASSERT_TRUE(s.bArtShown && s.bLyricsShown);

    // The 120 x 120 art fits unscaled, centred in the left two fifths.
    const VisualRect client{0, 0, s.clientSize.width(), s.clientSize.height()};
    EXPECT_EQ(s.rcArt, ComputeArtRect(client, true, 120, 120));
    const QRgb blended = qRgb(128, 127, 0); // red at 128/255 over green
    const QPoint artCentre((s.rcArt.left + s.rcArt.right) / 2, (s.rcArt.top + s.rcArt.bottom) / 2);
    EXPECT_LE(Distance(frame.pixel(artCentre), blended), 3) << std::hex << frame.pixel(artCentre);
    EXPECT_LE(Distance(frame.pixel(s.rcArt.left + 2, s.rcArt.top + 2), blended), 3);
    EXPECT_LE(Distance(frame.pixel(s.rcArt.left - 3, s.rcArt.top + 2), qRgb(0, 255, 0)), 3) << "background around it";
    EXPECT_LE(Distance(frame.pixel(5, 5), qRgb(0, 255, 0)), 3) << "background in the margin";

    // The opaque box in its colour, with text pixels inside it.
    const VisualRect& box = s.rcLyricsBox;
    EXPECT_LE(Distance(frame.pixel(box.left + 2, box.bottom - s.rcDownArrow.Height() - 3), qRgb(0x20, 0x40, 0xC0)), 3);
    int textPixels = 0;
    for (int y = box.top; y < box.bottom; ++y)
        for (int x = box.left; x < box.right; ++x)
            textPixels += qRed(frame.pixel(x, y)) > 200 && qGreen(frame.pixel(x, y)) > 200;
    EXPECT_GT(textPixels, 500);
    EXPECT_LE(Distance(frame.pixel(box.right + 3, box.top + 5), qRgb(0, 255, 0)), 3);

    // Background, box and art are drawn once and reused: a new background must still show, under
    // the art too.
    feed.m_mutex.lock();
    feed.m_arrBackgrounds.RemoveAll();
    feed.m_arrBackgrounds.Add(Picture(QStringLiteral("blue.png"), Qt::blue, QSize(64, 64), "PNG"));
    feed.SetChange(VISUAL_CHANGE_BACKGROUNDS);
    feed.m_mutex.unlock();
    ASSERT_TRUE(WaitState([](const VisualSceneState& state) {
        return state.arrBackgrounds.size() == 1 && state.arrBackgrounds[0].endsWith(QStringLiteral("blue.png"));
    }));
    const QImage changed = thread->GrabFrame();
    EXPECT_LE(Distance(changed.pixel(5, 5), qRgb(0, 0, 255)), 3);
    EXPECT_LE(Distance(changed.pixel(artCentre), qRgb(128, 0, 127)), 3) << std::hex << changed.pixel(artCentre);
}

TEST_F(VisualThreadTest, ArtTransparencyAndPluginModeChangeTheFrame)
{
    StartShown();
    CVisualWnd* wnd = thread->GetMainWnd();
    wnd->Toolbar()->Button(ID_VISUAL_PLUGIN)->trigger();
    ASSERT_TRUE(WaitState([](const VisualSceneState& s) { return (s.dwFlags & VISUAL_FLAG_PLUGIN) != 0; }));
    QImage frame = thread->GrabFrame();
    EXPECT_LE(Distance(frame.pixel(5, 5), qRgb(0, 0, 0)), 3) << "no background in plug-in mode";

    wnd->Toolbar()->Button(ID_VISUAL_LYRICS)->trigger();
    ASSERT_TRUE(WaitState([](const VisualSceneState& s) { return !s.bLyricsShown; }));
    const VisualSceneState s = thread->SceneState();
    EXPECT_EQ(s.rcArt, ComputeArtRect(VisualRect{0, 0, s.clientSize.width(), s.clientSize.height()}, false, 120, 120))
        << "art alone takes the whole width";
    frame = thread->GrabFrame();
    const QPoint centre((s.rcArt.left + s.rcArt.right) / 2, (s.rcArt.top + s.rcArt.bottom) / 2);
    EXPECT_LE(Distance(frame.pixel(centre), qRgb(128, 0, 0)), 3) << "red at 128/255 over black";
}

TEST_F(VisualThreadTest, MouseOverArrowsAndClickInTheBox)
{
    StartShown();
    CVisualWnd* wnd = thread->GetMainWnd();
    const VisualSceneState s = thread->SceneState();
    const QPoint up((s.rcUpArrow.left + s.rcUpArrow.right) / 2, s.rcUpArrow.top + 2);
    QTest::mouseMove(wnd->Surface(), up);
    EXPECT_TRUE(WaitState([](const VisualSceneState& st) { return st.bHoverUp && st.scroll.nScrollSpeed == -10; }));
    const QPoint down((s.rcDownArrow.left + s.rcDownArrow.right) / 2, s.rcDownArrow.bottom - 2);
    QTest::mouseMove(wnd->Surface(), down);
    EXPECT_TRUE(WaitState([](const VisualSceneState& st) { return st.bHoverDown && st.scroll.nScrollSpeed == 10; }));
    const QPoint middle(s.rcLyricsBox.left + 10, (s.rcLyricsBox.top + s.rcLyricsBox.bottom) / 2);
    QTest::mouseMove(wnd->Surface(), middle);
    QTest::mouseClick(wnd->Surface(), Qt::LeftButton, {}, middle);
    EXPECT_TRUE(WaitState([](const VisualSceneState& st) { return !st.bHoverDown && st.scroll.nScrollSpeed == 0; }))
        << "a click pauses";
    QTest::mouseClick(wnd->Surface(), Qt::LeftButton, {}, middle);
    EXPECT_TRUE(WaitState([](const VisualSceneState& st) { return st.scroll.nScrollSpeed == 10; })) << "and resumes";
}

TEST_F(VisualThreadTest, ResizeRebuildsOnlyWhenTheSizeChanged)
{
    StartShown();
    CVisualWnd* wnd = thread->GetMainWnd();
    const int before = thread->SceneState().nRebuilds;
    wnd->resize(wnd->width() + 60, wnd->height() + 40);
    ASSERT_TRUE(WaitState([&](const VisualSceneState& s) { return s.nRebuilds == before + 1; }));
    EXPECT_EQ(thread->SceneState().clientSize, wnd->SurfacePixelSize());
    wnd->resize(wnd->size());
    QTest::qWait(400);
    EXPECT_EQ(thread->SceneState().nRebuilds, before + 1);
}

TEST_F(VisualThreadTest, OptionsDialogOpensFromKeyAndMenuAndOkAppliesAndKeepsWhenAsked)
{
    StartShown();
    CVisualWnd* wnd = thread->GetMainWnd();
    const VisualSettings original = wnd->Settings();
    const auto answer = [](bool accept, int speed) {
        QTimer::singleShot(300, [accept, speed] {
            auto* dlg = qobject_cast<COptionsDlg*>(QApplication::activeModalWidget());
            ASSERT_NE(dlg, nullptr);
            EXPECT_EQ(dlg->windowTitle(), QStringLiteral("Visualization options"));
            qobject_cast<QSlider*>(dlg->Control(COptionsDlg::IDC_SPEED))->setValue(speed);
            accept ? dlg->accept() : dlg->reject();
        });
    };
    // Ctrl+O on the picture opens it; Cancel keeps everything.
    answer(false, 4);
    QTest::keyClick(wnd->Surface(), Qt::Key_O, Qt::ControlModifier);
    EXPECT_EQ(wnd->Settings(), original);
    EXPECT_EQ(wnd->Settings().m_nLyricsSpeed, 10);

    // The plug-in button's drop-down opens it too. OK applies; the choice is kept for the next session
    // only when the host asks for that.
    auto* fromMenu = wnd->findChild<QAction*>(QStringLiteral("command%1").arg(ID_VISUAL_OPTIONS));
    ASSERT_NE(fromMenu, nullptr);
    VisualSettings stored;
    LoadVisualSettings(CTypedSettings(), kKey, stored);
    struct Case { bool bSaves; int speed; };
    for (const Case c : {Case{false, 4}, Case{true, 6}}) {
        thread->SetSavesOptions(c.bSaves);
        answer(true, c.speed);
        fromMenu->trigger();
        EXPECT_NE(wnd->Settings(), original);
        const int speed = wnd->Settings().m_nLyricsSpeed;
        EXPECT_TRUE(WaitState([speed](const VisualSceneState& s) {
            return s.settings.m_nLyricsSpeed == speed && std::abs(s.scroll.nScrollSpeed) == speed;
        })) << c.bSaves;
        VisualSettings saved;
        LoadVisualSettings(CTypedSettings(), kKey, saved);
        EXPECT_EQ(saved, c.bSaves ? wnd->Settings() : stored) << c.bSaves;
    }
}
