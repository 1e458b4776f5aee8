#pragma once
// The scene's geometry and the lyrics scrolling as pure functions of their inputs, so the renderer's
// arithmetic (integer divisions truncating toward zero, as the window has always laid itself out)
// can be checked without a window.
//
// Threading: pure functions, any thread.

#include "tunivox_export.h"

// A rectangle in client pixels, right and bottom exclusive.
struct VisualRect
{
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;

    int Width() const { return right - left; }
    int Height() const { return bottom - top; }
    bool IsEmpty() const { return right <= left || bottom <= top; }
    bool Contains(int x, int y) const { return x >= left && x < right && y >= top && y < bottom; }
    bool operator==(const VisualRect&) const = default;
};

inline constexpr int VISUAL_MARGIN = 20;

// The art area: the client width, or 2/5 of it beside the lyrics; inset by the margin; the image fit
// in keeping its aspect (shrunk only, never enlarged) and centred.
TUNIVOX_EXPORT VisualRect ComputeArtRect(const VisualRect& client, bool bLyricsShown, int nImageWidth, int nImageHeight);
// The lyrics box: the client width, or the right 3/5 beside the art; inset by the margin.
TUNIVOX_EXPORT VisualRect ComputeLyricsBox(const VisualRect& client, bool bArtShown);
// The arrows: s = (box width + box height) / 20 wide, s / 2 high, centred at the box's top and bottom.
TUNIVOX_EXPORT void ComputeArrows(const VisualRect& box, VisualRect& up, VisualRect& down);

// The background picture covering the client while keeping its aspect: the texture coordinates of
// the visible part, u0 v0 u1 v1.
struct VisualTexRect
{
    float u0 = 0, v0 = 0, u1 = 1, v1 = 1;
};
TUNIVOX_EXPORT VisualTexRect CoverTexRect(int nClientWidth, int nClientHeight, int nImageWidth, int nImageHeight);

inline constexpr float LYRICS_FLIP_PAUSE = 3.0f;

struct LyricsScrollState
{
    float fOffset = 0.0f;   // pixels of text scrolled past the box's top
    int nScrollSpeed = 0;   // pixels per two seconds; negative scrolls back up
    float fPause = 0.0f;    // seconds left of a rest
};

// One frame of scrolling: over an arrow five times as fast and never resting or turning; otherwise
// resting out a pause, then moving. Past the upper limit (text height - h + h/3) or the lower limit
// (-(h/3)) the offset is clamped, upper first, and without hover the direction flips and a three
// second rest starts. Text shorter than a third of the box thus never moves.
TUNIVOX_EXPORT void StepLyricsScroll(LyricsScrollState& state, float fSeconds, bool bHover, int nBoxHeight, int nTextHeight);
// Time-stamped lyrics: the offset that puts the middle of a line (top and height in the text) in
// the middle of the box.
TUNIVOX_EXPORT float SyncedLyricsTarget(int nLineTop, int nLineHeight, int nBoxHeight);
// One frame of following the sung line: over an arrow the text moves as StepLyricsScroll moves it
// (five times the speed, the direction of the arrow) but stays between half a box above the text
// and half a box below it; paused (speed 0, a click in the box) it stays; otherwise it glides to
// `fTarget`, closing most of the distance within a quarter of a second.
TUNIVOX_EXPORT void StepSyncedLyricsScroll(LyricsScrollState& state, float fSeconds, bool bHover, int nBoxHeight,
                                           int nTextHeight, float fTarget);
// The page of the two-box-high lyrics texture holding the offset, and where in it the box starts.
TUNIVOX_EXPORT int LyricsPage(float fOffset, int nBoxHeight);
TUNIVOX_EXPORT float LyricsTexOffset(float fOffset, int nBoxHeight, int nPage);

// Measured frame rate: each Tick() counts a frame; every half second the rate is frames / seconds.
class TUNIVOX_EXPORT CFrameTimer
{
public:
    // Starts at `dNow` seconds (any monotonic origin).
    void Start(double dNow);
    // Seconds since the previous tick.
    float Tick(double dNow);
    float MeasuredFPS() const { return m_fMeasuredFPS; }

private:
    double m_dLast = 0.0;
    float m_fGathered = 0.0f;
    int m_nFrames = 0;
    float m_fMeasuredFPS = 0.0f;
};
