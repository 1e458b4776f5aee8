// The drag state machine, auto-scroll and insertion mark of the drag list box.
#include "controls/CDragListBoxEx.h"

#include <QApplication>
#include <QCursor>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <QTimerEvent>
#include <cstdlib>

#include "controls/DragCursor.h"
#include "controls/InsertMarkOverlay.h"

CDragListBoxEx::CDragListBoxEx(QWidget* parent) : QListWidget(parent)
{
    // Item arithmetic (top index, hit tests) relies on rows of one height scrolled row by row.
    setUniformItemSizes(true);
    setVerticalScrollMode(QAbstractItemView::ScrollPerItem);
    setDragDropMode(QAbstractItemView::NoDragDrop);
    setDragEnabled(false);
}

CDragListBoxEx::~CDragListBoxEx()
{
    CDragListBoxEx::EndDrag();
    delete m_pOverlay.data();
}

// ---- empty player commands, overridden by the player control ----
void CDragListBoxEx::IncreaseVolume() {}
void CDragListBoxEx::DecreaseVolume() {}
void CDragListBoxEx::PausePlay() {}
void CDragListBoxEx::ContinuePlay() {}
void CDragListBoxEx::ClearList() {}
void CDragListBoxEx::PlayNext() {}
void CDragListBoxEx::PlayPrevius() {}
void CDragListBoxEx::SaveToPlaylist() {}
void CDragListBoxEx::StopPlay() {}
void CDragListBoxEx::PlayPlay() {}
void CDragListBoxEx::StartTunivoxMplayer() {}
void CDragListBoxEx::RenumberItems() {}

bool CDragListBoxEx::UserMessage(CUserMessageEvent*)
{
    return false;
}

// ---- coordinates ----
QPoint CDragListBoxEx::ClientToScreen(QPoint ptClient) const
{
    return viewport()->mapToGlobal(ptClient);
}

QPoint CDragListBoxEx::ScreenToClient(QPoint ptScreen) const
{
    return viewport()->mapFromGlobal(ptScreen);
}

void CDragListBoxEx::EnsureLayout() const
{
    // Geometry queries must see the items added since the last event loop pass.
    const_cast<CDragListBoxEx*>(this)->executeDelayedItemsLayout();
}

bool CDragListBoxEx::IsListAtPoint(QPoint ptScreen) const
{
    for (QWidget* w = QApplication::widgetAt(ptScreen); w; w = w->parentWidget()) {
        if (w == this)
            return true;
        if (w->isWindow() || qobject_cast<QAbstractScrollArea*>(w))
            return false;
    }
    return false;
}

// ---- mouse ----
void CDragListBoxEx::mousePressEvent(QMouseEvent* e)
{
    if (e->button() == Qt::RightButton) {
        // No selection change on a right click; the player control handles it.
        e->accept();
        return;
    }
    if (e->button() != Qt::LeftButton) {
        QListWidget::mousePressEvent(e);
        return;
    }
    const QPoint pt = e->position().toPoint();
    if (m_nDragState == DragIdle) {
        m_nDragState = DragArmed;
        m_ptButtonDown = pt;
        viewport()->grabMouse();
    }
    const bool modifier = e->modifiers() & (Qt::ShiftModifier | Qt::ControlModifier);
    m_bKeepSelection = IsExtendedSelection() && GetSelCount() >= 2 && !modifier;
    if (!m_bKeepSelection)
        QListWidget::mousePressEvent(e);
}

void CDragListBoxEx::mouseMoveEvent(QMouseEvent* e)
{
    const QPoint pt = e->position().toPoint();
    if (m_nDragState == DragArmed) {
        if (e->modifiers() & (Qt::ShiftModifier | Qt::ControlModifier)) {
            QListWidget::mouseMoveEvent(e);
        } else {
            const int threshold = QApplication::startDragDistance();
            const bool beyond = std::abs(pt.x() - m_ptButtonDown.x()) > threshold
                                || std::abs(pt.y() - m_ptButtonDown.y()) > threshold;
            if (beyond && BeginDrag(ClientToScreen(pt)))
                m_nDragState = DragActive;
        }
    } else if (m_nDragState == DragIdle) {
        QListWidget::mouseMoveEvent(e);
    }
    if (m_nDragState == DragActive)
        Dragging(ClientToScreen(pt));
}

void CDragListBoxEx::mouseReleaseEvent(QMouseEvent* e)
{
    if (e->button() == Qt::RightButton) {
        e->accept();
        return;
    }
    if (e->button() != Qt::LeftButton) {
        QListWidget::mouseReleaseEvent(e);
        return;
    }
    const QPoint ptScreen = ClientToScreen(e->position().toPoint());
    switch (m_nDragState) {
    case DragArmed:
        if (m_bKeepSelection) {
            SetSel(-1, FALSE);
            const int index = ItemFromScreenPoint(ptScreen);
            if (index >= 0)
                SetSel(index, TRUE);
        } else {
            // The view saw the press, so it must see the release to finish its click.
            QListWidget::mouseReleaseEvent(e);
        }
        EndDrag();
        break;
    case DragActive:
        EndDrag();
        Dropped(ptScreen);
        break;
    default:
        QListWidget::mouseReleaseEvent(e);
        break;
    }
}

// ---- drag operations ----
BOOL CDragListBoxEx::BeginDrag(QPoint)
{
    m_nInsertIndex = -1;
    m_nDragState = DragStarting;
    // In the starting state this release goes to the view and ends its own click tracking.
    QMouseEvent up(QEvent::MouseButtonRelease, m_ptButtonDown, ClientToScreen(m_ptButtonDown), Qt::LeftButton,
                   Qt::NoButton, Qt::NoModifier);
    QCoreApplication::sendEvent(viewport(), &up);
    if (QWidget::mouseGrabber() != viewport())
        viewport()->grabMouse();
    return TRUE;
}

void CDragListBoxEx::CancelDrag(QPoint)
{
    EndDrag();
}

UINT CDragListBoxEx::Dragging(QPoint ptScreen)
{
    CheckAutoScroll(ptScreen);
    UpdateInsertMark(ptScreen);
    if (IsListAtPoint(ptScreen))
        ShowDragCursor();
    else
        ShowNoDropCursor();
    return 0;
}

void CDragListBoxEx::EndDrag()
{
    if (QWidget::mouseGrabber() == viewport())
        viewport()->releaseMouse();
    StopAutoScroll();
    EraseInsertMark();
    if (m_nDragState == DragActive)
        RestoreDragCursor();
    m_nDragState = DragIdle;
    m_bKeepSelection = FALSE;
}

void CDragListBoxEx::Dropped(QPoint ptScreen)
{
    if (IsSorted())
        return;
    int index = InsertIndexFromPoint(ptScreen);
    const int top = GetTopIndex();
    CStringArray texts;
    CDWordArray data;
    CollectSelectedItems(texts, data, &index, TRUE);
    InsertItems(texts, data, index);
    RenumberList(texts, data);
    SetTopIndex(top);
}

// ---- auto-scroll ----
void CDragListBoxEx::CheckAutoScroll(QPoint ptScreen)
{
    const QRect client = viewport()->rect();
    QRect first;
    const int itemHeight = GetItemRect(0, &first) ? first.height() : 0;
    const QPoint pt = ScreenToClient(ptScreen);
    if (pt.y() < client.top() + itemHeight)
        m_nScrollDir = -1;
    else if (pt.y() < client.top() + client.height() - itemHeight)
        m_nScrollDir = 0;
    else
        m_nScrollDir = 1;
    // Deliberately left running when the direction returns to 0; it ticks idly until the drag ends.
    if (m_nScrollDir != 0 && m_nScrollTimer == 0)
        m_nScrollTimer = static_cast<std::uintptr_t>(startTimer(kAutoScrollPeriodMs));
}

void CDragListBoxEx::StopAutoScroll()
{
    if (m_nScrollTimer != 0) {
        killTimer(static_cast<int>(m_nScrollTimer));
        m_nScrollTimer = 0;
    }
}

void CDragListBoxEx::timerEvent(QTimerEvent* e)
{
    if (m_nScrollTimer == 0 || e->timerId() != static_cast<int>(m_nScrollTimer)) {
        QListWidget::timerEvent(e);
        return;
    }
    if (m_nScrollDir == 0)
        return;
    const int newTop = GetTopIndex() + m_nScrollDir;
    if (newTop != m_nLastTopIndex) {
        EraseInsertMark();
        SetTopIndex(newTop);
        UpdateInsertMark(QCursor::pos());
        m_nLastTopIndex = newTop;
    }
}

// ---- insertion mark ----
int CDragListBoxEx::InsertIndexFromPoint(QPoint ptScreen)
{
    const int n = GetCount();
    if (n == 0)
        return 0;
    QPoint pt = ptScreen;
    pt.ry() += GetItemHeight() / 2;
    pt = ScreenToClient(pt);
    bool outside = false;
    const int index = ItemFromPoint(pt, outside);
    if (index != n - 1)
        return index;
    if (outside)
        return n;
    QRect rect;
    if (GetItemRect(index, &rect) && pt.y() >= rect.top() + rect.height())
        return n;
    return index;
}

void CDragListBoxEx::UpdateInsertMark(QPoint ptScreen)
{
    if (IsSorted())
        return;
    const int index = InsertIndexFromPoint(ptScreen);
    if (index == m_nInsertIndex)
        return;
    EraseInsertMark();
    DrawInsert(index, TRUE);
    m_nInsertIndex = index;
}

void CDragListBoxEx::EraseInsertMark()
{
    if (m_nInsertIndex >= 0) {
        DrawInsert(m_nInsertIndex, FALSE);
        m_nInsertIndex = -1;
    }
}

void CDragListBoxEx::DrawInsert(int nIndex, BOOL bShow)
{
    const int n = GetCount();
    QRect rect;
    int y = 0;
    if (nIndex < n && GetItemRect(nIndex, &rect))
        y = rect.top();
    else if (n > 0 && GetItemRect(n - 1, &rect))
        y = rect.top() + rect.height();
    const int clientBottom = viewport()->height();
    if (y >= clientBottom)
        y = clientBottom - 1;

    const int oldY = m_nMarkY;
    m_nMarkY = bShow ? y : -1;
    const int width = viewport()->width();
    if (oldY >= 0)
        viewport()->update(0, oldY, width, 1);
    viewport()->update(0, y, width, 1);
    ShowMarkArrows(y, bShow);
}

void CDragListBoxEx::ShowMarkArrows(int y, bool bShow)
{
    QWidget* parent = parentWidget();
    if (!parent)
        return;
    if (!bShow) {
        if (m_pOverlay)
            m_pOverlay->SetArrows({}, {});
        return;
    }
    if (m_pOverlay && m_pOverlay->parentWidget() != parent)
        delete m_pOverlay.data();
    if (!m_pOverlay)
        m_pOverlay = new CInsertMarkOverlay(parent);

    auto arrow = [y](int x, int s) {
        return QPolygon({{x, y},
                         {x + 5 * s, y + 5},
                         {x + 5 * s, y + 2},
                         {x + 9 * s, y + 2},
                         {x + 9 * s, y - 1},
                         {x + 5 * s, y - 1},
                         {x + 5 * s, y - 5}});
    };
    const QPoint offset = viewport()->mapTo(parent, QPoint(0, 0));
    QPolygon left = arrow(0, -1);
    QPolygon right = arrow(viewport()->width(), 1);
    left.translate(offset);
    right.translate(offset);
    m_pOverlay->SetArrows(left, right);
}

void CDragListBoxEx::paintEvent(QPaintEvent* e)
{
    QListWidget::paintEvent(e);
    if (m_nMarkY < 0)
        return;
    QPainter painter(viewport());
    painter.setPen(QPen(Qt::black, 1));
    painter.drawLine(0, m_nMarkY, viewport()->width() - 1, m_nMarkY);
}
