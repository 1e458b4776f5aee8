#pragma once
// The demo's transport bar: the control's toolbar buttons, the position row (elapsed, slider, total)
// and the options (repeat, shuffle, volume). Wide windows get one row; as the window narrows the
// position row moves above the buttons, then the options get a row of their own, so every control
// stays on screen down to the width of the widest group.
//
// Threading: GUI thread only.

#include <QWidget>

class QGridLayout;

class TransportBar : public QWidget
{
    Q_OBJECT

public:
    TransportBar(QWidget* buttons, QWidget* position, QWidget* options, QWidget* parent);

    // 1, 2 or 3: how many rows the current width needs.
    int Rows() const { return m_rows; }
    QSize minimumSizeHint() const override;

protected:
    void resizeEvent(QResizeEvent* e) override;

private:
    int RowsFor(int width) const;
    void Arrange(int rows);

    QWidget* m_buttons;
    QWidget* m_position;
    QWidget* m_options;
    QGridLayout* m_layout;
    int m_rows = 0;
};
