// Following the sung line: gliding to it, resting while paused by a click, and the arrows.
#include <gtest/gtest.h>

#include "visual/VisualLayout.h"

TEST(SyncedLyricsScroll, GlidesToTheLineRestsWhenPausedAndObeysTheArrows)
{
    const struct
    {
        const char* pszName;
        float fOffset;
        int nSpeed;
        bool bHover;
        float fSeconds;
        float fExpected;
    } cases[] = {
        // Box 300 high, text 1000 high, the line's target at 400.
        {"a quarter second closes all but e^-2.5", 0.0f, 10, false, 0.25f, 400.0f * (1.0f - 0.082085f)},
        {"within a quarter pixel it is there", 399.8f, 10, false, 0.01f, 400.0f},
        {"scrolling back up the same way", 900.0f, -10, false, 0.25f, 900.0f - 500.0f * (1.0f - 0.082085f)},
        {"paused by a click it stays", 120.0f, 0, false, 1.0f, 120.0f},
        {"down arrow: five times the speed, halved", 100.0f, 10, true, 1.0f, 125.0f},
        {"up arrow stops half a box above the text", -140.0f, -10, true, 1.0f, -150.0f},
        {"down arrow stops half a box before the end", 840.0f, 10, true, 1.0f, 850.0f},
    };
    for (const auto& c : cases) {
        LyricsScrollState state;
        state.fOffset = c.fOffset;
        state.nScrollSpeed = c.nSpeed;
        StepSyncedLyricsScroll(state, c.fSeconds, c.bHover, 300, 1000, 400.0f);
        EXPECT_NEAR(state.fOffset, c.fExpected, 0.05f) << c.pszName;
        EXPECT_EQ(state.nScrollSpeed, c.nSpeed) << c.pszName << ": never turns";
    }
    EXPECT_FLOAT_EQ(SyncedLyricsTarget(500, 40, 300), 370.0f) << "the line's middle in the box's middle";
}
