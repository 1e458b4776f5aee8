#pragma once
// A transparent, mouse-transparent layer over a list box's parent that paints the two arrow heads
// of the insertion mark, whose bodies lie outside the list box. The list paints the line itself.
// Threading: user-interface thread only.

#include <QPolygon>
#include <QWidget>

class CInsertMarkOverlay : public QWidget
{
    Q_OBJECT

public:
    explicit CInsertMarkOverlay(QWidget* parent);

    // Arrows in the parent's coordinates; an empty pair hides them. Repaints old and new areas.
    void SetArrows(const QPolygon& left, const QPolygon& right);
    bool HasArrows() const { return !m_left.isEmpty(); }

protected:
    void paintEvent(QPaintEvent* e) override;

private:
    QPolygon m_left;
    QPolygon m_right;
};
