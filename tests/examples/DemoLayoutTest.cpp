// The demo window's transport controls stay on screen, whole and apart, from a wide window down to the
// narrowest the window allows (a picture of each width is saved next to the test for a human to look
// at); every action has a key and every button takes the focus visibly; the listening choices it
// starts with; what a saved playlist holds.
#include <QApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QMenuBar>
#include <QScrollBar>
#include <QTest>
#include <QToolBar>
#include <QToolButton>
#include <gtest/gtest.h>

#include "DemoWindow.h"
#include "PlaybackMenu.h"
#include "PlaylistFileActions.h"
#include "audio/WaveOut.h"
#include "controls/CSliderCtrlEx.h"
#include "player/CMediaPlayerCtrl.h"
#include "player/CMediaPlayerToolbar.h"
#include "support/TestFolders.h"
#include <QFileInfo>
#include <cmath>
#include <memory>

namespace {

using namespace tunivox::test;

// A window this narrow still has room for a playlist beside the now-playing panel.
constexpr int kSensibleMinimumWidth = 560;

struct NamedControl
{
    QString name;
    QWidget* widget;
};

QList<NamedControl> TransportControls(DemoWindow& window)
{
    CMediaPlayerCtrl* player = window.Player();
    QList<NamedControl> controls;
    for (int id = 1; id <= 6; ++id)
        controls.append({QStringLiteral("toolbar button %1").arg(id),
                         player->GetToolbar()->widgetForAction(player->GetToolbar()->CommandAction(id))});
    controls.append({QStringLiteral("position"), player->GetTrackbar()});
    controls.append({QStringLiteral("volume"), player->GetVolumeBar()});
    for (const char* name : {"elapsed", "total"})
        controls.append({QString::fromLatin1(name), window.findChild<QLabel*>(QString::fromLatin1(name))});
    for (const char* name : {"repeat", "shuffle"})
        controls.append({QString::fromLatin1(name), window.findChild<QToolButton*>(QString::fromLatin1(name))});
    return controls;
}

// A demo window through the null device, with settings of its own.
struct DemoFixture
{
    DemoFixture()
    {
        WaveMapperOptions options;
        options.eBackend = WaveBackend::Null;
        SetWaveMapper(options);
        window = std::make_unique<DemoWindow>();
    }
    ~DemoFixture()
    {
        window.reset();
        SetWaveMapper(WaveMapperOptions());
    }
    ScopedUserFolders folders;
    std::unique_ptr<DemoWindow> window;
};

TEST(DemoLayout, EveryTransportControlStaysWholeAndApartAtEveryWidth)
{
    DemoFixture f;
    DemoWindow& window = *f.window;
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    const int minimum = window.minimumSizeHint().width();
    EXPECT_LE(minimum, kSensibleMinimumWidth);

    for (const int width : {1000, 820, 700, kSensibleMinimumWidth, minimum}) {
        SCOPED_TRACE(width);
        window.resize(width, 600);
        for (int i = 0; i < 5; ++i)
            QCoreApplication::processEvents();
        ASSERT_EQ(window.width(), width);
        window.grab().save(QStringLiteral("%1/demo-layout-%2.png").arg(TUNIVOX_BINARY_DIR).arg(width));

        // Actions the playlist tool bar cannot show are behind its visible extension button.
        QToolBar* actions = window.findChild<QToolBar*>(QStringLiteral("playlistActions"));
        ASSERT_NE(actions, nullptr);
        auto* extension = actions->findChild<QToolButton*>(QStringLiteral("qt_toolbar_ext_button"));
        for (QAction* action : actions->actions()) {
            QWidget* shown = actions->widgetForAction(action);
            if (!action->isSeparator() && !(shown && shown->isVisible())) {
                EXPECT_TRUE(extension && extension->isVisible()) << action->text().toStdString();
            }
        }
        const QList<NamedControl> controls = TransportControls(window);
        QList<QRect> placed;
        for (const NamedControl& control : controls) {
            SCOPED_TRACE(control.name.toStdString());
            ASSERT_NE(control.widget, nullptr);
            EXPECT_TRUE(control.widget->isVisible());
            const QRect rect(control.widget->mapTo(&window, QPoint(0, 0)), control.widget->size());
            EXPECT_TRUE(window.rect().contains(rect)) << rect.x() << "," << rect.y() << " " << rect.width()
                                                      << "x" << rect.height();
            EXPECT_GE(rect.width(), control.widget->minimumSizeHint().width());
            for (const QRect& other : placed)
                EXPECT_FALSE(rect.intersects(other));
            placed.append(rect);
        }
    }
    // A wide window keeps the whole bar on one line.
    window.resize(1000, 600);
    QCoreApplication::processEvents();
    const QRect play(window.Player()->GetToolbar()->mapTo(&window, QPoint(0, 0)), QSize(1, 1));
    const QRect volume(window.Player()->GetVolumeBar()->mapTo(&window, QPoint(0, 0)), QSize(1, 1));
    EXPECT_LT(std::abs(play.y() - volume.y()), 20);
}

void CollectMenuActions(const QList<QAction*>& actions, QList<QAction*>& into)
{
    for (QAction* action : actions) {
        into.append(action);
        if (action->menu())
            CollectMenuActions(action->menu()->actions(), into);
    }
}

TEST(DemoKeyboard, EveryActionHasAKeyInTheMenusAndToolTipsAndTabReachesEveryButtonVisibly)
{
    DemoFixture f;
    DemoWindow& window = *f.window;
    ASSERT_EQ(window.AddPaths({FixturePath(QStringLiteral("tone-44k-stereo.mp3"))}), 1); // the list's Delete is live
    window.show();
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    QList<QAction*> inMenus;
    CollectMenuActions(window.menuBar()->actions(), inMenus);
    QToolBar* playlistBar = window.findChild<QToolBar*>(QStringLiteral("playlistActions"));
    QToolBar* transport = window.Player()->GetToolbar();
    QAction* visualButton = window.Player()->GetToolbar()->CommandAction(kCommandVisualization);

    QList<QKeySequence> keys;
    QList<QWidget*> buttons;
    for (QToolBar* bar : {playlistBar, transport}) {
        for (QAction* action : bar->actions()) {
            if (action->isSeparator())
                continue;
            SCOPED_TRACE((action->text() + action->toolTip()).toStdString());
            if (QWidget* button = bar->widgetForAction(action); button && button->isVisible() && button->isEnabled())
                buttons.append(button);
            EXPECT_TRUE(inMenus.contains(action) || action == visualButton);
            if (action->menu() || action == visualButton)
                continue; // the Playback menu opens from the menu bar; the visualization button shares a key
            ASSERT_FALSE(action->shortcut().isEmpty());
            EXPECT_FALSE(keys.contains(action->shortcut()));
            keys.append(action->shortcut());
            EXPECT_TRUE(action->toolTip().contains(action->shortcut().toString(QKeySequence::NativeText)));
            // The list, which has keys of its own, leaves this one to the action.
            const QKeyCombination key = action->shortcut()[0];
            QKeyEvent override(QEvent::ShortcutOverride, key.key(), key.keyboardModifiers());
            override.ignore();
            QApplication::sendEvent(window.Player(), &override);
            EXPECT_FALSE(override.isAccepted());
        }
    }
    for (const char* name : {"repeat", "shuffle"})
        buttons.append(window.findChild<QToolButton*>(QString::fromLatin1(name)));
    ASSERT_GE(buttons.size(), 12);

    // Tab from the list goes round every button and the volume slider.
    window.Player()->setFocus(Qt::OtherFocusReason);
    QList<QWidget*> reached;
    for (int i = 0; i < 60; ++i) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        reached.append(QApplication::focusWidget());
    }
    EXPECT_TRUE(reached.contains(window.Player()->GetVolumeBar()));
    for (QWidget* button : buttons) {
        SCOPED_TRACE(button->toolTip().toStdString());
        EXPECT_TRUE(reached.contains(button));
        // The focus shows: the button looks different with it than without.
        button->setFocus(Qt::TabFocusReason);
        const QImage focused = button->grab().toImage();
        window.Player()->setFocus(Qt::TabFocusReason);
        EXPECT_NE(focused, button->grab().toImage());
    }
}

// Relative luminance of sRGB colour, as contrast ratios are reckoned.
double Luminance(const QColor& c)
{
    const auto channel = [](double v) { return v <= 0.03928 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4); };
    return 0.2126 * channel(c.redF()) + 0.7152 * channel(c.greenF()) + 0.0722 * channel(c.blueF());
}

TEST(DemoLook, TheScrollBarsThumbStandsOutFromItsGroove)
{
    DemoFixture f;
    DemoWindow& window = *f.window;
    for (int i = 0; i < 200; ++i) {
        CMp3Song song;
        song.m_strFilePath = QStringLiteral("/nowhere/song-%1.mp3").arg(i, 3, 10, QLatin1Char('0'));
        song.m_strAux2 = QFileInfo(song.m_strFilePath).fileName();
        window.Player()->addFile(song, 0);
    }
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    QScrollBar* bar = window.Player()->verticalScrollBar();
    ASSERT_TRUE(bar->isVisible());
    bar->setValue(0);
    // Scrolled to the top, the thumb (at least 28 px) starts at the top; the groove shows at the bottom.
    const QImage image = bar->grab().toImage();
    const double a = Luminance(image.pixelColor(bar->width() / 2, 14));
    const double b = Luminance(image.pixelColor(bar->width() / 2, bar->height() - 4));
    EXPECT_GE((std::max(a, b) + 0.05) / (std::min(a, b) + 0.05), 3.0) << "thumb " << a << ", groove " << b;
}

// A listener who never chose hears ReplayGain by the song's own values; a choice made is kept. A device
// chosen while the sound goes to the null device is refused, not stored.
TEST(DemoListening, ReplayGainStartsOnTrackUnlessChosenAndTheNullDeviceRefusesADevice)
{
    DemoFixture f;
    EXPECT_EQ(f.window->Player()->GetReplayGain().eMode, ReplayGainMode::Track);
    for (ReplayGainMode chosen : {ReplayGainMode::Off, ReplayGainMode::Album}) {
        ReplayGainOptions options = f.window->Player()->GetReplayGain();
        options.eMode = chosen;
        f.window->Player()->SetReplayGain(options);
        f.window = std::make_unique<DemoWindow>();
        EXPECT_EQ(f.window->Player()->GetReplayGain().eMode, chosen);
    }

    const QString said = f.window->findChild<PlaybackMenu*>()->ChooseDevice(QStringLiteral("pulse"));
    EXPECT_TRUE(said.contains(QStringLiteral("null device"))) << said.toStdString();
    EXPECT_TRUE(f.window->Player()->GetOutputDevice().isEmpty());
    f.window = std::make_unique<DemoWindow>();
    EXPECT_TRUE(f.window->Player()->GetOutputDevice().isEmpty()) << "not stored";
}

TEST(DemoPlaylist, ASavedPlaylistGivesEachSongItsLength)
{
    DemoFixture f;
    struct Case { const char* name; int seconds; };
    const Case cases[] = {{"long-44k-stereo.mp3", 12}, {"chord-44k-stereo.flac", 3}, {"short-44k-stereo.wav", 0}};
    for (const Case& c : cases)
        ASSERT_EQ(f.window->AddPaths({FixturePath(QString::fromLatin1(c.name))}), 1);
    const QList<PlaylistFileEntry> entries = PlaylistEntriesOf(f.window->Player());
    ASSERT_EQ(entries.size(), 3);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(entries[i].strPath, FixturePath(QString::fromLatin1(cases[i].name)));
        EXPECT_EQ(entries[i].nSeconds, cases[i].seconds) << cases[i].name;
        EXPECT_FALSE(entries[i].strTitle.isEmpty());
    }
}

} // namespace
