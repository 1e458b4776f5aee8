/* The visualization plug-in contract: the binary interface between the player's visualization
 * window (the host) and a plug-in library. Plain C; a plug-in needs nothing but this header.
 *
 * A plug-in is a shared library ("*.so") in the "plugins" folder next to the host executable. It
 * exports TMP3_VIS_ENTRY ("tMP3GetVisHeader"), which returns its header record (null: not a
 * plug-in), and may export TMP3_VIS_VERSION_SYMBOL ("tMP3VisFileVersion"), a zero-terminated
 * string such as "1.2.0" that the host's chooser shows as " v.1.2.0" (nothing when absent).
 *
 * Threading:
 * - Init, Render, Release, Quit, Notify and OnMessage are called on the host's render thread only,
 *   with the host's OpenGL context current on that thread (see tMP3VisHostDevice).
 * - The entry and getModule may also be called by the chooser on the GUI thread, on a library it
 *   loads for itself (the same loaded image when the file is the one running): keep them free of
 *   side effects.
 * - Config is called on the GUI thread (the thread of the window in hwndParent, a QWidget*), on a
 *   module that may or may not be running. It must not touch OpenGL; it may run a modal dialog.
 *   The host restarts the module (Quit, then Init) after its chooser closes, so settings that Init
 *   reads take effect then.
 *
 * Life of a module: Init (0 = started; anything else: Quit follows and the library is unloaded),
 * then Render once per frame, Release whenever the host drops its device resources (resize,
 * settings, plug-in switch) and once before Quit, then Quit. After Release, OpenGL objects are gone
 * from the plug-in's point of view: recreate them lazily at the next Render.
 *
 * The PCM block (pSamples): the engine's copy of the block now sounding, 2048 bytes = 512 frames
 * of 44.1 kHz signed 16-bit little-endian interleaved stereo (left, right, left, ...). The audio
 * thread rewrites it in place while playback runs. The engine allocates it zeroed when the host sets it up,
 * so before the first playback it holds silence, and once playback stops it keeps the last block
 * heard (check bPlaying). It is null only while the host has no engine running. Read it only
 * during Render.
 *
 * Records are laid out for 64-bit targets with natural alignment; the offsets are fixed and checked
 * below. Fields marked "host" are written by the host; a plug-in fills the others. */
#ifndef TUNIVOX_VIS_PLUGIN_H
#define TUNIVOX_VIS_PLUGIN_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define TMP3_VIS_ENTRY "tMP3GetVisHeader"
#define TMP3_VIS_VERSION_SYMBOL "tMP3VisFileVersion"
/* Bytes in one PCM block and frames in it. */
#define TMP3_VIS_PCM_BYTES 2048
#define TMP3_VIS_PCM_FRAMES 512
#define TMP3_VIS_SAMPLE_RATE 44100
/* Frame period used when a module asks for 0. */
#define TMP3_VIS_DEFAULT_PERIOD_MS 30
/* Messages passed to OnMessage through tMP3VisHostDevice.nMessage. */
#define TMP3_VIS_MSG_KEYDOWN 0x0100u

/* The OpenGL context the host has made current on the render thread. Valid during Init, Render,
 * Release and Quit only; the host refreshes the sizes before each call. */
typedef struct tMP3VisHostDevice
{
    uint32_t cbSize;            /* sizeof(tMP3VisHostDevice) as the host knows it */
    uint32_t nGLVersion;        /* major * 100 + minor of the context, e.g. 201 for 2.1 or more */
    /* OpenGL entry points by name ("glClear", "glCreateShader", ...); null when unknown. */
    void (*(*GetProcAddress)(const char* pszName))(void);
    int32_t nWidth;             /* drawable width in pixels */
    int32_t nHeight;            /* drawable height in pixels */
    uint32_t nFramebuffer;      /* framebuffer object to draw into (0 = the window's) */
    uint32_t nMessage;          /* during OnMessage: TMP3_VIS_MSG_KEYDOWN; else 0 */
    int32_t nKey;               /* during OnMessage for a key: the key code (Qt::Key values) */
    uint32_t dwReserved;
} tMP3VisHostDevice;

typedef struct tMP3VisModule tMP3VisModule;

struct tMP3VisModule
{
    const char* pszDescription;              /*   0 */
    int (*Init)(tMP3VisModule*);             /*   8: 0 means started */
    void (*Quit)(tMP3VisModule*);            /*  16 */
    void (*Release)(tMP3VisModule*);         /*  24: or null */
    void* pReserved1;                        /*  32 */
    void (*Config)(tMP3VisModule*);          /*  40: or null; GUI thread */
    void (*Render)(tMP3VisModule*);          /*  48: or null */
    void (*Notify)(tMP3VisModule*);          /*  56: or null; the window's "Switch mode" */
    void (*OnMessage)(tMP3VisModule*);       /*  64: or null; see nMessage */
    uint32_t nPeriodMs;                      /*  72: frame period asked for; 0 means 30 */
    uint32_t dwRenderOptions;                /*  76 */
    void* pReserved2;                        /*  80 */
    void* hwndParent;                        /*  88: host: the visualization window, or the chooser */
    tMP3VisHostDevice* pDevice;              /*  96: host */
    int32_t bPlaying;                        /* 104: host, each frame */
    int32_t bPaused;                         /* 108: host, each frame */
    const int16_t* pSamples;                 /* 112: host, each frame; see the PCM block above */
    float fTotalSeconds;                     /* 120: host, each frame: renderer's running time */
    float fFrameSeconds;                     /* 124: host, each frame: length of the last frame */
    float fFPS;                              /* 128: host, each frame: rate shown, once a second */
};

typedef struct tMP3VisHeader
{
    uint64_t qwVersion;                      /*  0: not examined by the host */
    const char* pszDescription;              /*  8 */
    tMP3VisModule* (*getModule)(int nIndex); /* 16: null past the last module */
} tMP3VisHeader;

typedef tMP3VisHeader* (*tMP3GetVisHeaderProc)(void);

#ifdef __cplusplus
#define TMP3_VIS_STATIC_ASSERT(cond, msg) static_assert(cond, msg)
#else
#define TMP3_VIS_STATIC_ASSERT(cond, msg) _Static_assert(cond, msg)
#endif

#if UINTPTR_MAX == 0xFFFFFFFFFFFFFFFFu
TMP3_VIS_STATIC_ASSERT(offsetof(tMP3VisHeader, qwVersion) == 0, "header: version");
TMP3_VIS_STATIC_ASSERT(offsetof(tMP3VisHeader, pszDescription) == 8, "header: description");
TMP3_VIS_STATIC_ASSERT(offsetof(tMP3VisHeader, getModule) == 16, "header: getModule");
TMP3_VIS_STATIC_ASSERT(sizeof(tMP3VisHeader) == 24, "header: size");

TMP3_VIS_STATIC_ASSERT(offsetof(tMP3VisModule, pszDescription) == 0, "module: description");
TMP3_VIS_STATIC_ASSERT(offsetof(tMP3VisModule, Init) == 8, "module: Init");
TMP3_VIS_STATIC_ASSERT(offsetof(tMP3VisModule, Quit) == 16, "module: Quit");
TMP3_VIS_STATIC_ASSERT(offsetof(tMP3VisModule, Release) == 24, "module: Release");
TMP3_VIS_STATIC_ASSERT(offsetof(tMP3VisModule, pReserved1) == 32, "module: reserved");
TMP3_VIS_STATIC_ASSERT(offsetof(tMP3VisModule, Config) == 40, "module: Config");
TMP3_VIS_STATIC_ASSERT(offsetof(tMP3VisModule, Render) == 48, "module: Render");
TMP3_VIS_STATIC_ASSERT(offsetof(tMP3VisModule, Notify) == 56, "module: Notify");
TMP3_VIS_STATIC_ASSERT(offsetof(tMP3VisModule, OnMessage) == 64, "module: OnMessage");
TMP3_VIS_STATIC_ASSERT(offsetof(tMP3VisModule, nPeriodMs) == 72, "module: period");
TMP3_VIS_STATIC_ASSERT(sizeof(((tMP3VisModule*)0)->nPeriodMs) == 4, "module: period width");
TMP3_VIS_STATIC_ASSERT(offsetof(tMP3VisModule, dwRenderOptions) == 76, "module: render options");
TMP3_VIS_STATIC_ASSERT(sizeof(((tMP3VisModule*)0)->dwRenderOptions) == 4, "module: options width");
TMP3_VIS_STATIC_ASSERT(offsetof(tMP3VisModule, pReserved2) == 80, "module: reserved");
TMP3_VIS_STATIC_ASSERT(offsetof(tMP3VisModule, hwndParent) == 88, "module: parent window");
TMP3_VIS_STATIC_ASSERT(offsetof(tMP3VisModule, pDevice) == 96, "module: device");
TMP3_VIS_STATIC_ASSERT(offsetof(tMP3VisModule, bPlaying) == 104, "module: playing");
TMP3_VIS_STATIC_ASSERT(sizeof(((tMP3VisModule*)0)->bPlaying) == 4, "module: playing width");
TMP3_VIS_STATIC_ASSERT(offsetof(tMP3VisModule, bPaused) == 108, "module: paused");
TMP3_VIS_STATIC_ASSERT(sizeof(((tMP3VisModule*)0)->bPaused) == 4, "module: paused width");
TMP3_VIS_STATIC_ASSERT(offsetof(tMP3VisModule, pSamples) == 112, "module: samples");
TMP3_VIS_STATIC_ASSERT(offsetof(tMP3VisModule, fTotalSeconds) == 120, "module: total seconds");
TMP3_VIS_STATIC_ASSERT(offsetof(tMP3VisModule, fFrameSeconds) == 124, "module: frame seconds");
TMP3_VIS_STATIC_ASSERT(offsetof(tMP3VisModule, fFPS) == 128, "module: frame rate");
TMP3_VIS_STATIC_ASSERT(sizeof(float) == 4, "32-bit floats");
#endif

#ifdef __cplusplus
}
#endif

#endif /* TUNIVOX_VIS_PLUGIN_H */
