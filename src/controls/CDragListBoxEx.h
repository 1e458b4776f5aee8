#pragma once
// A list box whose items are reordered by dragging them with the left mouse button. It shows an
// insertion mark where the items will land, scrolls itself while the mouse is held near its top or
// bottom edge, keeps the items numbered ("1. text") and turns keys into calls of virtual player
// commands that a derived player control overrides (the bodies here are empty).
//
// The drag is the list's own state machine (mouse grab, system drag distance, a 50 ms timer), not
// Qt's item drag and drop: a drop moves items exactly once, so rows are never duplicated or lost.
// Items are strings with a 32-bit data word each (stored under ItemDataRole).
//
// Threading: everything runs on the user-interface thread that owns the widget.

#include <QListWidget>
#include <QPoint>
#include <QPointer>
#include <cstdint>

#include "controls/ControlTypes.h"
#include "platform/CStringArray.h"
#include "platform/UserMessages.h"
#include "tunivox_export.h"

class CInsertMarkOverlay;

class TUNIVOX_EXPORT CDragListBoxEx : public QListWidget
{
    Q_OBJECT

public:
    // Timer id of the auto-scroll timer in the framework's numbering; Qt hands out its own id,
    // which is what m_nScrollTimer holds.
    static constexpr int kAutoScrollTimerEvent = 150;
    static constexpr int kAutoScrollPeriodMs = 50;
    // The item data word lives under this role.
    static constexpr int ItemDataRole = Qt::UserRole + 0x7D1;

    enum DragState { DragIdle = 0, DragArmed = 1, DragStarting = 2, DragActive = 3 };

    explicit CDragListBoxEx(QWidget* parent = nullptr);
    ~CDragListBoxEx() override;

    // Virtual operations, in slot order. The player commands are empty here.
    virtual BOOL BeginDrag(QPoint ptScreen);
    virtual void CancelDrag(QPoint ptScreen);
    virtual UINT Dragging(QPoint ptScreen);
    virtual void Dropped(QPoint ptScreen);
    virtual void EndDrag();
    virtual void IncreaseVolume();
    virtual void DecreaseVolume();
    virtual void SelectAllItems();
    virtual void PausePlay();
    virtual void ContinuePlay();
    virtual void ClearList();
    virtual void PlayNext();
    virtual void PlayPrevius();
    virtual void SaveToPlaylist();
    virtual void StopPlay();
    virtual void PlayPlay();
    virtual void StartTunivoxMplayer();
    virtual void RenumberItems();
    virtual void DrawInsert(int nIndex, BOOL bShow);

    // Receives the WM_USER messages the list posts to itself ("+", "-", "I" keys) and any other
    // CUserMessageEvent sent to it. Return true when handled.
    virtual bool UserMessage(CUserMessageEvent* pEvent);

    // Helpers.
    int InsertIndexFromPoint(QPoint ptScreen);
    void UpdateInsertMark(QPoint ptScreen);
    void EraseInsertMark();
    void CheckAutoScroll(QPoint ptScreen);
    void StopAutoScroll();
    int CollectSelectedItems(CStringArray& texts, CDWordArray& data, int* pInsertIndex, BOOL bDelete);
    void InsertItems(CStringArray& texts, CDWordArray& data, int nIndex);
    void RenumberList(CStringArray& texts, CDWordArray& data);
    // The Delete key: removes the selected items here and in the host's playlist arrays.
    void DeleteSelectedItems();

    // The list-box protocol the algorithms are written against. Index -1 in SetSel means every item;
    // operations that do not apply to the list's selection style fail with -1 and change nothing.
    int GetCount() const { return count(); }
    int GetTopIndex() const;
    int SetTopIndex(int nIndex);
    QString GetText(int nIndex) const;
    std::uint32_t GetItemData(int nIndex) const;
    int SetItemData(int nIndex, std::uint32_t dwData);
    int AddString(const QString& text);
    int InsertString(int nIndex, const QString& text);
    int DeleteString(int nIndex);
    void ResetContent();
    int GetSel(int nIndex) const;
    int SetSel(int nIndex, BOOL bSelect = TRUE);
    int GetSelCount() const;
    QList<int> GetSelItems() const;
    int GetCurSel() const;
    int SetCurSel(int nIndex);
    // Item rectangle in client (viewport) coordinates, bottom exclusive; false for a bad index.
    bool GetItemRect(int nIndex, QRect* pRect) const;
    int GetItemHeight() const;
    // Nearest item to a client point; bOutside tells whether the point lies outside every item.
    int ItemFromPoint(QPoint ptClient, bool& bOutside) const;
    // Item under a screen point, or -1 (the framework's LBItemFromPt without auto-scroll).
    int ItemFromScreenPoint(QPoint ptScreen) const;
    bool IsSorted() const { return isSortingEnabled(); }
    bool IsMultiSelection() const;
    bool IsExtendedSelection() const { return selectionMode() == QAbstractItemView::ExtendedSelection; }
    // Redrawing on/off (WM_SETREDRAW).
    void SetRedraw(BOOL bRedraw);

    // The y coordinate of the insertion mark in client coordinates while one is shown, else -1.
    int InsertMarkY() const { return m_nMarkY; }

    // Members, in the framework's order.
    int m_nDragState = DragIdle;
    QPoint m_ptButtonDown;
    int m_nScrollDir = 0;
    std::uintptr_t m_nScrollTimer = 0;
    BOOL m_bKeepSelection = FALSE;
    int m_nInsertIndex = -1;
    // Only guards against repeating a scroll step; -1 until the first step.
    int m_nLastTopIndex = -1;

protected:
    bool event(QEvent* e) override;
    void mousePressEvent(QMouseEvent* e) override;
    void mouseMoveEvent(QMouseEvent* e) override;
    void mouseReleaseEvent(QMouseEvent* e) override;
    void timerEvent(QTimerEvent* e) override;
    void paintEvent(QPaintEvent* e) override;

    // The keyboard table; true when the key was eaten.
    virtual bool PreTranslateKey(QKeyEvent* e);

    // True when the widget under ptScreen is this list box (its viewport and scroll bars included).
    bool IsListAtPoint(QPoint ptScreen) const;
    QPoint ClientToScreen(QPoint ptClient) const;
    QPoint ScreenToClient(QPoint ptScreen) const;
    void EnsureLayout() const;

private:
    void EndDragState();
    void ShowMarkArrows(int y, bool bShow);
    void PostToSelf(QEvent::Type type);

    int m_nMarkY = -1;
    QPointer<CInsertMarkOverlay> m_pOverlay;
};
