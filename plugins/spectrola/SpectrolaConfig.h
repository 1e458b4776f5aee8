#pragma once
// Spectrola's settings dialog.
//
// Threading: GUI thread only (the host calls Config there).

class QWidget;

// Room a title bar takes beside the title's text: the window icon and three buttons.
inline constexpr int kSpectrolaTitleBarRoom = 150;

// The least width at which `dialog`'s title bar shows its whole title.
int SpectrolaConfigTitleRoom(const QWidget& dialog);

// Shows the dialog over `pParent` (a QWidget*, may be null) and stores the settings on OK.
void RunSpectrolaConfig(void* pParent);
