#include "visual/CVisualToolbar.h"

#include <QAction>
#include <QMenu>
#include <QToolButton>
#include <initializer_list>
#include <utility>

#include "visual/VisualImages.h"
#include "visual/VisualSettings.h"

const char* VisualToolTipText(int nCommand)
{
    static const char* const texts[] = {"Lyrics", "Art", "Slide Show", "Visualization", "Switch mode", "Alway on Top"};
    constexpr int count = static_cast<int>(std::size(texts));
    if (nCommand < ID_VISUAL_LYRICS || nCommand > ID_VISUAL_OPTIONS)
        return nullptr;
    const int index = nCommand - ID_VISUAL_LYRICS;
    // 69 has no button, so 70 reads past the list.
    if (index >= count)
        return nullptr;
    return texts[index];
}

CVisualToolbar::CVisualToolbar(QWidget* parent) : QToolBar(parent)
{
    setObjectName(QStringLiteral("VisualToolbar"));
    setProperty("controlId", ID_VISUAL_TOOLBAR);
}

CVisualToolbar::~CVisualToolbar() = default;

bool CVisualToolbar::Create(DWORD dwFlags, std::function<void(int)> onCommand)
{
    setIconSize(QSize(16, 16));
    setMovable(false);
    setFloatable(false);
    struct Button
    {
        int nCommand;
        int nImage;
        bool bCheck;
        DWORD dwFlag;
    };
    static const Button buttons[] = {
        {ID_VISUAL_LYRICS, 0, true, VISUAL_FLAG_LYRICS}, {ID_VISUAL_ART, 1, true, VISUAL_FLAG_ART},
        {ID_VISUAL_SLIDESHOW, 2, true, VISUAL_FLAG_SLIDESHOW}, {0, 0, false, 0},
        {ID_VISUAL_PLUGIN, 3, true, VISUAL_FLAG_PLUGIN}, {ID_VISUAL_SWITCH_MODE, 4, false, 0},
        {0, 0, false, 0}, {ID_VISUAL_TOPMOST, 5, true, VISUAL_FLAG_TOPMOST},
    };
    for (const Button& b : buttons) {
        if (b.nCommand == 0) {
            addSeparator();
            continue;
        }
        QAction* action = addAction(VisualToolbarIcon(b.nImage), QString());
        action->setData(b.nCommand);
        action->setObjectName(QStringLiteral("command%1").arg(b.nCommand));
        const char* tip = VisualToolTipText(b.nCommand);
        action->setToolTip(tip ? QString::fromLatin1(tip) : QString());
        action->setCheckable(b.bCheck);
        if (b.bCheck)
            action->setChecked((dwFlags & b.dwFlag) != 0);
        const int command = b.nCommand;
        connect(action, &QAction::triggered, this, [onCommand, command] {
            if (onCommand)
                onCommand(command);
        });
    }
    // The chooser and the options dialog have no button of their own: they drop down from the
    // plug-in button (the options are also in the window's context menu and on Ctrl+O).
    if (auto* pluginButton = qobject_cast<QToolButton*>(widgetForAction(CVisualToolbar::Button(ID_VISUAL_PLUGIN)))) {
        auto* menu = new QMenu(this);
        for (const auto& [text, command] : {std::pair{"Choose Plug-in...", ID_VISUAL_CHOOSE_PLUGIN},
                                            std::pair{"Visualization options...", ID_VISUAL_OPTIONS}}) {
            QAction* entry = menu->addAction(QString::fromLatin1(text));
            entry->setData(command);
            entry->setObjectName(QStringLiteral("command%1").arg(command));
            connect(entry, &QAction::triggered, this, [onCommand, command = command] {
                if (onCommand)
                    onCommand(command);
            });
        }
        pluginButton->setMenu(menu);
        pluginButton->setPopupMode(QToolButton::MenuButtonPopup);
    }
    return true;
}

QAction* CVisualToolbar::Button(int nCommand) const
{
    for (QAction* action : actions())
        if (action->data().toInt() == nCommand)
            return action;
    return nullptr;
}

bool CVisualToolbar::IsChecked(int nCommand) const
{
    const QAction* action = Button(nCommand);
    return action && action->isChecked();
}
