#include "visual/VisualLayout.h"

#include <algorithm>
#include <cmath>

VisualRect ComputeArtRect(const VisualRect& client, bool bLyricsShown, int nImageWidth, int nImageHeight)
{
    const int width = bLyricsShown ? client.Width() * 2 / 5 : client.Width();
    VisualRect area;
    area.left = client.left + VISUAL_MARGIN;
    area.top = client.top + VISUAL_MARGIN;
    area.right = area.left + width - 2 * VISUAL_MARGIN;
    area.bottom = area.top + client.Height() - 2 * VISUAL_MARGIN;
    int w = nImageWidth;
    int h = nImageHeight;
    if (w <= 0 || h <= 0 || area.IsEmpty())
        return area;
    if (w > area.Width()) {
        h = static_cast<int>(static_cast<long long>(h) * area.Width() / w);
        w = area.Width();
    }
    if (h > area.Height()) {
        w = static_cast<int>(static_cast<long long>(w) * area.Height() / h);
        h = area.Height();
    }
    VisualRect art;
    art.left = area.left + (area.Width() - w) / 2;
    art.top = area.top + (area.Height() - h) / 2;
    art.right = art.left + w;
    art.bottom = art.top + h;
    return art;
}

VisualRect ComputeLyricsBox(const VisualRect& client, bool bArtShown)
{
    const int width = bArtShown ? client.Width() * 3 / 5 : client.Width();
    VisualRect box;
    box.left = (bArtShown ? client.left + client.Width() * 2 / 5 : client.left) + VISUAL_MARGIN;
    box.top = client.top + VISUAL_MARGIN;
    box.right = box.left + width - 2 * VISUAL_MARGIN;
    box.bottom = box.top + client.Height() - 2 * VISUAL_MARGIN;
    return box;
}

void ComputeArrows(const VisualRect& box, VisualRect& up, VisualRect& down)
{
    const int s = (box.Width() + box.Height()) / 20;
    up.left = down.left = box.left + (box.Width() - s) / 2;
    up.right = down.right = up.left + s;
    up.top = box.top;
    up.bottom = box.top + s / 2;
    down.bottom = box.bottom;
    down.top = box.bottom - s / 2;
}

VisualTexRect CoverTexRect(int nClientWidth, int nClientHeight, int nImageWidth, int nImageHeight)
{
    VisualTexRect r;
    if (nClientWidth <= 0 || nClientHeight <= 0 || nImageWidth <= 0 || nImageHeight <= 0)
        return r;
    const double client = static_cast<double>(nClientWidth) / nClientHeight;
    const double image = static_cast<double>(nImageWidth) / nImageHeight;
    if (image > client) {
        const float visible = static_cast<float>(client / image);
        r.u0 = (1.0f - visible) / 2;
        r.u1 = r.u0 + visible;
    } else {
        const float visible = static_cast<float>(image / client);
        r.v0 = (1.0f - visible) / 2;
        r.v1 = r.v0 + visible;
    }
    return r;
}

void StepLyricsScroll(LyricsScrollState& s, float fSeconds, bool bHover, int nBoxHeight, int nTextHeight)
{
    int v;
    if (bHover) {
        v = 5 * s.nScrollSpeed;
        s.fPause = 0.0f;
    } else if (s.fPause > 0.0f) {
        s.fPause -= fSeconds;
        v = 0;
    } else {
        v = s.nScrollSpeed;
    }
    s.fOffset += static_cast<float>(v / 2) * fSeconds;

    const float upper = static_cast<float>(nTextHeight - nBoxHeight + nBoxHeight / 3);
    const float lower = static_cast<float>(-(nBoxHeight / 3));
    const auto turn = [&](float limit) {
        s.fOffset = limit;
        if (!bHover) {
            s.nScrollSpeed = -s.nScrollSpeed;
            s.fPause = LYRICS_FLIP_PAUSE;
        }
    };
    if (s.fOffset > upper)
        turn(upper);
    if (s.fOffset < lower)
        turn(lower);
}

float SyncedLyricsTarget(int nLineTop, int nLineHeight, int nBoxHeight)
{
    return static_cast<float>(nLineTop) + static_cast<float>(nLineHeight) / 2.0f - static_cast<float>(nBoxHeight) / 2.0f;
}

void StepSyncedLyricsScroll(LyricsScrollState& s, float fSeconds, bool bHover, int nBoxHeight, int nTextHeight,
                            float fTarget)
{
    constexpr float kFollowRate = 10.0f; // per second: e^-2.5 of the distance is left after 0.25 s
    if (bHover) {
        s.fPause = 0.0f;
        s.fOffset += static_cast<float>(5 * s.nScrollSpeed / 2) * fSeconds;
        const float upper = static_cast<float>(nTextHeight - nBoxHeight / 2);
        const float lower = static_cast<float>(-(nBoxHeight / 2));
        s.fOffset = std::max(std::min(s.fOffset, upper), lower);
        return;
    }
    if (s.nScrollSpeed == 0)
        return;
    const float step = 1.0f - std::exp(-fSeconds * kFollowRate);
    s.fOffset += (fTarget - s.fOffset) * step;
    if (std::abs(fTarget - s.fOffset) < 0.25f)
        s.fOffset = fTarget;
}

int LyricsPage(float fOffset, int nBoxHeight)
{
    return nBoxHeight > 0 ? static_cast<int>(fOffset) / nBoxHeight : 0;
}

float LyricsTexOffset(float fOffset, int nBoxHeight, int nPage)
{
    return nBoxHeight > 0 ? (fOffset - static_cast<float>(nBoxHeight * nPage)) / (2.0f * nBoxHeight) : 0.0f;
}

void CFrameTimer::Start(double dNow)
{
    m_dLast = dNow;
    m_fGathered = 0.0f;
    m_nFrames = 0;
}

float CFrameTimer::Tick(double dNow)
{
    const float seconds = static_cast<float>(dNow - m_dLast);
    m_dLast = dNow;
    ++m_nFrames;
    m_fGathered += seconds;
    if (m_fGathered > 0.5f) {
        m_fMeasuredFPS = static_cast<float>(m_nFrames) / m_fGathered;
        m_nFrames = 0;
        m_fGathered = 0.0f;
    }
    return seconds;
}
