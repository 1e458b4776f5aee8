#pragma once
// Colours in the two forms the control family uses: COLORREF (0x00BBGGRR, red in the low byte) in
// colour buttons and dialogs, ARGB words (0xAARRGGBB) inside the visualization.

#include <QColor>
#include <cstdint>

using COLORREF = std::uint32_t;
using ARGBCOLOR = std::uint32_t;

// "Automatic" in a colour button: no explicit colour chosen.
inline constexpr COLORREF CLR_DEFAULT = 0xFF000000u;

constexpr COLORREF RGB(int r, int g, int b)
{
    return static_cast<COLORREF>((r & 0xFF) | ((g & 0xFF) << 8) | ((b & 0xFF) << 16));
}
constexpr int GetRValue(COLORREF c) { return static_cast<int>(c & 0xFF); }
constexpr int GetGValue(COLORREF c) { return static_cast<int>((c >> 8) & 0xFF); }
constexpr int GetBValue(COLORREF c) { return static_cast<int>((c >> 16) & 0xFF); }

inline QColor ColorFromColorRef(COLORREF c) { return QColor(GetRValue(c), GetGValue(c), GetBValue(c)); }
inline COLORREF ColorRefFromColor(const QColor& c) { return RGB(c.red(), c.green(), c.blue()); }
