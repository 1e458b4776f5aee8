#pragma once
// The visualization's settings record, the window placement stored beside it, their loading from the
// per-user store, and the conversions the options dialog shows them with.
//
// Threading: plain values; the window (GUI thread) owns the record and hands copies to the render
// thread. Loading and saving open their own store objects and may run on any thread.

#include <QString>
#include <QVector>
#include <cstdint>

#include "platform/ColorRef.h"
#include "platform/TypedSettings.h"
#include "tunivox_export.h"

// Window mode flags ("Flags").
inline constexpr DWORD VISUAL_FLAG_TOPMOST = 0x01;
inline constexpr DWORD VISUAL_FLAG_LYRICS = 0x02;
inline constexpr DWORD VISUAL_FLAG_ART = 0x04;
inline constexpr DWORD VISUAL_FLAG_SLIDESHOW = 0x08;
inline constexpr DWORD VISUAL_FLAG_PLUGIN = 0x10;

inline constexpr int VISUAL_FONT_NAME_MAX = 32;
inline constexpr int VISUAL_MIN_WINDOW_SIZE = 250;

struct TUNIVOX_EXPORT VisualSettings
{
    QString m_strFontName = QStringLiteral("Segoe UI");
    ARGBCOLOR m_clrFont = 0xFF60FFFFu;
    std::int32_t m_nFontSize = 10;
    std::int32_t m_nLyricsSpeed = 10;
    ARGBCOLOR m_clrLyricsBox = 0x14000000u;
    std::int32_t m_nSlideShowTimeout = 2000;
    std::int32_t m_nArtTransparency = 125;
    std::int32_t m_bShowFPS = 0;
    // "SyncLyrics" (DWORD, default 0): lyrics with time stamps highlight the line being sung and keep
    // it in view instead of scrolling on their own; lyrics without stay as they are.
    std::int32_t m_bSyncLyrics = 0;

    // Font names ignoring case, the art transparency in its low byte, the two flags by truth.
    bool operator==(const VisualSettings& other) const;
    bool operator!=(const VisualSettings& other) const { return !(*this == other); }
};

struct TUNIVOX_EXPORT VisualPlacement
{
    int xPos = 50;
    int yPos = 50;
    int xSize = 700;
    int ySize = 550;
    DWORD dwFlags = 22;
    QString strPlugin = QStringLiteral("Spectrola.so");
    DWORD dwPluginModule = 0;
};

// Reads the settings values under `key` (the eight, then "SyncLyrics"); a missing or unreadable value leaves its field, except
// the font name, which falls back to "Segoe UI". Names longer than 32 characters are cut.
TUNIVOX_EXPORT void LoadVisualSettings(const CTypedSettings& store, const QString& key, VisualSettings& settings);
// Reads the placement, "Flags", "Plugin" (at most 260 bytes) and "Plugin_mod"; sizes below 250 are
// raised to 250.
TUNIVOX_EXPORT void LoadVisualPlacement(const CTypedSettings& store, const QString& key, VisualPlacement& placement);
// Writes "xPos", "yPos", "xSize", "ySize" and "Flags" (the window's closing values).
TUNIVOX_EXPORT bool SaveVisualPlacement(CTypedSettings& store, const QString& key, const VisualPlacement& placement);
// A writer for the settings values under the names the loader reads (hosts and tests use it).
TUNIVOX_EXPORT bool SaveVisualSettings(CTypedSettings& store, const QString& key, const VisualSettings& settings);

// The options dialog's conversions between the record and its controls.
namespace VisualOptions {
constexpr int TransparencyToSlider(int nValue) { return 255 - nValue; }
constexpr int SliderToTransparency(int nPos) { return 255 - nPos; }
constexpr int SliderPercent(int nPos) { return nPos * 100 / 255; }
constexpr int BoxAlphaToSlider(ARGBCOLOR clr) { return 255 - static_cast<int>(clr >> 24); }
constexpr ARGBCOLOR SliderToBoxColour(ARGBCOLOR clr, int nPos)
{
    return (clr & 0x00FFFFFFu) | (static_cast<ARGBCOLOR>(255 - nPos) & 0xFFu) << 24;
}
constexpr int SlideShowToSlider(int nMilliseconds) { return nMilliseconds / 1000; }
constexpr int SliderToSlideShow(int nPos) { return nPos * 1000; }
constexpr int SpeedToSlider(int nSpeed) { return nSpeed / 5; }
constexpr int SliderToSpeed(int nPos) { return nPos * 5; }
// ARGB <-> COLORREF swap the red and blue bytes; the alpha is dropped, or made opaque on the way back.
constexpr COLORREF ArgbToColorRef(ARGBCOLOR clr)
{
    return RGB(static_cast<int>((clr >> 16) & 0xFF), static_cast<int>((clr >> 8) & 0xFF), static_cast<int>(clr & 0xFF));
}
constexpr ARGBCOLOR ColorRefToOpaqueArgb(COLORREF clr)
{
    return 0xFF000000u | static_cast<ARGBCOLOR>(GetRValue(clr)) << 16 | static_cast<ARGBCOLOR>(GetGValue(clr)) << 8
        | static_cast<ARGBCOLOR>(GetBValue(clr));
}
TUNIVOX_EXPORT QString PercentLabel(int nPos);
TUNIVOX_EXPORT QString SecondsLabel(int nPos);
TUNIVOX_EXPORT QString SpeedLabel(int nPos);
// The value of the text's leading digits (0 when it starts with none).
TUNIVOX_EXPORT int LeadingNumber(const QString& text);
// The sixteen sizes every scalable face offers.
TUNIVOX_EXPORT const QVector<int>& StandardFontSizes();
// Index of the last size not above `nSize`, 0 when all are above, -1 for an empty list.
TUNIVOX_EXPORT int FontSizeIndex(const QVector<int>& sizes, int nSize);
} // namespace VisualOptions
