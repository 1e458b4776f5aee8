/* The contract's layout as a C compiler sees it (the header's static assertions run here too). */
#include <stddef.h>

#include "visual/TunivoxVisPlugin.h"

const size_t kContractLayoutC[] = {
    offsetof(tMP3VisHeader, qwVersion),       offsetof(tMP3VisHeader, pszDescription),
    offsetof(tMP3VisHeader, getModule),       sizeof(tMP3VisHeader),
    offsetof(tMP3VisModule, pszDescription),  offsetof(tMP3VisModule, Init),
    offsetof(tMP3VisModule, Quit),            offsetof(tMP3VisModule, Release),
    offsetof(tMP3VisModule, pReserved1),      offsetof(tMP3VisModule, Config),
    offsetof(tMP3VisModule, Render),          offsetof(tMP3VisModule, Notify),
    offsetof(tMP3VisModule, OnMessage),       offsetof(tMP3VisModule, nPeriodMs),
    offsetof(tMP3VisModule, dwRenderOptions), offsetof(tMP3VisModule, pReserved2),
    offsetof(tMP3VisModule, hwndParent),      offsetof(tMP3VisModule, pDevice),
    offsetof(tMP3VisModule, bPlaying),        offsetof(tMP3VisModule, bPaused),
    offsetof(tMP3VisModule, pSamples),        offsetof(tMP3VisModule, fTotalSeconds),
    offsetof(tMP3VisModule, fFrameSeconds),   offsetof(tMP3VisModule, fFPS),
};
const size_t kContractLayoutCCount = sizeof(kContractLayoutC) / sizeof(kContractLayoutC[0]);
