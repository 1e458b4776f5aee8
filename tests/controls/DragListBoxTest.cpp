// The drag list box driven with real mouse and key events.
#include <QCursor>
#include <QImage>
#include <QLabel>
#include <gtest/gtest.h>

#include "DragListTestSupport.h"
#include "controls/ItemNumbering.h"

using namespace tunivox::test;

namespace {

class DragListBox : public ::testing::Test
{
protected:
    CListWindow window;
    CRecordingList* list = window.a;
};

TEST_F(DragListBox, DraggedSelectionLandsInOldOrderBelowTheItemsRemovedBeforeIt)
{
    list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    Fill(list, 10);
    for (int row : {0, 2, 4})
        list->SetSel(row, TRUE);

    // The press lands on a multiple selection, which must survive to be dragged.
    QRect third;
    ASSERT_TRUE(list->GetItemRect(3, &third));
    const QPoint lowerHalfOfThird(third.center().x(), third.top() + third.height() * 3 / 4);
    StartDrag(list, ItemCenter(list, 2), lowerHalfOfThird);
    EXPECT_EQ(list->m_nDragState, CDragListBoxEx::DragActive);
    EXPECT_EQ(list->GetSelItems(), (QList<int>{0, 2, 4}));
    EXPECT_EQ(list->m_nInsertIndex, 4) << "a drop on an item's lower half goes after it";
    Release(list, lowerHalfOfThird);

    EXPECT_EQ(SongOrder(list), (std::vector<int>{1, 3, 0, 2, 4, 5, 6, 7, 8, 9}));
    EXPECT_EQ(list->GetText(0), QStringLiteral("1. Song 1"));
    EXPECT_EQ(list->GetText(2), QStringLiteral("3. Song 0"));
    EXPECT_EQ(list->GetSelItems(), (QList<int>{2, 3, 4})) << "the moved items stay selected";
    for (int i = 0; i < list->GetCount(); ++i)
        EXPECT_EQ(list->GetItemData(i), 0u) << "an in-list reorder drops the data words, item " << i;
    EXPECT_EQ(list->calls, (std::vector<std::string>{"RenumberItems"}));
    EXPECT_EQ(list->m_nDragState, CDragListBoxEx::DragIdle);
    EXPECT_EQ(QWidget::mouseGrabber(), nullptr);
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

TEST_F(DragListBox, DropBelowTheLastItemAppends)
{
    Fill(list, 4);
    list->SetCurSel(1);
    QRect last;
    ASSERT_TRUE(list->GetItemRect(3, &last));
    const QPoint below(last.center().x(), last.bottom() + 30);
    ASSERT_LT(below.y(), list->viewport()->height() - last.height()) << "outside the auto-scroll band";

    StartDrag(list, ItemCenter(list, 1), below);
    EXPECT_EQ(list->m_nInsertIndex, 4);
    Release(list, below);

    EXPECT_EQ(SongOrder(list), (std::vector<int>{0, 2, 3, 1}));
    EXPECT_EQ(list->GetCurSel(), 3);
}

TEST_F(DragListBox, NoDragStartsWithinTheSystemDragDistance)
{
    Fill(list, 5);
    const int d = QApplication::startDragDistance();
    const QPoint start = ItemCenter(list, 1);
    Press(list, start);
    for (QPoint offset : {QPoint(d, 0), QPoint(0, d), QPoint(-d, -d), QPoint(d, d)}) {
        MoveTo(list, start + offset);
        EXPECT_EQ(list->m_nDragState, CDragListBoxEx::DragArmed) << offset.x() << "," << offset.y();
        EXPECT_EQ(list->m_nInsertIndex, -1);
    }
    Release(list, start + QPoint(d, d));
    EXPECT_EQ(list->m_nDragState, CDragListBoxEx::DragIdle);
    EXPECT_EQ(SongOrder(list), (std::vector<int>{0, 1, 2, 3, 4}));
    EXPECT_EQ(list->GetCurSel(), 1) << "a plain click selects";

    Press(list, start);
    MoveTo(list, start + QPoint(d + 1, 0));
    EXPECT_EQ(list->m_nDragState, CDragListBoxEx::DragActive) << "one pixel more starts the drag";
    Release(list, start + QPoint(d + 1, 0));
}

TEST_F(DragListBox, EscapeAndDownCancelADragWithoutMovingAnything)
{
    Fill(list, 6);
    for (Qt::Key key : {Qt::Key_Escape, Qt::Key_Down}) {
        list->SetCurSel(0);
        StartDrag(list, ItemCenter(list, 0), ItemCenter(list, 3));
        ASSERT_GE(list->m_nInsertIndex, 0);
        QTest::keyClick(list, key);
        EXPECT_EQ(list->m_nDragState, CDragListBoxEx::DragIdle) << key;
        EXPECT_EQ(list->m_nInsertIndex, -1);
        EXPECT_EQ(list->InsertMarkY(), -1);
        Release(list, ItemCenter(list, 3));
        EXPECT_EQ(SongOrder(list), (std::vector<int>{0, 1, 2, 3, 4, 5})) << key;
    }
    QTest::keyClick(list, Qt::Key_Down);
    EXPECT_EQ(list->GetCurSel(), 1) << "without a drag, Down moves the selection as usual";
}

TEST_F(DragListBox, SortedListShowsNoMarkAndIgnoresDrops)
{
    list->setSortingEnabled(true);
    for (const char* text : {"b", "d", "a", "c"})
        list->AddString(QString::fromLatin1(text));
    list->SetCurSel(0);
    StartDrag(list, ItemCenter(list, 0), ItemCenter(list, 3));
    EXPECT_EQ(list->m_nDragState, CDragListBoxEx::DragActive);
    EXPECT_EQ(list->m_nInsertIndex, -1);
    EXPECT_EQ(list->InsertMarkY(), -1);
    Release(list, ItemCenter(list, 3));
    EXPECT_EQ(Texts(list), (std::vector<QString>{"a", "b", "c", "d"}));
    EXPECT_TRUE(list->calls.empty());
}

TEST(ItemNumbering, ReorderAndDeleteRules)
{
    struct Case { const char* text; int number; const char* afterReorder; const char* afterDelete; };
    const Case cases[] = {
        {"3. Song", 1, "1. Song", "1. Song"},
        {"Song", 2, "Song", "2. Song"},                 // no dot: kept by a reorder
        {"0. Song", 2, "0. Song", "2. Song"},           // 0 is not a number to replace
        {"-4. Song", 1, "-4. Song", "1. Song"},
        {"12abc. Song", 3, "3. Song", "3. Song"},       // leading digits count
        {" 7.Song", 1, "1.Song", "1. 7.Song"},         // no ". ": the whole text is kept, trimmed
        {"Mr. Blue", 5, "Mr. Blue", "5. Blue"},
        {"9. Dr. Who ", 1, "1. Dr. Who ", "1. Dr. Who"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(RenumberedItemText(QString::fromLatin1(c.text), c.number), QString::fromLatin1(c.afterReorder))
            << c.text;
        EXPECT_EQ(RenumberedAfterDelete(QString::fromLatin1(c.text), c.number), QString::fromLatin1(c.afterDelete))
            << c.text;
    }
    EXPECT_EQ(LeadingNumber(u"99999999999999999999999"), std::numeric_limits<long long>::max());
}

TEST_F(DragListBox, RenumberingAfterADropFollowsTheTextRules)
{
    for (const char* text : {"3. Song", "Song", "0. Song", "7. Last"})
        list->AddString(QString::fromLatin1(text));
    list->SetCurSel(3);
    StartDrag(list, ItemCenter(list, 3), ItemCenter(list, 0) - QPoint(0, 4));
    EXPECT_EQ(list->m_nInsertIndex, 0);
    Release(list, ItemCenter(list, 0) - QPoint(0, 4));
    EXPECT_EQ(Texts(list), (std::vector<QString>{"1. Last", "2. Song", "Song", "0. Song"}));
}

TEST_F(DragListBox, InsertIndexOfAnEmptyListIsZero)
{
    EXPECT_EQ(list->InsertIndexFromPoint(list->viewport()->mapToGlobal(QPoint(10, 10))), 0);
}

TEST_F(DragListBox, AutoScrollStepsOneItemPerTickInTheEdgeBands)
{
    Fill(list, 60);
    const int itemHeight = list->GetItemHeight();
    struct Case { int y; int direction; };
    const Case cases[] = {{itemHeight / 2, -1}, {list->viewport()->height() - itemHeight / 2, +1}};
    for (const Case& c : cases) {
        list->SetTopIndex(25);
        ASSERT_EQ(list->GetTopIndex(), 25);
        list->SetCurSel(27);
        const QPoint band(50, c.y);
        StartDrag(list, ItemCenter(list, 27), band);
        QCursor::setPos(list->viewport()->mapToGlobal(band));
        ASSERT_NE(list->m_nScrollTimer, 0u);
        EXPECT_EQ(list->m_nScrollDir, c.direction);

        struct CTickCounter : QObject
        {
            CRecordingList* list;
            int ticks = 0;
            bool eventFilter(QObject*, QEvent* e) override
            {
                if (e->type() == QEvent::Timer
                    && static_cast<QTimerEvent*>(e)->timerId() == int(list->m_nScrollTimer))
                    ++ticks;
                return false;
            }
        } counter;
        counter.list = list;
        list->installEventFilter(&counter);
        QTest::qWait(8 * CDragListBoxEx::kAutoScrollPeriodMs);
        list->removeEventFilter(&counter);

        ASSERT_GE(counter.ticks, 2);
        EXPECT_EQ(list->GetTopIndex(), 25 + c.direction * counter.ticks) << "ticks " << counter.ticks;
        EXPECT_GE(list->m_nInsertIndex, 0) << "the mark follows the scrolled items";
        QTest::keyClick(list, Qt::Key_Escape);
        EXPECT_EQ(list->m_nScrollTimer, 0u);
        Release(list, band);
    }
}

TEST_F(DragListBox, InsertionMarkPixelsAppearAndLeaveNoTrace)
{
    Fill(list, 6);
    list->SetCurSel(0);
    list->setFocus();
    const QImage parentBefore = window.host->grab().toImage();
    const QImage listBefore = list->grab().toImage();

    StartDrag(list, ItemCenter(list, 0), ItemCenter(list, 2) - QPoint(0, 4));
    ASSERT_EQ(list->m_nInsertIndex, 2);
    const int y = list->InsertMarkY();
    ASSERT_GE(y, 0);
    const QImage parentShown = window.host->grab().toImage();
    const QImage listShown = list->grab().toImage();

    const QPoint lineInList = list->viewport()->mapTo(list, QPoint(list->viewport()->width() / 2, y));
    EXPECT_EQ(listShown.pixelColor(lineInList), QColor(Qt::black));
    EXPECT_NE(listBefore.pixelColor(lineInList), QColor(Qt::black));
    const QPoint leftTip = list->viewport()->mapTo(window.host.get(), QPoint(0, y));
    const QPoint rightTip = list->viewport()->mapTo(window.host.get(), QPoint(list->viewport()->width(), y));
    for (QPoint body : {leftTip + QPoint(-7, 0), rightTip + QPoint(7, 0)}) {
        EXPECT_TRUE(window.host->rect().contains(body));
        EXPECT_FALSE(list->geometry().contains(body)) << "the arrow bodies lie outside the list";
        EXPECT_EQ(parentShown.pixelColor(body), QColor(Qt::black)) << body.x() << "," << body.y();
        EXPECT_NE(parentBefore.pixelColor(body), QColor(Qt::black));
    }

    QTest::keyClick(list, Qt::Key_Escape);
    EXPECT_EQ(window.host->grab().toImage(), parentBefore);
    EXPECT_EQ(list->grab().toImage(), listBefore);
    Release(list, ItemCenter(list, 2));
}

TEST_F(DragListBox, KeyTableReachesTheVirtualOperations)
{
    Fill(list, 3);
    struct Case { int key; Qt::KeyboardModifiers mods; const char* text; std::vector<std::string> calls; };
    const std::string up = "message " + std::to_string(int(WM_LIST_VOLUME_UP));
    const std::string down = "message " + std::to_string(int(WM_LIST_VOLUME_DOWN));
    const std::string info = "message " + std::to_string(int(WM_LIST_INFO));
    const Case cases[] = {
        {Qt::Key_Return, {}, "\r", {"PlayPlay"}},
        {Qt::Key_Enter, Qt::KeypadModifier, "\r", {"PlayPlay"}},
        {Qt::Key_Plus, Qt::ShiftModifier, "+", {"IncreaseVolume", up}},
        {Qt::Key_Minus, {}, "-", {"DecreaseVolume", down}},
        {Qt::Key_I, {}, "i", {info}},
        {Qt::Key_I, Qt::ShiftModifier, "I", {info}},
        {Qt::Key_P, {}, "p", {"PausePlay"}},
        {Qt::Key_P, Qt::ShiftModifier, "P", {"PausePlay"}},
        {Qt::Key_C, {}, "c", {"ClearList"}},
        {Qt::Key_N, {}, "n", {"PlayNext"}},
        {Qt::Key_B, Qt::ShiftModifier, "B", {"PlayPrevius"}},
        {Qt::Key_S, {}, "s", {"StopPlay"}},
        {Qt::Key_Z, Qt::ControlModifier, "\x1a", {"StartTunivoxMplayer"}},
        {Qt::Key_A, Qt::ControlModifier, "\x01", {"SelectAllItems"}},
        {Qt::Key_S, Qt::ControlModifier, "\x13", {"SaveToPlaylist"}},
        {Qt::Key_X, {}, "x", {}},
        {Qt::Key_Escape, {}, "\x1b", {}},
    };
    for (const Case& c : cases) {
        list->calls.clear();
        QKeyEvent press(QEvent::KeyPress, c.key, c.mods, QString::fromLatin1(c.text));
        QApplication::sendEvent(list, &press);
        QCoreApplication::processEvents();
        EXPECT_EQ(list->calls, c.calls) << "key " << c.key << " text " << c.text;
    }
}

TEST_F(DragListBox, DeleteRemovesSelectedItemsHereAndInTheHostArrays)
{
    struct Case
    {
        QAbstractItemView::SelectionMode mode;
        int count;
        std::vector<int> selected;
        std::vector<QString> texts;
        std::vector<int> removed;
        int selectedAfter;
    };
    const Case cases[] = {
        {QAbstractItemView::SingleSelection, 4, {1}, {"1. Song 0", "2. Song 2", "3. Song 3"}, {1}, 1},
        {QAbstractItemView::ExtendedSelection, 5, {0, 2, 3}, {"1. Song 1", "2. Song 4"}, {3, 2, 0}, 0},
        {QAbstractItemView::SingleSelection, 3, {2}, {"1. Song 0", "2. Song 1"}, {2}, -1},
        {QAbstractItemView::SingleSelection, 2, {}, {"1. Song 0", "2. Song 1"}, {}, -1},
        {QAbstractItemView::SingleSelection, 0, {}, {}, {}, -1},
    };
    for (const Case& c : cases) {
        list->ResetContent();
        list->setSelectionMode(c.mode);
        window.host->removed.clear();
        Fill(list, c.count);
        list->clearSelection();
        for (int row : c.selected)
            list->item(row)->setSelected(true);
        list->setFocus();

        QTest::keyClick(list, Qt::Key_Delete);

        EXPECT_EQ(Texts(list), c.texts) << c.count << " items";
        EXPECT_EQ(window.host->removed, c.removed) << c.count << " items";
        const QList<QListWidgetItem*> selected = list->selectedItems();
        EXPECT_EQ(selected.isEmpty() ? -1 : list->row(selected.first()), c.selectedAfter) << c.count << " items";
        if (!c.texts.empty()) {
            EXPECT_EQ(list->GetItemData(0), 100u + std::uint32_t(SongOrder(list)[0])) << "data words stay";
        }
    }
}

TEST(DragListBoxAlone, DeleteWithoutAnArraysHostOnlyTrimsTheList)
{
    QWidget plain;
    auto* list = new CDragListBoxEx(&plain);
    Fill(list, 3);
    list->SetCurSel(0);
    QTest::keyClick(list, Qt::Key_Delete);
    EXPECT_EQ(Texts(list), (std::vector<QString>{"1. Song 1", "2. Song 2"}));
}

} // namespace
