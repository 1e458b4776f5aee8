// The drag list box driven with real mouse and key events.
#include <QCursor>
#include <QImage>
#include <gtest/gtest.h>

#include "DragListTestSupport.h"
#include "controls/ItemNumbering.h"

using namespace tunivox::test;

namespace {

class DragListBox : public CListWindowTest
{
protected:
    CRecordingList* list = a;
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
    EXPECT_EQ(list->GetText(2), QStringLiteral("3. Song 0"));
    EXPECT_EQ(list->GetSelItems(), (QList<int>{2, 3, 4})) << "the moved items stay selected";
    for (int i = 0; i < list->GetCount(); ++i)
        EXPECT_EQ(list->GetItemData(i), 0u) << "an in-list reorder drops the data words, item " << i;
    EXPECT_EQ(list->calls, (std::vector<std::string>{"RenumberItems"}));
    EXPECT_EQ(list->m_nDragState, CDragListBoxEx::DragIdle);
    EXPECT_EQ(QWidget::mouseGrabber(), nullptr);
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

TEST_F(DragListBox, DropBelowTheLastItemAppendsAndRenumbersByTheReorderRule)
{
    for (const char* text : {"3. Song", "Song", "0. Song", "7. Last"})
        list->AddString(QString::fromLatin1(text));
    list->SetCurSel(0);
    QRect last;
    ASSERT_TRUE(list->GetItemRect(3, &last));
    const QPoint below(last.center().x(), last.bottom() + 30);
    ASSERT_LT(below.y(), list->viewport()->height() - last.height()) << "outside the auto-scroll band";

    StartDrag(list, ItemCenter(list, 0), below);
    EXPECT_EQ(list->m_nInsertIndex, 4);
    Release(list, below);
    EXPECT_EQ(Texts(list), (std::vector<QString>{"Song", "0. Song", "3. Last", "4. Song"}));
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
    }
    Release(list, start + QPoint(d, d));
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
        EXPECT_EQ(list->InsertMarkY(), -1);
        Release(list, ItemCenter(list, 3));
        EXPECT_EQ(SongOrder(list), (std::vector<int>{0, 1, 2, 3, 4, 5})) << key;
    }
    QTest::keyClick(list, Qt::Key_Down);
    EXPECT_EQ(list->GetCurSel(), 1) << "without a drag, Down moves the selection as usual";
}

TEST_F(DragListBox, SortedListShowsNoMarkAndIgnoresDrops)
{
    EXPECT_EQ(list->InsertIndexFromPoint(list->viewport()->mapToGlobal(QPoint(10, 10))), 0) << "empty list";
    list->setSortingEnabled(true);
    for (const char* text : {"b", "d", "a", "c"})
        list->AddString(QString::fromLatin1(text));
    list->SetCurSel(0);
    StartDrag(list, ItemCenter(list, 0), ItemCenter(list, 3));
    EXPECT_EQ(list->m_nDragState, CDragListBoxEx::DragActive);
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

TEST_F(DragListBox, AutoScrollStepsOneItemPerTickInTheEdgeBands)
{
    Fill(list, 60);
    const int itemHeight = list->GetItemHeight();
    for (int direction : {-1, +1}) {
        list->SetTopIndex(25);
        list->SetCurSel(27);
        const QPoint band(50, direction < 0 ? itemHeight / 2 : list->viewport()->height() - itemHeight / 2);
        StartDrag(list, ItemCenter(list, 27), band);
        QCursor::setPos(list->viewport()->mapToGlobal(band));
        ASSERT_NE(list->m_nScrollTimer, 0u);
        EXPECT_EQ(list->m_nScrollDir, direction);
        for (int tick = 1; tick <= 3; ++tick) {
            QTimerEvent timer(int(list->m_nScrollTimer));
            QApplication::sendEvent(list, &timer);
            EXPECT_EQ(list->GetTopIndex(), 25 + direction * tick);
        }
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
    const QImage parentBefore = host->grab().toImage();
    const QImage listBefore = list->grab().toImage();

    StartDrag(list, ItemCenter(list, 0), ItemCenter(list, 2) - QPoint(0, 4));
    ASSERT_EQ(list->m_nInsertIndex, 2);
    const int y = list->InsertMarkY();
    const QImage parentShown = host->grab().toImage();
    const QPoint lineInList = list->viewport()->mapTo(list, QPoint(list->viewport()->width() / 2, y));
    EXPECT_EQ(list->grab().toImage().pixelColor(lineInList), QColor(Qt::black));
    EXPECT_NE(listBefore.pixelColor(lineInList), QColor(Qt::black));
    // The arrow bodies lie outside the list, on the parent.
    for (QPoint body : {list->viewport()->mapTo(host.get(), QPoint(-7, y)),
                        list->viewport()->mapTo(host.get(), QPoint(list->viewport()->width() + 7, y))}) {
        EXPECT_FALSE(list->geometry().contains(body));
        EXPECT_EQ(parentShown.pixelColor(body), QColor(Qt::black)) << body.x() << "," << body.y();
        EXPECT_NE(parentBefore.pixelColor(body), QColor(Qt::black));
    }
    QTest::keyClick(list, Qt::Key_Escape);
    EXPECT_EQ(host->grab().toImage(), parentBefore);
    EXPECT_EQ(list->grab().toImage(), listBefore);
    Release(list, ItemCenter(list, 2));
}

TEST_F(DragListBox, KeyTableReachesTheVirtualOperations)
{
    Fill(list, 3);
    auto message = [](QEvent::Type type) { return "message " + std::to_string(int(type)); };
    struct Case { int key; Qt::KeyboardModifiers mods; const char* text; std::vector<std::string> calls; };
    const Case cases[] = {
        {Qt::Key_Return, {}, "\r", {"PlayPlay"}}, {Qt::Key_Enter, Qt::KeypadModifier, "\r", {"PlayPlay"}},
        {Qt::Key_Plus, Qt::ShiftModifier, "+", {"IncreaseVolume", message(WM_LIST_VOLUME_UP)}},
        {Qt::Key_Minus, {}, "-", {"DecreaseVolume", message(WM_LIST_VOLUME_DOWN)}},
        {Qt::Key_I, {}, "i", {message(WM_LIST_INFO)}}, {Qt::Key_I, Qt::ShiftModifier, "I", {message(WM_LIST_INFO)}},
        {Qt::Key_P, {}, "p", {"PausePlay"}}, {Qt::Key_P, Qt::ShiftModifier, "P", {"PausePlay"}},
        {Qt::Key_C, {}, "c", {"ClearList"}}, {Qt::Key_N, {}, "n", {"PlayNext"}},
        {Qt::Key_B, Qt::ShiftModifier, "B", {"PlayPrevius"}}, {Qt::Key_S, {}, "s", {"StopPlay"}},
        {Qt::Key_Z, Qt::ControlModifier, "\x1a", {"StartTunivoxMplayer"}},
        {Qt::Key_A, Qt::ControlModifier, "\x01", {"SelectAllItems"}},
        {Qt::Key_S, Qt::ControlModifier, "\x13", {"SaveToPlaylist"}}, {Qt::Key_X, {}, "x", {}},
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
    using Mode = QAbstractItemView::SelectionMode;
    struct Case { Mode mode; int count; std::vector<int> selected, removed; std::vector<QString> texts; int selectedAfter; };
    const Case cases[] = {
        {Mode::SingleSelection, 4, {1}, {1}, {"1. Song 0", "2. Song 2", "3. Song 3"}, 1},
        {Mode::ExtendedSelection, 5, {0, 2, 3}, {3, 2, 0}, {"1. Song 1", "2. Song 4"}, 0},
        {Mode::SingleSelection, 3, {2}, {2}, {"1. Song 0", "2. Song 1"}, -1},
        {Mode::SingleSelection, 2, {}, {}, {"1. Song 0", "2. Song 1"}, -1},
        {Mode::SingleSelection, 0, {}, {}, {}, -1},
    };
    for (const Case& c : cases) {
        list->ResetContent();
        list->setSelectionMode(c.mode);
        host->removed.clear();
        Fill(list, c.count);
        list->clearSelection();
        for (int row : c.selected)
            list->item(row)->setSelected(true);
        list->setFocus();

        QTest::keyClick(list, Qt::Key_Delete);

        EXPECT_EQ(Texts(list), c.texts) << c.count << " items";
        EXPECT_EQ(host->removed, c.removed) << c.count << " items";
        const QList<QListWidgetItem*> selected = list->selectedItems();
        EXPECT_EQ(selected.isEmpty() ? -1 : list->row(selected.first()), c.selectedAfter) << c.count << " items";
        if (!c.texts.empty()) {
            EXPECT_EQ(list->GetItemData(0), 100u + std::uint32_t(SongOrder(list)[0])) << "data words stay";
        }
    }
    // A parent without the arrays: only the list is trimmed.
    QWidget plain;
    auto* alone = new CDragListBoxEx(&plain);
    Fill(alone, 3);
    alone->SetCurSel(0);
    QTest::keyClick(alone, Qt::Key_Delete);
    EXPECT_EQ(Texts(alone), (std::vector<QString>{"1. Song 1", "2. Song 2"}));
}

} // namespace
