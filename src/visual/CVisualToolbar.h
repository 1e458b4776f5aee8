#pragma once
// The visualization window's tool bar: check buttons for lyrics, art, slide show and the plug-in,
// a push button to switch modes, and the always-on-top check button, each sending its command.
//
// Threading: GUI thread only.

#include <QToolBar>
#include <functional>

#include "platform/TypedSettings.h"
#include "tunivox_export.h"

class QAction;

// Commands of the visualization window.
inline constexpr int ID_VISUAL_LYRICS = 64;
inline constexpr int ID_VISUAL_ART = 65;
inline constexpr int ID_VISUAL_SLIDESHOW = 66;
inline constexpr int ID_VISUAL_PLUGIN = 67;
inline constexpr int ID_VISUAL_SWITCH_MODE = 68;
inline constexpr int ID_VISUAL_CHOOSE_PLUGIN = 69;
inline constexpr int ID_VISUAL_TOPMOST = 70;
inline constexpr int ID_VISUAL_OPTIONS = 71;
inline constexpr int ID_VISUAL_TOOLBAR = 4711;

// The tool tip of a command: looked up by (command - 64) in a list of six for commands 64 to 71, so
// that 70 (always on top) falls past the list and has none (kept so on purpose); null when none.
TUNIVOX_EXPORT const char* VisualToolTipText(int nCommand);

class TUNIVOX_EXPORT CVisualToolbar : public QToolBar
{
    Q_OBJECT
public:
    explicit CVisualToolbar(QWidget* parent = nullptr);
    ~CVisualToolbar() override;

    // Adds the buttons and sets the check states from the window flags.
    bool Create(DWORD dwFlags, std::function<void(int)> onCommand);
    QAction* Button(int nCommand) const;
    bool IsChecked(int nCommand) const;
};
