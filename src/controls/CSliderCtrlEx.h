#pragma once
// A horizontal track bar drawn with a coloured range: the part from the minimum to the thumb is a
// gradient fill, the rest a neutral channel. It reports changes through Scroll(code, position) with
// the track-bar codes below, the way a track bar notifies its parent: a drag sends TB_THUMBTRACK
// while moving, then TB_THUMBPOSITION and TB_ENDTRACK on release; keys and the wheel send their
// step code followed by TB_ENDTRACK. A press on the channel moves the thumb there and starts a drag.
//
// With m_bSuppressDefault set, the wheel handler returns at once without default handling and lets
// the event go on to the parent: the player sets it on its position slider, where a wheel turn
// meant for the window around it must never seek. Mouse and keys work as usual.
//
// Threading: user-interface thread only.

#include <QColor>
#include <QWidget>

#include "controls/ControlTypes.h"
#include "tunivox_export.h"

inline constexpr unsigned TB_LINEUP = 0;
inline constexpr unsigned TB_LINEDOWN = 1;
inline constexpr unsigned TB_PAGEUP = 2;
inline constexpr unsigned TB_PAGEDOWN = 3;
inline constexpr unsigned TB_THUMBPOSITION = 4;
inline constexpr unsigned TB_THUMBTRACK = 5;
inline constexpr unsigned TB_TOP = 6;
inline constexpr unsigned TB_BOTTOM = 7;
inline constexpr unsigned TB_ENDTRACK = 8;

class TUNIVOX_EXPORT CSliderCtrlEx : public QWidget
{
    Q_OBJECT

public:
    explicit CSliderCtrlEx(QWidget* parent = nullptr);

    // Sets the range; the position is clamped into it. The page size follows as a fifth of the range
    // unless one was set explicitly.
    void SetRange(int nMin, int nMax, BOOL bRedraw = FALSE);
    int GetRangeMin() const { return m_nMin; }
    int GetRangeMax() const { return m_nMax; }
    // Moves the thumb without notifying (the owner's own updates).
    void SetPos(int nPos);
    int GetPos() const { return m_nPos; }
    void SetPageSize(int nSize);
    int GetPageSize() const;
    void SetLineSize(int nSize) { m_nLineSize = nSize > 0 ? nSize : 1; }
    int GetLineSize() const { return m_nLineSize; }

    void SetSuppressDefault(bool bSuppress) { m_bSuppressDefault = bSuppress; }
    // Inverted: the minimum sits at the right end (a volume slider whose position counts the
    // attenuation still looks loud on the right). The coloured range is always drawn on the left.
    void SetInverted(bool bInverted) { m_bInverted = bInverted; update(); }
    bool IsInverted() const { return m_bInverted; }
    // Colours of the filled range, from its start at the minimum towards the maximum.
    void SetRangeColours(const QColor& start, const QColor& end);
    bool IsTracking() const { return m_bTracking; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

    bool m_bSuppressDefault = false;
    bool m_bInverted = false;

signals:
    void Scroll(unsigned code, unsigned position);

protected:
    void paintEvent(QPaintEvent* e) override;
    void mousePressEvent(QMouseEvent* e) override;
    void mouseMoveEvent(QMouseEvent* e) override;
    void mouseReleaseEvent(QMouseEvent* e) override;
    void wheelEvent(QWheelEvent* e) override;
    void keyPressEvent(QKeyEvent* e) override;
    void keyReleaseEvent(QKeyEvent* e) override;

private:
    QRectF ChannelRect() const;
    QRectF ThumbRect() const;
    double ThumbRadius() const;
    double XFromPos(int nPos) const;
    int PosFromX(double x) const;
    // Moves to nPos (clamped) and notifies with code.
    void StepTo(int nPos, unsigned code);
    void Notify(unsigned code);

    int m_nMin = 0;
    int m_nMax = 100;
    int m_nPos = 0;
    int m_nPageSize = 0;  // 0: a fifth of the range
    int m_nLineSize = 1;
    bool m_bTracking = false;
    bool m_bKeyStepping = false;
    double m_dGrabOffset = 0.0;
    QColor m_crRangeStart{0x2a, 0x7f, 0xd4};
    QColor m_crRangeEnd{0x3c, 0xc8, 0x8c};
};
