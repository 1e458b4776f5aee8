#include "controls/CColourPopup.h"

#include <QColorDialog>
#include <QGridLayout>
#include <QHideEvent>
#include <QPainter>
#include <QPushButton>
#include <QScreen>
#include <QToolButton>
#include <QVBoxLayout>

#include "controls/OfficePalette.h"

namespace {

constexpr int kCellSize = 18;

QIcon SwatchIcon(COLORREF crColour, int size)
{
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setPen(QColor(0x80, 0x80, 0x80));
    painter.setBrush(ColorFromColorRef(crColour));
    painter.drawRect(0, 0, size - 1, size - 1);
    return QIcon(pixmap);
}

std::optional<COLORREF> AskSystemDialog(COLORREF crCurrent, QWidget* parent)
{
    const QColor initial = crCurrent == CLR_DEFAULT ? QColor(Qt::white) : ColorFromColorRef(crCurrent);
    const QColor chosen = QColorDialog::getColor(initial, parent, QStringLiteral("Colors"));
    if (!chosen.isValid())
        return std::nullopt;
    return ColorRefFromColor(chosen);
}

} // namespace

CColourPopup::CColourPopup(COLORREF crCurrent, COLORREF crDefault, QWidget* parent)
    : QFrame(parent, Qt::Popup), m_crCurrent(crCurrent), m_fnChooseCustom(AskSystemDialog)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setFrameStyle(QFrame::StyledPanel | QFrame::Raised);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(4, 4, 4, 4);
    layout->setSpacing(4);

    m_pAutomatic = new QToolButton(this);
    m_pAutomatic->setText(QStringLiteral("Automatic"));
    m_pAutomatic->setIcon(SwatchIcon(crDefault, kCellSize - 4));
    m_pAutomatic->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    m_pAutomatic->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    m_pAutomatic->setAutoRaise(true);
    m_pAutomatic->setCheckable(true);
    m_pAutomatic->setChecked(crCurrent == CLR_DEFAULT);
    connect(m_pAutomatic, &QToolButton::clicked, this, [this] { Choose(CLR_DEFAULT); });
    layout->addWidget(m_pAutomatic);

    auto* grid = new QGridLayout;
    grid->setSpacing(1);
    const auto& palette = OfficePalette();
    for (int i = 0; i < int(palette.size()); ++i) {
        const CNamedColour& entry = palette[std::size_t(i)];
        auto* cell = new QToolButton(this);
        cell->setIcon(SwatchIcon(entry.crColour, kCellSize - 4));
        cell->setIconSize(QSize(kCellSize - 4, kCellSize - 4));
        cell->setFixedSize(kCellSize + 2, kCellSize + 2);
        cell->setToolTip(QString::fromLatin1(entry.szName));
        cell->setAccessibleName(cell->toolTip());
        cell->setAutoRaise(true);
        cell->setCheckable(true);
        cell->setChecked(entry.crColour == crCurrent);
        const COLORREF colour = entry.crColour;
        connect(cell, &QToolButton::clicked, this, [this, colour] { Choose(colour); });
        grid->addWidget(cell, i / kPaletteColumns, i % kPaletteColumns);
        m_cells.append(cell);
    }
    layout->addLayout(grid);

    m_pMore = new QPushButton(QStringLiteral("More Colors..."), this);
    m_pMore->setFlat(true);
    connect(m_pMore, &QPushButton::clicked, this, &CColourPopup::ChooseCustom);
    layout->addWidget(m_pMore);
}

QToolButton* CColourPopup::ColourCell(int nIndex) const
{
    return nIndex >= 0 && nIndex < m_cells.size() ? m_cells[nIndex] : nullptr;
}

void CColourPopup::PopupBelow(QWidget* anchor)
{
    adjustSize();
    QPoint pos = anchor->mapToGlobal(QPoint(0, anchor->height()));
    if (const QScreen* screen = anchor->screen()) {
        const QRect area = screen->availableGeometry();
        if (pos.y() + height() > area.bottom())
            pos.setY(anchor->mapToGlobal(QPoint(0, 0)).y() - height());
        pos.setX(std::clamp(pos.x(), area.left(), std::max(area.left(), area.right() - width())));
    }
    move(pos);
    show();
}

void CColourPopup::Choose(COLORREF crColour)
{
    m_bChosen = true;
    emit ColourSelected(crColour);
    close();
}

void CColourPopup::ChooseCustom()
{
    // The dialog would take the focus from the popup anyway; hide first so it does not close twice.
    m_bChosen = true;
    hide();
    const std::optional<COLORREF> chosen = m_fnChooseCustom ? m_fnChooseCustom(m_crCurrent, parentWidget())
                                                            : std::nullopt;
    if (chosen)
        emit ColourSelected(*chosen);
    else
        emit SelectionCancelled();
    close();
}

void CColourPopup::hideEvent(QHideEvent* e)
{
    QFrame::hideEvent(e);
    if (!m_bChosen) {
        m_bChosen = true;
        emit SelectionCancelled();
    }
}
