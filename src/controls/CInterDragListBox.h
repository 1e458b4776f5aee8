#pragma once
// A drag list box whose selected items can also be dragged into another list box of this class (or
// a class derived from it). The insertion mark follows whichever list box is under the mouse; a
// move between lists keeps the items' data words and renumbers neither list.
//
// Threading: user-interface thread only.

#include <QPointer>

#include "controls/CDragListBoxEx.h"
#include "tunivox_export.h"

class TUNIVOX_EXPORT CInterDragListBox : public CDragListBoxEx
{
    Q_OBJECT

public:
    explicit CInterDragListBox(QWidget* parent = nullptr);
    ~CInterDragListBox() override;

    UINT Dragging(QPoint ptScreen) override;
    void Dropped(QPoint ptScreen) override;
    void EndDrag() override;

    // The drag list box under a screen point, or null when the widget there is not one.
    static CInterDragListBox* TargetFromPoint(QPoint ptScreen);
    // Erases the insertion mark of the list that last had the feedback and stops its auto-scroll.
    void ClearLastTarget();
    void MoveItemsTo(CDragListBoxEx* pTarget, int nIndex);

    // The list box that last received the drag feedback (this one or another); null when none.
    QPointer<CInterDragListBox> m_hWndLastTarget;
};
