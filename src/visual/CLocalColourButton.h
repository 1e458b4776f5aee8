#pragma once
// A minimal colour button for the options dialog, with the interface of the controls' CColorButton
// (GetColour, SetColour, ColourChanged), to be replaced by it once that is available.
//
// Threading: GUI thread only.

#include <QPushButton>

#include "platform/ColorRef.h"
#include "tunivox_export.h"

class TUNIVOX_EXPORT CLocalColourButton : public QPushButton
{
    Q_OBJECT
public:
    explicit CLocalColourButton(QWidget* parent = nullptr);

    COLORREF GetColour() const { return m_clrColour; }
    void SetColour(COLORREF clrColour);

signals:
    void ColourChanged(COLORREF clrColour);

private:
    void Pick();
    void UpdateSwatch();

    COLORREF m_clrColour = 0;
};
