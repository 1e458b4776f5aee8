#pragma once
// The OpenGL drawing surface of the visualization window, embedded in CVisualWnd. It belongs to the
// GUI thread; the render thread only presents into it. Input and size changes are forwarded to the
// window.
//
// Threading: events on the GUI thread; IsExposedNow() may be read on the render thread.

#include <QWindow>
#include <atomic>
#include <functional>

class CVisualSurface : public QWindow
{
    Q_OBJECT
public:
    CVisualSurface();
    ~CVisualSurface() override;

    bool IsExposedNow() const { return m_bExposed.load(); }

    std::function<void(QMouseEvent*)> onMouseMove;
    std::function<void(QMouseEvent*)> onMousePress;
    std::function<void()> onLeave;
    std::function<void(QKeyEvent*)> onKey;
    std::function<void(QSize)> onResize;

protected:
    void exposeEvent(QExposeEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool event(QEvent* event) override;

private:
    std::atomic<bool> m_bExposed{false};
};
