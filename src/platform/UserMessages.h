#pragma once
// Window messages of the control family as Qt events. Message numbers based on WM_USER keep their
// numeric value as the QEvent type (WM_USER + 199 is event type 1223), so a host can match them by
// number; wParam/lParam travel in the event.

#include <QEvent>
#include <cstdint>

#include "tunivox_export.h"

inline constexpr int WM_USER = 0x0400;

constexpr QEvent::Type UserMessageType(int offset) { return static_cast<QEvent::Type>(WM_USER + offset); }

// Notifications posted to the control's parent.
inline constexpr QEvent::Type WM_PLAYER_SONG_STARTED = UserMessageType(199);   // 1223
inline constexpr QEvent::Type WM_PLAYER_LIST_CLEARED = UserMessageType(200);   // 1224
inline constexpr QEvent::Type WM_PLAYER_RIGHT_CLICK = UserMessageType(202);    // 1226
// Posted by the drag list box to itself for the control.
inline constexpr QEvent::Type WM_LIST_VOLUME_UP = UserMessageType(203);        // 1227
inline constexpr QEvent::Type WM_LIST_VOLUME_DOWN = UserMessageType(204);      // 1228
inline constexpr QEvent::Type WM_LIST_INFO = UserMessageType(205);             // 1229
// Sent by a colour popup/button to its parent when the colour changed.
inline constexpr QEvent::Type WM_COLOUR_CHANGED = UserMessageType(1004);      // 2028

class TUNIVOX_EXPORT CUserMessageEvent : public QEvent
{
public:
    CUserMessageEvent(QEvent::Type type, std::uintptr_t wParam, std::intptr_t lParam)
        : QEvent(type), m_wParam(wParam), m_lParam(lParam) {}
    ~CUserMessageEvent() override;

    std::uintptr_t WParam() const { return m_wParam; }
    std::intptr_t LParam() const { return m_lParam; }

private:
    std::uintptr_t m_wParam;
    std::intptr_t m_lParam;
};
