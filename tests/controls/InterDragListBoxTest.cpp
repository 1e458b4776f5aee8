// Dragging items between two drag list boxes of one window.
#include <gtest/gtest.h>

#include "DragListTestSupport.h"

using namespace tunivox::test;

namespace {

class InterDragListBox : public CListWindowTest
{
protected:
    InterDragListBox()
    {
        Fill(a, 5, 100);
        Fill(b, 3, 200);
    }
};

TEST_F(InterDragListBox, MoveToAnotherListKeepsDataAndNumbers)
{
    a->setSelectionMode(QAbstractItemView::ExtendedSelection);
    a->SetSel(1, TRUE);
    a->SetSel(3, TRUE);
    const QPoint overB = Across(a, b->viewport(), ItemCenter(b, 1) - QPoint(0, 3));

    StartDrag(a, ItemCenter(a, 1), overB);
    EXPECT_EQ(b->m_nInsertIndex, 1) << "the target shows the feedback";
    EXPECT_EQ(a->m_nInsertIndex, -1);
    EXPECT_EQ(a->m_hWndLastTarget.data(), b);
    Release(a, overB);

    EXPECT_EQ(SongOrder(a), (std::vector<int>{0, 2, 4}));
    EXPECT_EQ(Texts(a)[1], QStringLiteral("3. Song 2")) << "the source is not renumbered";
    EXPECT_EQ(SongOrder(b), (std::vector<int>{0, 1, 3, 1, 2}));
    EXPECT_EQ(Texts(b)[1], QStringLiteral("2. Song 1")) << "moved texts keep their numbers";
    std::vector<std::uint32_t> data;
    for (int i = 0; i < b->GetCount(); ++i)
        data.push_back(b->GetItemData(i));
    EXPECT_EQ(data, (std::vector<std::uint32_t>{200, 101, 103, 201, 202})) << "data words travel along";
    EXPECT_EQ(b->GetCurSel(), 2) << "the last moved item is the target's selection";
    EXPECT_TRUE(a->calls.empty() && b->calls.empty()) << "no RenumberItems on a move between lists";
    EXPECT_EQ(b->InsertMarkY(), -1);
    EXPECT_EQ(a->m_hWndLastTarget.data(), nullptr);
}

TEST_F(InterDragListBox, FromAOverBAndBackLeavesNoMarkInB)
{
    a->SetCurSel(0);
    StartDrag(a, ItemCenter(a, 0), Across(a, b->viewport(), ItemCenter(b, 2)));
    ASSERT_GE(b->m_nInsertIndex, 0);
    ASSERT_GE(b->InsertMarkY(), 0);

    MoveTo(a, ItemCenter(a, 3));
    EXPECT_EQ(b->InsertMarkY(), -1);
    EXPECT_EQ(b->m_nScrollTimer, 0u);
    EXPECT_GE(a->m_nInsertIndex, 0);
    EXPECT_EQ(a->m_hWndLastTarget.data(), a);

    Release(a, ItemCenter(a, 3));
    EXPECT_EQ(SongOrder(a), (std::vector<int>{1, 2, 0, 3, 4}));
    EXPECT_EQ(SongOrder(b), (std::vector<int>{0, 1, 2}));
}

TEST_F(InterDragListBox, DropOnAWidgetThatIsNoListChangesNothing)
{
    a->SetCurSel(2);
    const QPoint overOther = Across(a, other, other->rect().center());
    StartDrag(a, ItemCenter(a, 2), overOther);
    ASSERT_NE(QApplication::overrideCursor(), nullptr);
    EXPECT_EQ(QApplication::overrideCursor()->shape(), Qt::ForbiddenCursor);
    EXPECT_EQ(a->m_hWndLastTarget.data(), nullptr);
    EXPECT_EQ(a->m_nInsertIndex, -1) << "leaving the source erased its mark";
    EXPECT_EQ(b->m_nInsertIndex, -1);
    Release(a, overOther);

    EXPECT_EQ(SongOrder(a), (std::vector<int>{0, 1, 2, 3, 4}));
    EXPECT_EQ(SongOrder(b), (std::vector<int>{0, 1, 2}));
    EXPECT_EQ(a->GetItemData(2), 102u);
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

} // namespace
