// Moving, renumbering and deleting the items of the drag list box.
#include "controls/CDragListBoxEx.h"

#include "controls/ItemNumbering.h"
#include "controls/PlaylistArrays.h"

namespace {

// Restores the selection and the current row of a list after its items were re-added.
class CSelectionSnapshot
{
public:
    explicit CSelectionSnapshot(const CDragListBoxEx& list)
        : m_rows(list.IsMultiSelection() ? list.GetSelItems() : QList<int>{list.GetCurSel()}),
          m_current(list.currentRow())
    {
    }

    void Restore(CDragListBoxEx& list) const
    {
        if (list.IsMultiSelection()) {
            if (m_current >= 0 && m_current < list.GetCount())
                list.setCurrentRow(m_current, QItemSelectionModel::NoUpdate);
            for (int row : m_rows)
                list.SetSel(row, TRUE);
        } else if (m_rows.first() >= 0) {
            list.SetCurSel(m_rows.first());
        }
    }

private:
    QList<int> m_rows;
    int m_current;
};

QList<int> SelectedIndices(const CDragListBoxEx& list)
{
    if (list.IsMultiSelection())
        return list.GetSelItems();
    return {list.GetCurSel()};
}

} // namespace

int CDragListBoxEx::CollectSelectedItems(CStringArray& texts, CDWordArray& data, int* pInsertIndex, BOOL bDelete)
{
    QList<int> selected = SelectedIndices(*this);
    // A single-selection list without a selection has nothing to collect.
    selected.removeIf([this](int index) { return index < 0 || index >= GetCount(); });
    const int n = static_cast<int>(selected.size());
    texts.SetSize(n);
    data.SetSize(n);
    for (int i = n - 1; i >= 0; --i) {
        const int index = selected[i];
        texts.SetAt(i, GetText(index));
        data.SetAt(i, GetItemData(index));
        if (bDelete) {
            DeleteString(index);
            if (pInsertIndex && index < *pInsertIndex)
                --*pInsertIndex;
        }
    }
    return n;
}

void CDragListBoxEx::InsertItems(CStringArray& texts, CDWordArray& data, int nIndex)
{
    const bool multi = IsMultiSelection();
    if (multi)
        SetSel(-1, FALSE);
    // Selecting item by item while inserting costs a selection update per row; the items are
    // collected and selected together at the end, with the same result.
    QList<QListWidgetItem*> inserted;
    for (int i = 0; i < texts.GetSize(); ++i) {
        const int pos = IsSorted() ? AddString(texts[i]) : InsertString(nIndex + i, texts[i]);
        if (pos < 0)
            continue; // an insert position outside the list inserts nothing, as the list box's message
        SetItemData(pos, data[i]);
        inserted.append(item(pos));
    }
    if (inserted.isEmpty())
        return;
    if (!multi) {
        SetCurSel(row(inserted.last()));
        return;
    }
    QItemSelection selection;
    for (QListWidgetItem* it : inserted) {
        const QModelIndex index = indexFromItem(it);
        selection.select(index, index);
    }
    selectionModel()->select(selection, QItemSelectionModel::Select);
}

void CDragListBoxEx::RenumberList(CStringArray& texts, CDWordArray& data)
{
    const int n = GetCount();
    QStringList renumbered;
    renumbered.reserve(n);
    for (int i = 0; i < n; ++i)
        renumbered.append(RenumberedItemText(GetText(i), i + 1));

    const CSelectionSnapshot selection(*this);
    const bool redraw = updatesEnabled();
    SetRedraw(FALSE);
    ResetContent();
    addItems(renumbered);
    selection.Restore(*this);
    SetRedraw(redraw);

    // Deliberately as built: the re-added items carry no data word (0), so callers must keep their
    // own arrays beside the items rather than rely on item data across a reorder.
    texts.SetSize(n);
    data.SetSize(n);
    for (int i = 0; i < n; ++i) {
        texts.SetAt(i, renumbered[i]);
        data.SetAt(i, GetItemData(i));
    }
    RenumberItems();
}

void CDragListBoxEx::DeleteSelectedItems()
{
    // The dialog data exchange around this step has no counterpart here: the list is the only store.
    const bool redraw = updatesEnabled();
    SetRedraw(FALSE);
    const bool multi = IsMultiSelection();
    const QList<int> selected = SelectedIndices(*this);

    auto* host = dynamic_cast<IPlaylistArraysHost*>(parentWidget());
    IPlaylistArrays* arrays = host ? host->GetPlaylistArrays() : nullptr;
    auto select = [this, multi](int index) {
        if (multi)
            SetSel(index, TRUE);
        else
            SetCurSel(index);
    };
    for (int i = static_cast<int>(selected.size()) - 1; i >= 0; --i) {
        const int index = selected[i];
        StopAutoScroll();
        // Index -1 (no current selection) deletes nothing, and the arrays must stay in step.
        if (DeleteString(index) >= 0 && arrays)
            arrays->RemoveEntryAt(index);
        select(index);
        if (index == GetCount() && GetCount() > 0)
            select(index - 1);
    }

    const int n = GetCount();
    QStringList renumbered;
    CDWordArray data;
    renumbered.reserve(n);
    data.SetSize(n);
    for (int i = 0; i < n; ++i) {
        renumbered.append(RenumberedAfterDelete(GetText(i), i + 1));
        data.SetAt(i, GetItemData(i));
    }
    ResetContent();
    addItems(renumbered);
    for (int i = 0; i < n; ++i)
        SetItemData(i, data[i]);

    if (multi)
        SetSel(-1, FALSE);
    else
        SetCurSel(-1);
    if (!selected.isEmpty())
        select(selected.first());
    SetRedraw(redraw);
}

void CDragListBoxEx::SelectAllItems()
{
    const bool redraw = updatesEnabled();
    SetRedraw(FALSE);
    SetSel(-1, TRUE);
    SetRedraw(redraw);
}
