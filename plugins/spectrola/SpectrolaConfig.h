#pragma once
// Spectrola's settings dialog.
//
// Threading: GUI thread only (the host calls Config there).

// Shows the dialog over `pParent` (a QWidget*, may be null) and stores the settings on OK.
void RunSpectrolaConfig(void* pParent);
