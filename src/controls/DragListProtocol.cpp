// The list-box protocol (count, selection, text, item data, geometry) on top of QListWidget.
#include "controls/CDragListBoxEx.h"

#include <QScrollBar>

namespace {

bool ValidIndex(const QListWidget* list, int index)
{
    return index >= 0 && index < list->count();
}

} // namespace

int CDragListBoxEx::GetTopIndex() const
{
    if (GetCount() == 0)
        return 0;
    EnsureLayout();
    const QModelIndex top = indexAt(QPoint(0, 0));
    return top.isValid() ? top.row() : 0;
}

int CDragListBoxEx::SetTopIndex(int nIndex)
{
    if (!ValidIndex(this, nIndex))
        return -1;
    EnsureLayout();
    // Rows are scrolled one per step, so the scroll value is the top row.
    verticalScrollBar()->setValue(nIndex);
    return 0;
}

QString CDragListBoxEx::GetText(int nIndex) const
{
    const QListWidgetItem* it = item(nIndex);
    return it ? it->text() : QString();
}

std::uint32_t CDragListBoxEx::GetItemData(int nIndex) const
{
    const QListWidgetItem* it = item(nIndex);
    return it ? it->data(ItemDataRole).toUInt() : 0u;
}

int CDragListBoxEx::SetItemData(int nIndex, std::uint32_t dwData)
{
    QListWidgetItem* it = item(nIndex);
    if (!it)
        return -1;
    it->setData(ItemDataRole, dwData);
    return 0;
}

int CDragListBoxEx::AddString(const QString& text)
{
    auto* it = new QListWidgetItem(text);
    addItem(it);
    return row(it);
}

int CDragListBoxEx::InsertString(int nIndex, const QString& text)
{
    if (nIndex < -1 || nIndex > GetCount())
        return -1;
    if (nIndex == -1)
        return AddString(text);
    auto* it = new QListWidgetItem(text);
    insertItem(nIndex, it);
    return row(it);
}

int CDragListBoxEx::DeleteString(int nIndex)
{
    if (!ValidIndex(this, nIndex))
        return -1;
    delete takeItem(nIndex);
    return GetCount();
}

void CDragListBoxEx::ResetContent()
{
    clear();
}

bool CDragListBoxEx::IsMultiSelection() const
{
    const auto mode = selectionMode();
    return mode == QAbstractItemView::MultiSelection || mode == QAbstractItemView::ExtendedSelection;
}

int CDragListBoxEx::GetSel(int nIndex) const
{
    const QListWidgetItem* it = item(nIndex);
    if (!it)
        return -1;
    return it->isSelected() ? 1 : 0;
}

int CDragListBoxEx::SetSel(int nIndex, BOOL bSelect)
{
    if (!IsMultiSelection())
        return -1;
    if (nIndex == -1) {
        if (bSelect)
            selectAll();
        else
            clearSelection();
        return 0;
    }
    QListWidgetItem* it = item(nIndex);
    if (!it)
        return -1;
    it->setSelected(bSelect != FALSE);
    return 0;
}

int CDragListBoxEx::GetSelCount() const
{
    if (!IsMultiSelection())
        return -1;
    return static_cast<int>(selectionModel()->selectedRows().size());
}

QList<int> CDragListBoxEx::GetSelItems() const
{
    QList<int> rows;
    if (!IsMultiSelection())
        return rows;
    const QModelIndexList selected = selectionModel()->selectedRows();
    rows.reserve(selected.size());
    for (const QModelIndex& index : selected)
        rows.append(index.row());
    std::sort(rows.begin(), rows.end());
    return rows;
}

int CDragListBoxEx::GetCurSel() const
{
    if (IsMultiSelection())
        return currentRow();
    const QModelIndexList selected = selectionModel()->selectedRows();
    return selected.isEmpty() ? -1 : selected.first().row();
}

int CDragListBoxEx::SetCurSel(int nIndex)
{
    if (IsMultiSelection())
        return -1;
    if (nIndex == -1) {
        clearSelection();
        return -1;
    }
    if (!ValidIndex(this, nIndex))
        return -1;
    setCurrentRow(nIndex, QItemSelectionModel::ClearAndSelect);
    return nIndex;
}

bool CDragListBoxEx::GetItemRect(int nIndex, QRect* pRect) const
{
    const QListWidgetItem* it = item(nIndex);
    if (!it)
        return false;
    EnsureLayout();
    *pRect = visualItemRect(it);
    return pRect->isValid();
}

int CDragListBoxEx::GetItemHeight() const
{
    QRect rect;
    if (GetItemRect(0, &rect))
        return rect.height();
    return fontMetrics().height();
}

int CDragListBoxEx::ItemFromPoint(QPoint ptClient, bool& bOutside) const
{
    bOutside = !viewport()->rect().contains(ptClient);
    const int n = GetCount();
    QRect topRect;
    if (n == 0 || !GetItemRect(GetTopIndex(), &topRect) || topRect.height() <= 0) {
        bOutside = true;
        return n == 0 ? -1 : 0;
    }
    // Clamp into the client area, then count whole rows from the top item.
    const int y = std::clamp(ptClient.y(), 0, std::max(0, viewport()->height() - 1));
    const int offset = y - topRect.top();
    const int rows = offset >= 0 ? offset / topRect.height() : -((-offset + topRect.height() - 1) / topRect.height());
    int index = GetTopIndex() + rows;
    if (index >= n) {
        index = n - 1;
        bOutside = true;
    } else if (index < 0) {
        index = 0;
        bOutside = true;
    }
    return index;
}

int CDragListBoxEx::ItemFromScreenPoint(QPoint ptScreen) const
{
    const QPoint pt = ScreenToClient(ptScreen);
    if (!viewport()->rect().contains(pt))
        return -1;
    const QModelIndex index = indexAt(pt);
    return index.isValid() ? index.row() : -1;
}

void CDragListBoxEx::SetRedraw(BOOL bRedraw)
{
    setUpdatesEnabled(bRedraw != FALSE);
}
