// The scene's geometry, the lyrics scrolling and drawing, the frame timer, frame-rate limits and tool
// tips.
#include <QPainter>
#include <cmath>
#include <gtest/gtest.h>

#include "visual/CVisualThread.h"
#include "visual/LyricsText.h"
#include "visual/CVisualToolbar.h"
#include "visual/VisualLayout.h"

static std::ostream& operator<<(std::ostream& os, const VisualRect& r)
{
    return os << '(' << r.left << ',' << r.top << ',' << r.right << ',' << r.bottom << ')';
}

TEST(VisualLayout, ArtRectangleFitsShrinksOnlyAndCentres)
{
    struct Case { const char* what; VisualRect client; bool lyrics; int w, h; VisualRect expected; };
    const Case cases[] = {
        {"small image is not enlarged", {0, 0, 700, 500}, false, 100, 50, {300, 225, 400, 275}},
        {"wide image beside lyrics gets 2/5", {0, 0, 700, 500}, true, 1000, 500, {20, 190, 260, 310}},
        {"tall image shrinks to the height", {0, 0, 700, 500}, false, 300, 1000, {281, 20, 419, 480}},
        {"offset client", {10, 30, 710, 530}, false, 100, 50, {310, 255, 410, 305}},
        {"odd width truncates", {0, 0, 701, 500}, true, 1000, 1000, {20, 130, 260, 370}},
    };
    for (const Case& c : cases)
        EXPECT_EQ(ComputeArtRect(c.client, c.lyrics, c.w, c.h), c.expected) << c.what;
}

TEST(VisualLayout, LyricsBoxAndArrows)
{
    struct Case { VisualRect client; bool art; VisualRect box, up, down; };
    const Case cases[] = {
        {{0, 0, 700, 500}, false, {20, 20, 680, 480}, {322, 20, 378, 48}, {322, 452, 378, 480}},
        {{0, 0, 700, 500}, true, {300, 20, 680, 480}, {469, 20, 511, 41}, {469, 459, 511, 480}},
        {{0, 0, 701, 341}, true, {300, 20, 680, 321}, {473, 20, 507, 37}, {473, 304, 507, 321}},
    };
    for (const Case& c : cases) {
        const VisualRect box = ComputeLyricsBox(c.client, c.art);
        EXPECT_EQ(box, c.box);
        VisualRect up, down;
        ComputeArrows(box, up, down);
        EXPECT_EQ(up, c.up) << "box " << box;
        EXPECT_EQ(down, c.down) << "box " << box;
    }
}

TEST(VisualLayout, BackgroundCoversWithoutDistortion)
{
    const auto coords = [](VisualTexRect r) { return std::tuple(r.u0, r.v0, r.u1, r.v1); };
    EXPECT_EQ(coords(CoverTexRect(400, 200, 800, 200)), std::tuple(0.25f, 0.0f, 0.75f, 1.0f)) << "image twice as wide";
    EXPECT_EQ(coords(CoverTexRect(200, 200, 200, 400)), std::tuple(0.0f, 0.25f, 1.0f, 0.75f)) << "twice as tall";
}

TEST(LyricsScroll, OneFrame)
{
    struct Case { const char* what; LyricsScrollState before; float dt; bool hover; int text; LyricsScrollState after; };
    // Box height 300: upper limit text - 300 + 100, lower limit -100.
    const Case cases[] = {
        {"moves half the speed per second", {0, 10, 0}, 1.0f, false, 1000, {5, 10, 0}},
        {"half the speed in integers", {0, 11, 0}, 1.0f, false, 1000, {5, 11, 0}},
        {"backwards", {50, -10, 0}, 2.0f, false, 1000, {40, -10, 0}},
        {"rests while paused", {50, 10, 2.0f}, 0.5f, false, 1000, {50, 10, 1.5f}},
        {"moves again once the pause is spent", {50, 10, -0.5f}, 1.0f, false, 1000, {55, 10, -0.5f}},
        {"hover is five times as fast and ends a pause", {0, 10, 2.0f}, 1.0f, true, 1000, {25, 10, 0}},
        {"past the end turns and rests", {798, 10, 0}, 1.0f, false, 1000, {800, -10, 3.0f}},
        {"past the start turns and rests", {-98, -10, 0}, 1.0f, false, 1000, {-100, 10, 3.0f}},
        {"hover never turns", {798, 10, 0}, 1.0f, true, 1000, {800, 10, 0}},
        {"short text clamps twice and stays", {0, 10, 0}, 1.0f, false, 50, {-100, 10, 3.0f}},
        {"stopped text stays", {10, 0, 0}, 1.0f, false, 1000, {10, 0, 0}},
    };
    for (const Case& c : cases) {
        LyricsScrollState s = c.before;
        StepLyricsScroll(s, c.dt, c.hover, 300, c.text);
        EXPECT_FLOAT_EQ(s.fOffset, c.after.fOffset) << c.what;
        EXPECT_EQ(s.nScrollSpeed, c.after.nScrollSpeed) << c.what;
        EXPECT_FLOAT_EQ(s.fPause, c.after.fPause) << c.what;
    }
}

TEST(LyricsScroll, PagesOfTheTwoBoxTexture)
{
    struct Case { float offset; int page; float tex; };
    for (const Case& c : {Case{0, 0, 0}, Case{450, 1, 0.25f}, Case{299.9f, 0, 299.9f / 600}, Case{-60, 0, -0.1f},
                          Case{900, 3, 0}}) {
        EXPECT_EQ(LyricsPage(c.offset, 300), c.page) << c.offset;
        EXPECT_NEAR(LyricsTexOffset(c.offset, 300, c.page), c.tex, 1e-6) << c.offset;
    }
}

namespace {

double Luminance(QRgb c)
{
    const auto channel = [](int v) {
        const double x = v / 255.0;
        return x <= 0.03928 ? x / 12.92 : std::pow((x + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * channel(qRed(c)) + 0.7152 * channel(qGreen(c)) + 0.0722 * channel(qBlue(c));
}

} // namespace

// Over a picture of the text's own colour (the worst a plug-in can draw behind the box) every line,
// the sung one and the dimmed ones, still has a rim that stands out.
TEST(SyncedLyricsPage, EveryLineStandsOutOverABackgroundOfItsOwnColour)
{
    VisualSettings settings;
    settings.m_nFontSize = 20;
    const QFont font = LyricsFont(settings);
    const QStringList lines = {QStringLiteral("Dimmed above"), QStringLiteral("The line sung now"), QStringLiteral("Dimmed below")};
    const SyncedLyricsLayout layout = LayoutSyncedLyrics(font, 300, lines);
    for (const ARGBCOLOR colour : {0xFFFFFFFFu, 0xFF60FFFFu, 0xFF000000u, 0xFF808080u}) {
        const QImage page = DrawSyncedLyricsPage(font, colour, layout, layout.size.height(), 0, lines, 1);
        QImage shown(page.size(), QImage::Format_ARGB32_Premultiplied);
        shown.fill(QColor::fromRgba(colour));
        QPainter(&shown).drawImage(0, 0, page);
        const double background = Luminance(colour);
        for (int i = 0; i < lines.size(); ++i) {
            double best = 1.0;
            for (int y = layout.tops[i]; y < layout.tops[i] + layout.heights[i]; ++y)
                for (int x = 0; x < shown.width(); ++x) {
                    const double l = Luminance(shown.pixel(x, y));
                    best = std::max(best, (std::max(l, background) + 0.05) / (std::min(l, background) + 0.05));
                }
            EXPECT_GE(best, 3.0) << std::hex << colour << std::dec << " line " << i;
        }
    }
}

TEST(FrameTimer, MeasuresFramesPerSecondEveryHalfSecond)
{
    CFrameTimer timer;
    timer.Start(100.0);
    EXPECT_EQ(timer.MeasuredFPS(), 0.0f);
    double now = 100.0;
    for (int i = 0; i < 60; ++i)
        EXPECT_NEAR(timer.Tick(now += 1.0 / 90), 1.0 / 90, 1e-5);
    EXPECT_NEAR(timer.MeasuredFPS(), 90.0f, 0.5f);
    for (int i = 0; i < 40; ++i)
        timer.Tick(now += 1.0 / 30);
    EXPECT_NEAR(timer.MeasuredFPS(), 30.0f, 0.5f);
}

TEST(VisualThreadSettings, FrameRateIsClamped)
{
    CVisualThread thread;
    for (auto [asked, kept] : {std::pair{5, 15}, std::pair{15, 15}, std::pair{90, 90}, std::pair{1000, 1000},
                               std::pair{5000, 1000}, std::pair{-1, 15}}) {
        thread.SetFrameRate(asked);
        EXPECT_EQ(thread.GetFrameRate(), kept) << asked;
    }
}

TEST(VisualToolbar, ToolTipsAreShiftedPastTheAlwaysOnTopButton)
{
    const std::pair<int, const char*> expected[] = {
        {63, nullptr}, {64, "Lyrics"}, {65, "Art"}, {66, "Slide Show"}, {67, "Visualization"},
        {68, "Switch mode"}, {69, "Alway on Top"}, {70, nullptr}, {71, nullptr}, {72, nullptr}};
    for (auto [command, text] : expected)
        EXPECT_EQ(QString::fromLatin1(VisualToolTipText(command)), QString::fromLatin1(text)) << command;

    CVisualToolbar toolbar;
    toolbar.Create(VISUAL_FLAG_LYRICS | VISUAL_FLAG_TOPMOST, nullptr);
    EXPECT_EQ(toolbar.actions().size(), 8) << "six buttons and two separators";
    EXPECT_TRUE(toolbar.Button(ID_VISUAL_TOPMOST)->toolTip().isEmpty());
    EXPECT_EQ(toolbar.Button(ID_VISUAL_LYRICS)->toolTip(), QStringLiteral("Lyrics"));
    EXPECT_TRUE(toolbar.IsChecked(ID_VISUAL_LYRICS));
    EXPECT_FALSE(toolbar.IsChecked(ID_VISUAL_ART));
    EXPECT_TRUE(toolbar.IsChecked(ID_VISUAL_TOPMOST));
    EXPECT_FALSE(toolbar.Button(ID_VISUAL_SWITCH_MODE)->isCheckable());
    EXPECT_EQ(toolbar.Button(ID_VISUAL_CHOOSE_PLUGIN), nullptr);
}
