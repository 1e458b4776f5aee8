#pragma once
// A push button that shows a colour and drops down a CColourPopup to choose another. A choice
// updates the button, emits ColourChanged and posts WM_COLOUR_CHANGED to the parent widget as a
// CUserMessageEvent (wParam = the colour, lParam = the button's control id).
// Colours are COLORREF (red in the low byte); CLR_DEFAULT means "Automatic", shown as the default
// colour.
//
// Threading: user-interface thread only.

#include <QPointer>
#include <QPushButton>

#include "controls/CColourPopup.h"
#include "platform/ColorRef.h"
#include "tunivox_export.h"

class TUNIVOX_EXPORT CColorButton : public QPushButton
{
    Q_OBJECT

public:
    explicit CColorButton(QWidget* parent = nullptr);
    ~CColorButton() override;

    COLORREF GetColour() const { return m_crColour; }
    void SetColour(COLORREF crColour);
    COLORREF GetDefaultColour() const { return m_crDefault; }
    void SetDefaultColour(COLORREF crColour);
    // The colour on show: the default one while "Automatic" is chosen.
    COLORREF GetDisplayedColour() const { return m_crColour == CLR_DEFAULT ? m_crDefault : m_crColour; }
    // The id sent as lParam of WM_COLOUR_CHANGED (a dialog's control id); 0 unless set.
    void SetControlId(int nId) { m_nControlId = nId; }
    int GetControlId() const { return m_nControlId; }

    // The popup while it is open, else null.
    CColourPopup* ActivePopup() const { return m_pPopup.data(); }
    void ShowPopup();

    QSize sizeHint() const override;

signals:
    void ColourChanged(COLORREF crColour);

protected:
    void paintEvent(QPaintEvent* e) override;

private:
    void OnColourSelected(COLORREF crColour);

    COLORREF m_crColour = CLR_DEFAULT;
    COLORREF m_crDefault = RGB(0, 0, 0);
    int m_nControlId = 0;
    QPointer<CColourPopup> m_pPopup;
};
