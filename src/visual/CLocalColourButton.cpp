#include "visual/CLocalColourButton.h"

#include <QColorDialog>
#include <QPainter>

CLocalColourButton::CLocalColourButton(QWidget* parent) : QPushButton(parent)
{
    setMinimumWidth(60);
    connect(this, &QPushButton::clicked, this, &CLocalColourButton::Pick);
    UpdateSwatch();
}

void CLocalColourButton::SetColour(COLORREF clrColour)
{
    m_clrColour = clrColour & 0x00FFFFFFu;
    UpdateSwatch();
}

void CLocalColourButton::Pick()
{
    const QColor chosen = QColorDialog::getColor(ColorFromColorRef(m_clrColour), this);
    if (!chosen.isValid())
        return;
    SetColour(ColorRefFromColor(chosen));
    emit ColourChanged(m_clrColour);
}

void CLocalColourButton::UpdateSwatch()
{
    QPixmap swatch(40, 12);
    swatch.fill(ColorFromColorRef(m_clrColour));
    QPainter(&swatch).drawRect(0, 0, 39, 11);
    setIcon(QIcon(swatch));
    setIconSize(swatch.size());
}
