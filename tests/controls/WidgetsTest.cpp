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

    // The x of a position, found by clicking: the slider's mapping is what is under test elsewhere.
    QPoint PointOf(double fraction) const
    {
        return {int(slider.width() * fraction), slider.height() / 2};
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

TEST(SliderCtrlEx, KeysAndWheelSendTheirStepCodeThenEndTrack)
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
        EXPECT_EQ(f.slider.GetPos(), c.pos);
    }

    f.codes.clear();
    QWheelEvent wheel(QPointF(10, 10), f.slider.mapToGlobal(QPointF(10, 10)), {}, {0, 120}, Qt::NoButton, {},
                      Qt::NoScrollPhase, false);
    QApplication::sendEvent(&f.slider, &wheel);
    EXPECT_EQ(f.codes, (Codes{{TB_LINEDOWN, 1}, {TB_ENDTRACK, 1}}));
}

TEST(SliderCtrlEx, SuppressedSliderPassesTheWheelOnButKeepsMouseAndKeys)
{
    CSliderFixture f;
    f.slider.SetSuppressDefault(true);
    QWheelEvent wheel(QPointF(10, 10), f.slider.mapToGlobal(QPointF(10, 10)), {}, {0, 120}, Qt::NoButton, {},
                      Qt::NoScrollPhase, false);
    QApplication::sendEvent(&f.slider, &wheel);
    EXPECT_TRUE(f.codes.empty());
    EXPECT_FALSE(wheel.isAccepted()) << "the parent gets the wheel";
    EXPECT_EQ(f.slider.GetPos(), 20);

    QTest::keyClick(&f.slider, Qt::Key_End);
    EXPECT_EQ(f.slider.GetPos(), 100);
    QTest::mousePress(&f.slider, Qt::LeftButton, {}, f.PointOf(0.5));
    QTest::mouseRelease(&f.slider, Qt::LeftButton, {}, f.PointOf(0.5));
    EXPECT_NEAR(f.slider.GetPos(), 50, 3);
    EXPECT_EQ(f.codes.back().first, TB_ENDTRACK);
}

TEST(SliderCtrlEx, InvertedSliderHasItsMinimumOnTheRight)
{
    CSliderFixture f;
    f.slider.SetInverted(true);
    QTest::mousePress(&f.slider, Qt::LeftButton, {}, f.PointOf(1.0));
    QTest::mouseRelease(&f.slider, Qt::LeftButton, {}, f.PointOf(1.0));
    EXPECT_EQ(f.slider.GetPos(), 0);
    QTest::mousePress(&f.slider, Qt::LeftButton, {}, f.PointOf(0.25));
    QTest::mouseRelease(&f.slider, Qt::LeftButton, {}, f.PointOf(0.25));
    EXPECT_NEAR(f.slider.GetPos(), 75, 4);
    const int before = f.slider.GetPos();
    QTest::keyClick(&f.slider, Qt::Key_Right);
    EXPECT_LT(f.slider.GetPos(), before) << "Right moves the thumb right, towards the minimum";
}

TEST(SliderCtrlEx, RangeClampsThePosition)
{
    CSliderCtrlEx slider;
    slider.SetRange(10, 50);
    slider.SetPos(70);
    EXPECT_EQ(slider.GetPos(), 50);
    slider.SetRange(0, 30, TRUE);
    EXPECT_EQ(slider.GetPos(), 30);
    slider.SetPos(-5);
    EXPECT_EQ(slider.GetPos(), 0);
    EXPECT_EQ(slider.GetPageSize(), 6) << "a fifth of the range by default";
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
        if (e->type() == WM_COLOUR_CHANGED) {
            auto* m = static_cast<CUserMessageEvent*>(e);
            messages.push_back({m->WParam(), m->LParam()});
            return true;
        }
        return QWidget::event(e);
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

TEST(ColourPopup, OffersTheFortyNamedColoursAsToolTips)
{
    CColourFixture f;
    CColourPopup* popup = f.OpenPopup();
    ASSERT_NE(popup, nullptr);
    std::set<QString> names;
    std::set<COLORREF> colours;
    for (int i = 0; i < 40; ++i) {
        ASSERT_NE(popup->ColourCell(i), nullptr);
        EXPECT_EQ(popup->ColourCell(i)->toolTip(), QString::fromLatin1(OfficePalette()[std::size_t(i)].szName));
        names.insert(popup->ColourCell(i)->toolTip());
        colours.insert(OfficePalette()[std::size_t(i)].crColour);
    }
    EXPECT_EQ(popup->ColourCell(40), nullptr);
    EXPECT_EQ(names.size(), 40u);
    EXPECT_EQ(colours.size(), 40u);
    EXPECT_TRUE(popup->ColourCell(16)->isChecked()) << "the current colour (Red) is marked";
    EXPECT_EQ(popup->AutomaticButton()->text(), QStringLiteral("Automatic"));
    EXPECT_EQ(popup->MoreColoursButton()->text(), QStringLiteral("More Colors..."));
}

TEST(ColourPopup, ChoiceUpdatesTheButtonAndNotifiesTheParent)
{
    struct Case
    {
        const char* what;
        std::function<void(CColourPopup*)> choose;
        std::optional<COLORREF> expected;  // nullopt: nothing chosen
    };
    const Case cases[] = {
        {"palette cell", [](CColourPopup* p) { QTest::mouseClick(p->ColourCell(19), Qt::LeftButton); },
         RGB(0x33, 0x99, 0x66)},
        {"automatic", [](CColourPopup* p) { QTest::mouseClick(p->AutomaticButton(), Qt::LeftButton); }, CLR_DEFAULT},
        {"more colours",
         [](CColourPopup* p) {
             p->SetCustomColourChooser([](COLORREF, QWidget*) { return std::optional<COLORREF>(RGB(1, 2, 3)); });
             QTest::mouseClick(p->MoreColoursButton(), Qt::LeftButton);
         },
         RGB(1, 2, 3)},
        {"more colours cancelled",
         [](CColourPopup* p) {
             p->SetCustomColourChooser([](COLORREF, QWidget*) { return std::optional<COLORREF>(); });
             QTest::mouseClick(p->MoreColoursButton(), Qt::LeftButton);
         },
         std::nullopt},
        {"popup closed", [](CColourPopup* p) { p->close(); }, std::nullopt},
    };
    for (const Case& c : cases) {
        CColourFixture f;
        CColourPopup* popup = f.OpenPopup();
        ASSERT_NE(popup, nullptr) << c.what;
        c.choose(popup);
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);

        EXPECT_EQ(f.button->ActivePopup(), nullptr) << c.what << ": the popup closes";
        const COLORREF colour = c.expected.value_or(RGB(255, 0, 0));
        EXPECT_EQ(f.button->GetColour(), colour) << c.what;
        if (c.expected) {
            ASSERT_EQ(f.changed.count(), 1) << c.what;
            EXPECT_EQ(f.changed.at(0).at(0).value<COLORREF>(), colour);
            EXPECT_EQ(f.dialog.messages, (std::vector<std::pair<std::uintptr_t, std::intptr_t>>{{colour, 1042}}))
                << c.what;
        } else {
            EXPECT_EQ(f.changed.count(), 0) << c.what;
            EXPECT_TRUE(f.dialog.messages.empty()) << c.what;
        }
    }
}

TEST(ColorButton, AutomaticShowsTheDefaultColour)
{
    CColourFixture f;
    f.button->SetColour(CLR_DEFAULT);
    f.button->resize(80, 30);
    EXPECT_EQ(f.button->GetDisplayedColour(), RGB(10, 20, 30));
    const QImage image = f.button->grab().toImage();
    EXPECT_EQ(image.pixelColor(f.button->width() / 3, f.button->height() / 2), QColor(10, 20, 30));
}

} // namespace
