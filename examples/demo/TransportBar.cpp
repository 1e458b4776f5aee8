#include "TransportBar.h"

#include <QGridLayout>
#include <QResizeEvent>

namespace {

// In one row the position slider gets at least this much more than its minimum: a one-row bar whose
// slider is a stub is worse than two rows.
constexpr int kOneRowSliderSlack = 120;

// What a layout will grant the group at least: an explicit minimum wins over the hint.
int MinimumWidth(const QWidget* group)
{
    return std::max(group->minimumWidth(), group->minimumSizeHint().width());
}

} // namespace

TransportBar::TransportBar(QWidget* buttons, QWidget* position, QWidget* options, QWidget* parent)
    : QWidget(parent), m_buttons(buttons), m_position(position), m_options(options), m_layout(new QGridLayout(this))
{
    m_layout->setContentsMargins(10, 6, 10, 6);
    m_layout->setHorizontalSpacing(12);
    m_layout->setVerticalSpacing(4);
    for (QWidget* group : {m_buttons, m_position, m_options})
        group->setParent(this);
    Arrange(1);
}

int TransportBar::RowsFor(int width) const
{
    const QMargins m = m_layout->contentsMargins();
    const int room = width - m.left() - m.right();
    const int gap = m_layout->horizontalSpacing();
    const int buttons = MinimumWidth(m_buttons);
    const int position = MinimumWidth(m_position);
    const int options = MinimumWidth(m_options);
    if (room >= buttons + position + kOneRowSliderSlack + options + 2 * gap)
        return 1;
    if (room >= std::max(position, buttons + options + gap))
        return 2;
    return 3;
}

QSize TransportBar::minimumSizeHint() const
{
    const QMargins m = m_layout->contentsMargins();
    const int widest = std::max({MinimumWidth(m_buttons), MinimumWidth(m_position), MinimumWidth(m_options)});
    return {widest + m.left() + m.right(), m_layout->minimumSize().height()};
}

void TransportBar::resizeEvent(QResizeEvent* e)
{
    // Only the width decides the rows, so the new height this causes cannot switch them back.
    Arrange(RowsFor(e->size().width()));
    QWidget::resizeEvent(e);
}

void TransportBar::Arrange(int rows)
{
    if (rows == m_rows)
        return;
    m_rows = rows;
    for (QWidget* group : {m_buttons, m_position, m_options})
        m_layout->removeWidget(group);
    for (int column = 0; column < 3; ++column)
        m_layout->setColumnStretch(column, 0);

    switch (rows) {
    case 1:
        m_layout->addWidget(m_buttons, 0, 0);
        m_layout->addWidget(m_position, 0, 1);
        m_layout->addWidget(m_options, 0, 2);
        m_layout->setColumnStretch(1, 1);
        break;
    case 2:
        m_layout->addWidget(m_position, 0, 0, 1, 2);
        m_layout->addWidget(m_buttons, 1, 0, Qt::AlignLeft);
        m_layout->addWidget(m_options, 1, 1, Qt::AlignRight);
        m_layout->setColumnStretch(0, 1);
        m_layout->setColumnStretch(1, 1);
        break;
    default:
        m_layout->addWidget(m_position, 0, 0);
        m_layout->addWidget(m_buttons, 1, 0, Qt::AlignLeft);
        m_layout->addWidget(m_options, 2, 0, Qt::AlignLeft);
        m_layout->setColumnStretch(0, 1);
        break;
    }
}
