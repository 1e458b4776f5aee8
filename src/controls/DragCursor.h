#pragma once
// The cursor shown while list items are dragged. One drag runs at a time in an application, so the
// cursor is an application-wide override that the list holding the drag restores when it ends.
// Threading: user-interface thread only.

// Arrow with a small item box (the library's drag cursor).
void ShowDragCursor();
// Dropping is not possible here.
void ShowNoDropCursor();
// Back to the normal cursor; harmless when no drag cursor is shown.
void RestoreDragCursor();
