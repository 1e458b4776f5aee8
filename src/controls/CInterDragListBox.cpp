#include "controls/CInterDragListBox.h"

#include <QApplication>

#include "controls/DragCursor.h"

CInterDragListBox::CInterDragListBox(QWidget* parent) : CDragListBoxEx(parent) {}

CInterDragListBox::~CInterDragListBox()
{
    ClearLastTarget();
}

CInterDragListBox* CInterDragListBox::TargetFromPoint(QPoint ptScreen)
{
    // The list's viewport and scroll bars count as the list itself.
    for (QWidget* w = QApplication::widgetAt(ptScreen); w; w = w->parentWidget()) {
        if (auto* list = qobject_cast<CInterDragListBox*>(w))
            return list;
        if (w->isWindow() || qobject_cast<QAbstractScrollArea*>(w))
            return nullptr;
    }
    return nullptr;
}

UINT CInterDragListBox::Dragging(QPoint ptScreen)
{
    CInterDragListBox* target = TargetFromPoint(ptScreen);
    UINT result = 0;
    if (target == this)
        result = CDragListBoxEx::Dragging(ptScreen);
    else if (target)
        target->Dragging(ptScreen);
    else
        ShowNoDropCursor();
    if (target != m_hWndLastTarget.data()) {
        ClearLastTarget();
        m_hWndLastTarget = target;
    }
    return result;
}

void CInterDragListBox::Dropped(QPoint ptScreen)
{
    CInterDragListBox* target = TargetFromPoint(ptScreen);
    if (target == this)
        CDragListBoxEx::Dropped(ptScreen);
    else if (target)
        MoveItemsTo(target, target->InsertIndexFromPoint(ptScreen));
}

void CInterDragListBox::EndDrag()
{
    CDragListBoxEx::EndDrag();
    ClearLastTarget();
}

void CInterDragListBox::ClearLastTarget()
{
    if (CInterDragListBox* last = m_hWndLastTarget.data()) {
        last->EraseInsertMark();
        last->StopAutoScroll();
    }
    m_hWndLastTarget = nullptr;
}

void CInterDragListBox::MoveItemsTo(CDragListBoxEx* pTarget, int nIndex)
{
    const int top = GetTopIndex();
    CStringArray texts;
    CDWordArray data;
    CollectSelectedItems(texts, data, nullptr, TRUE);
    // Deliberately no renumbering of either list on a move between lists.
    pTarget->InsertItems(texts, data, nIndex);
    SetTopIndex(top);
}
