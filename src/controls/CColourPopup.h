#pragma once
// The drop-down of a colour button: "Automatic" (the default colour), the 40 named colours of the
// office palette (each name as its tool tip) and "More Colors..." (the system colour dialog).
// Choosing emits ColourSelected (CLR_DEFAULT for "Automatic") and closes the popup; closing it any
// other way emits SelectionCancelled.
//
// Threading: user-interface thread only.

#include <QFrame>
#include <functional>
#include <optional>

#include "platform/ColorRef.h"
#include "tunivox_export.h"

class QToolButton;
class QPushButton;

class TUNIVOX_EXPORT CColourPopup : public QFrame
{
    Q_OBJECT

public:
    // Asks the user for any colour, starting from `current`; nullopt when cancelled.
    using CustomColourChooser = std::function<std::optional<COLORREF>(COLORREF current, QWidget* parent)>;

    CColourPopup(COLORREF crCurrent, COLORREF crDefault, QWidget* parent = nullptr);

    // Shows the popup below `anchor`, kept on the anchor's screen.
    void PopupBelow(QWidget* anchor);
    void SetCustomColourChooser(CustomColourChooser chooser) { m_fnChooseCustom = std::move(chooser); }

    QToolButton* ColourCell(int nIndex) const;
    QToolButton* AutomaticButton() const { return m_pAutomatic; }
    QPushButton* MoreColoursButton() const { return m_pMore; }

signals:
    void ColourSelected(COLORREF crColour);
    void SelectionCancelled();

protected:
    void hideEvent(QHideEvent* e) override;

private:
    void Choose(COLORREF crColour);
    void ChooseCustom();

    COLORREF m_crCurrent;
    bool m_bChosen = false;
    QToolButton* m_pAutomatic = nullptr;
    QPushButton* m_pMore = nullptr;
    QList<QToolButton*> m_cells;
    CustomColourChooser m_fnChooseCustom;
};
