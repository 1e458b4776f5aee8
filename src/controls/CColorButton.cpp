#include "controls/CColorButton.h"

#include <QCoreApplication>
#include <QPainter>
#include <QStyleOptionButton>

#include "platform/UserMessages.h"

CColorButton::CColorButton(QWidget* parent) : QPushButton(parent)
{
    connect(this, &QPushButton::clicked, this, &CColorButton::ShowPopup);
}

CColorButton::~CColorButton()
{
    // An open popup is our child; it must not call back into a button that is half destroyed.
    if (m_pPopup) {
        m_pPopup->disconnect(this);
        delete m_pPopup.data();
    }
}

void CColorButton::SetColour(COLORREF crColour)
{
    m_crColour = crColour;
    update();
}

void CColorButton::SetDefaultColour(COLORREF crColour)
{
    m_crDefault = crColour;
    update();
}

QSize CColorButton::sizeHint() const
{
    return {64, QPushButton::sizeHint().height()};
}

void CColorButton::ShowPopup()
{
    if (m_pPopup)
        return;
    m_pPopup = new CColourPopup(m_crColour, m_crDefault, this);
    connect(m_pPopup, &CColourPopup::ColourSelected, this, &CColorButton::OnColourSelected);
    setDown(true);
    connect(m_pPopup, &QObject::destroyed, this, [this] { setDown(false); });
    m_pPopup->PopupBelow(this);
}

void CColorButton::OnColourSelected(COLORREF crColour)
{
    SetColour(crColour);
    emit ColourChanged(crColour);
    if (QWidget* parent = parentWidget()) {
        QCoreApplication::postEvent(parent, new CUserMessageEvent(WM_COLOUR_CHANGED, crColour,
                                                                  static_cast<std::intptr_t>(m_nControlId)));
    }
}

void CColorButton::paintEvent(QPaintEvent* e)
{
    QPushButton::paintEvent(e);
    QStyleOptionButton option;
    initStyleOption(&option);
    const QRect contents = style()->subElementRect(QStyle::SE_PushButtonContents, &option, this);
    const int arrowWidth = std::max(8, contents.height() / 2);
    const QRect swatch = contents.adjusted(2, 2, -(arrowWidth + 6), -2);

    QPainter painter(this);
    const QColor frame = palette().color(isEnabled() ? QPalette::Active : QPalette::Disabled, QPalette::ButtonText);
    if (swatch.width() > 2 && swatch.height() > 2) {
        painter.setPen(frame);
        painter.setBrush(isEnabled() ? ColorFromColorRef(GetDisplayedColour()) : palette().color(QPalette::Button));
        painter.drawRect(swatch.adjusted(0, 0, -1, -1));
    }
    // Separator and drop-down arrow.
    const int sepX = swatch.right() + 3;
    painter.setPen(palette().color(QPalette::Mid));
    painter.drawLine(sepX, contents.top() + 2, sepX, contents.bottom() - 2);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(frame);
    const QPointF centre(sepX + 3 + arrowWidth / 2.0, contents.center().y() + 1);
    const double half = arrowWidth / 3.0;
    painter.drawPolygon(QPolygonF({centre + QPointF(-half, -half / 2), centre + QPointF(half, -half / 2),
                                   centre + QPointF(0, half / 2)}));
}
