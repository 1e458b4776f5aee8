// The coloured-range slider and the colour button with its popup.
#include <QApplication>
#include <QImage>
#include <QSignalSpy>
#include <QTest>
#include <QToolButton>
#include <QPushButton>
#include <gtest/gtest.h>
#include <set>

#include "controls/CColorButton.h"
#include "controls/CSliderCtrlEx.h"
#include "controls/OfficePalette.h"
#include "platform/UserMessages.h"

namespace {

using Codes = std::vector<std::pair<unsigned, unsigned>>;

struct CSliderFixture
{
    CSliderCtrlEx slider;
    Codes codes;

    CSliderFixture()
    {
        slider.resize(220, 24);
        slider.SetRange(0, 100);
        slider.SetPos(20);
        QObject::connect(&slider, &CSliderCtrlEx::Scroll, [this](unsigned c, unsigned p) { codes.push_back({c, p}); });
        slider.show();
        (void)QTest::qWaitForWindowExposed(&slider);
    }

    QPoint PointOf(double fraction) const { return {int(slider.width() * fraction), slider.height() / 2}; }
    void Click(double fraction)
    {
        QTest::mousePress(&slider, Qt::LeftButton, {}, PointOf(fraction));
        QTest::mouseRelease(&slider, Qt::LeftButton, {}, PointOf(fraction));
    }
    // One notch up; returns whether the slider took the wheel.
    bool WheelUp()
    {
        QWheelEvent wheel(QPointF(10, 10), slider.mapToGlobal(QPointF(10, 10)), {}, {0, 120}, Qt::NoButton, {},
                          Qt::NoScrollPhase, false);
        QApplication::sendEvent(&slider, &wheel);
        return wheel.isAccepted();
    }
};

TEST(SliderCtrlEx, DraggingTheThumbTracksThenEndsWithPositionAndEndTrack)
{
    CSliderFixture f;
    // Find the thumb: a click at the far left jumps there and starts a drag from the thumb.
    QTest::mousePress(&f.slider, Qt::LeftButton, {}, f.PointOf(0.0));
    ASSERT_EQ(f.codes, (Codes{{TB_THUMBTRACK, 0}})) << "a press on the channel moves the thumb there";
    EXPECT_TRUE(f.slider.IsTracking());
    QTest::mouseMove(&f.slider, f.PointOf(0.5));
    QTest::mouseMove(&f.slider, f.PointOf(1.0));
    QTest::mouseRelease(&f.slider, Qt::LeftButton, {}, f.PointOf(1.0));

    ASSERT_GE(f.codes.size(), 4u);
    EXPECT_EQ(f.codes[1].first, TB_THUMBTRACK);
    EXPECT_NEAR(int(f.codes[1].second), 50, 3);
    EXPECT_EQ(f.codes[f.codes.size() - 2], (std::pair<unsigned, unsigned>{TB_THUMBPOSITION, 100}));
    EXPECT_EQ(f.codes.back(), (std::pair<unsigned, unsigned>{TB_ENDTRACK, 100}));
    EXPECT_EQ(f.slider.GetPos(), 100);
    EXPECT_FALSE(f.slider.IsTracking());

    // Grabbing the thumb off its centre must not make it jump.
    f.codes.clear();
    f.slider.SetPos(50);
    const QPoint thumb = f.PointOf(0.5) + QPoint(3, 0);
    QTest::mousePress(&f.slider, Qt::LeftButton, {}, thumb);
    QTest::mouseMove(&f.slider, thumb + QPoint(1, 0));
    QTest::mouseRelease(&f.slider, Qt::LeftButton, {}, thumb + QPoint(1, 0));
    EXPECT_NEAR(f.slider.GetPos(), 50, 1);
    EXPECT_EQ(f.codes.back().first, TB_ENDTRACK);
}

TEST(SliderCtrlEx, KeysAndWheelStepThenEndTrackAndASuppressedWheelGoesToTheParent)
{
    CSliderFixture f;
    f.slider.SetPageSize(10);
    struct Case { Qt::Key key; unsigned code; int pos; };
    const Case cases[] = {
        {Qt::Key_Right, TB_LINEDOWN, 21},  {Qt::Key_Down, TB_LINEDOWN, 22}, {Qt::Key_Left, TB_LINEUP, 21},
        {Qt::Key_Up, TB_LINEUP, 20},       {Qt::Key_PageDown, TB_PAGEDOWN, 30},
        {Qt::Key_PageUp, TB_PAGEUP, 20},   {Qt::Key_End, TB_BOTTOM, 100},   {Qt::Key_PageDown, TB_PAGEDOWN, 100},
        {Qt::Key_Home, TB_TOP, 0},         {Qt::Key_Up, TB_LINEUP, 0},
    };
    for (const Case& c : cases) {
        f.codes.clear();
        QTest::keyClick(&f.slider, c.key);
        EXPECT_EQ(f.codes, (Codes{{c.code, unsigned(c.pos)}, {TB_ENDTRACK, unsigned(c.pos)}})) << c.key;
        EXPECT_EQ(f.slider.GetPos(), c.pos) << c.key;
    }

    f.codes.clear();
    EXPECT_TRUE(f.WheelUp());
    EXPECT_EQ(f.codes, (Codes{{TB_LINEDOWN, 1}, {TB_ENDTRACK, 1}}));

    // Suppressed, the slider passes the wheel on but keeps mouse and keys.
    f.codes.clear();
    f.slider.SetSuppressDefault(true);
    EXPECT_FALSE(f.WheelUp());
    EXPECT_TRUE(f.codes.empty());
    EXPECT_EQ(f.slider.GetPos(), 1);
    QTest::keyClick(&f.slider, Qt::Key_End);
    EXPECT_EQ(f.slider.GetPos(), 100);
    f.Click(0.5);
    EXPECT_NEAR(f.slider.GetPos(), 50, 3);
    EXPECT_EQ(f.codes.back().first, TB_ENDTRACK);
}

TEST(SliderCtrlEx, RangeClampsAndAnInvertedSliderHasItsMinimumOnTheRight)
{
    CSliderFixture f;
    f.slider.SetPos(170);
    f.slider.SetRange(0, 30, TRUE);
    EXPECT_EQ(f.slider.GetPos(), 30);
    EXPECT_EQ(f.slider.GetPageSize(), 6) << "a fifth of the range by default";

    f.slider.SetRange(0, 100);
    f.slider.SetInverted(true);
    f.Click(1.0);
    EXPECT_EQ(f.slider.GetPos(), 0);
    f.Click(0.25);
    EXPECT_NEAR(f.slider.GetPos(), 75, 4);
    const int before = f.slider.GetPos();
    QTest::keyClick(&f.slider, Qt::Key_Right);
    EXPECT_LT(f.slider.GetPos(), before) << "Right moves the thumb right, towards the minimum";
}

TEST(SliderCtrlEx, PlayedPartIsFilledWithTheRangeColoursAtAnySize)
{
    const QColor fill(200, 40, 40);
    for (QSize size : {QSize(60, 12), QSize(220, 24), QSize(600, 60)}) {
        CSliderCtrlEx slider;
        slider.SetRangeColours(fill, fill);
        slider.resize(size);
        slider.SetRange(0, 100);
        slider.SetPos(50);
        const QImage image = slider.grab().toImage();
        const int y = size.height() / 2;
        // Well inside the played part and the rest, clear of the thumb.
        const QColor played = image.pixelColor(size.width() / 5, y);
        const QColor rest = image.pixelColor(size.width() * 4 / 5, y);
        EXPECT_GT(played.red(), played.green() + 60) << size.width() << "x" << size.height();
        EXPECT_LT(std::abs(rest.red() - rest.green()), 30) << "the rest is neutral, " << size.width();
    }
}

// Records the colour-changed messages a dialog would receive.
class CMessageSink : public QWidget
{
public:
    std::vector<std::pair<std::uintptr_t, std::intptr_t>> messages;

protected:
    bool event(QEvent* e) override
    {
        if (e->type() != WM_COLOUR_CHANGED)
            return QWidget::event(e);
        const auto* message = static_cast<CUserMessageEvent*>(e);
        messages.push_back({message->WParam(), message->LParam()});
        return true;
    }
};

struct CColourFixture
{
    CMessageSink dialog;
    CColorButton* button = new CColorButton(&dialog);
    QSignalSpy changed{button, &CColorButton::ColourChanged};

    CColourFixture()
    {
        button->SetControlId(1042);
        button->SetDefaultColour(RGB(10, 20, 30));
        button->SetColour(RGB(255, 0, 0));
        dialog.resize(200, 80);
        dialog.show();
        (void)QTest::qWaitForWindowExposed(&dialog);
    }

    CColourPopup* OpenPopup()
    {
        QTest::mouseClick(button, Qt::LeftButton);
        return button->ActivePopup();
    }
};

TEST(ColourPopup, OffersTheFortyNamedColoursAsToolTipsAndAutomatic)
{
    CColourFixture f;
    CColourPopup* popup = f.OpenPopup();
    ASSERT_NE(popup, nullptr);
    std::set<QString> names;
    std::set<COLORREF> colours;
    for (int i = 0; i < 40; ++i) {
        ASSERT_NE(popup->ColourCell(i), nullptr);
        names.insert(popup->ColourCell(i)->toolTip());
        colours.insert(OfficePalette()[std::size_t(i)].crColour);
    }
    EXPECT_EQ(popup->ColourCell(40), nullptr);
    EXPECT_EQ(names.size() + colours.size(), 80u) << "forty different names and colours";
    EXPECT_EQ(popup->ColourCell(19)->toolTip(), QStringLiteral("Sea Green"));
    EXPECT_TRUE(popup->ColourCell(16)->isChecked()) << "the current colour (Red) is marked";
    EXPECT_EQ(popup->AutomaticButton()->text(), QStringLiteral("Automatic"));
    EXPECT_EQ(popup->MoreColoursButton()->text(), QStringLiteral("More Colors..."));

    popup->close();
    f.button->SetColour(CLR_DEFAULT);
    EXPECT_EQ(f.button->GetDisplayedColour(), RGB(10, 20, 30)) << "Automatic shows the default colour";
    EXPECT_EQ(f.button->grab().toImage().pixelColor(f.button->width() / 3, f.button->height() / 2), QColor(10, 20, 30));
}

TEST(ColourPopup, ChoiceUpdatesTheButtonAndNotifiesTheParent)
{
    using Pick = QAbstractButton* (*)(CColourPopup*);
    const Pick more = [](CColourPopup* p) -> QAbstractButton* { return p->MoreColoursButton(); };
    // `custom` is what the system colour dialog answers; nullopt for `expected`: nothing chosen.
    struct Case { const char* what; Pick pick; std::optional<COLORREF> custom, expected; };
    const Case cases[] = {
        {"palette cell", [](CColourPopup* p) -> QAbstractButton* { return p->ColourCell(19); }, {},
         RGB(0x33, 0x99, 0x66)},
        {"automatic", [](CColourPopup* p) -> QAbstractButton* { return p->AutomaticButton(); }, {}, CLR_DEFAULT},
        {"more colours", more, RGB(1, 2, 3), RGB(1, 2, 3)},
        {"more colours cancelled", more, std::nullopt, std::nullopt},
        {"popup closed", nullptr, {}, std::nullopt},
    };
    for (const Case& c : cases) {
        CColourFixture f;
        CColourPopup* popup = f.OpenPopup();
        ASSERT_NE(popup, nullptr) << c.what;
        popup->SetCustomColourChooser([&](COLORREF, QWidget*) { return c.custom; });
        if (c.pick)
            QTest::mouseClick(c.pick(popup), Qt::LeftButton);
        else
            popup->close();
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);

        EXPECT_EQ(f.button->ActivePopup(), nullptr) << c.what << ": the popup closes";
        const COLORREF colour = c.expected.value_or(RGB(255, 0, 0));
        EXPECT_EQ(f.button->GetColour(), colour) << c.what;
        using Messages = std::vector<std::pair<std::uintptr_t, std::intptr_t>>;
        EXPECT_EQ(f.dialog.messages, (c.expected ? Messages{{colour, 1042}} : Messages{})) << c.what;
        ASSERT_EQ(f.changed.count(), c.expected ? 1 : 0) << c.what;
        if (c.expected) {
            EXPECT_EQ(f.changed.at(0).at(0).value<COLORREF>(), colour);
        }
    }
}

} // namespace
