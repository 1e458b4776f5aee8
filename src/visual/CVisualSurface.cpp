#include "visual/CVisualSurface.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QResizeEvent>

CVisualSurface::CVisualSurface()
{
    setSurfaceType(QSurface::OpenGLSurface);
    setCursor(Qt::ArrowCursor);
}

CVisualSurface::~CVisualSurface() = default;

void CVisualSurface::exposeEvent(QExposeEvent*)
{
    m_bExposed = isExposed();
}

void CVisualSurface::resizeEvent(QResizeEvent* event)
{
    if (onResize)
        onResize(event->size() * devicePixelRatio());
}

void CVisualSurface::mouseMoveEvent(QMouseEvent* event)
{
    if (onMouseMove)
        onMouseMove(event);
}

void CVisualSurface::mousePressEvent(QMouseEvent* event)
{
    if (onMousePress)
        onMousePress(event);
}

void CVisualSurface::keyPressEvent(QKeyEvent* event)
{
    if (onKey)
        onKey(event);
}

bool CVisualSurface::event(QEvent* event)
{
    if (event->type() == QEvent::Leave && onLeave)
        onLeave();
    if (event->type() == QEvent::Hide || event->type() == QEvent::PlatformSurface)
        m_bExposed = isExposed();
    return QWindow::event(event);
}
