#pragma once
// The 40 named colours of the colour popup: the classic office palette, 8 columns by 5 rows.
// Constant data; any thread.

#include <array>

#include "platform/ColorRef.h"
#include "tunivox_export.h"

struct CNamedColour
{
    COLORREF crColour;
    const char* szName;
};

inline constexpr int kPaletteColumns = 8;
inline constexpr int kPaletteRows = 5;

TUNIVOX_EXPORT const std::array<CNamedColour, kPaletteColumns * kPaletteRows>& OfficePalette();
