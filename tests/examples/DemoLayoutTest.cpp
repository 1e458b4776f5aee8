// The demo window's transport controls stay on screen, whole and apart, from a wide window down to the
// narrowest the window allows. A picture of each width is saved next to the test for a human to look at.
#include <QLabel>
#include <QTest>
#include <QToolBar>
#include <QToolButton>
#include <gtest/gtest.h>

#include "DemoWindow.h"
#include "audio/WaveOut.h"
#include "controls/CSliderCtrlEx.h"
#include "player/CMediaPlayerCtrl.h"
#include "player/CMediaPlayerToolbar.h"
#include "support/TestFolders.h"

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

TEST(DemoLayout, EveryTransportControlStaysWholeAndApartAtEveryWidth)
{
    ScopedUserFolders folders;
    WaveMapperOptions options;
    options.eBackend = WaveBackend::Null;
    SetWaveMapper(options);
    {
        DemoWindow window;
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
    SetWaveMapper(WaveMapperOptions());
}

} // namespace
