/* Test plug-ins, one source built several ways: without the entry, with a null header, and with
 * modules that report every call to the test program (TestPluginRecord, looked up at run time). */
#include <dlfcn.h>
#include <stddef.h>

#include "visual/TunivoxVisPlugin.h"

#define EXPORT __attribute__((visibility("default")))
#define MAYBE_UNUSED __attribute__((unused))

#if defined(TEST_PLUGIN_NO_ENTRY)

EXPORT int NotAVisualization(void)
{
    return 1;
}

#elif defined(TEST_PLUGIN_NULL_HEADER)

EXPORT tMP3VisHeader* tMP3GetVisHeader(void)
{
    return NULL;
}

#else

typedef void (*RecordProc)(const char* pszEvent, const tMP3VisModule* pModule);

static void Record(const char* pszEvent, const tMP3VisModule* pModule)
{
    RecordProc record = (RecordProc)dlsym(RTLD_DEFAULT, "TestPluginRecord");
    if (record)
        record(pszEvent, pModule);
}

MAYBE_UNUSED static int InitOk(tMP3VisModule* m) { Record("Init", m); return 0; }
MAYBE_UNUSED static int InitFails(tMP3VisModule* m) { Record("Init", m); return 7; }
MAYBE_UNUSED static void Quit(tMP3VisModule* m) { Record("Quit", m); }
MAYBE_UNUSED static void Release(tMP3VisModule* m) { Record("Release", m); }
MAYBE_UNUSED static void Config(tMP3VisModule* m) { Record("Config", m); }
MAYBE_UNUSED static void Render(tMP3VisModule* m) { Record("Render", m); }
MAYBE_UNUSED static void Notify(tMP3VisModule* m) { Record("Notify", m); }
MAYBE_UNUSED static void OnMessage(tMP3VisModule* m) { Record("OnMessage", m); }

static tMP3VisModule g_modules[] = {
#if defined(TEST_PLUGIN_PLAIN)
    {"Plain module", InitOk, Quit, NULL, NULL, NULL, Render, NULL, NULL, 20, 0, NULL, NULL, NULL, 0, 0, NULL, 0, 0, 0},
#else
    {"Recording module", InitOk, Quit, Release, NULL, Config, Render, Notify, OnMessage, 0, 0, NULL, NULL, NULL, 0, 0,
     NULL, 0, 0, 0},
    {"Failing module", InitFails, Quit, Release, NULL, NULL, Render, NULL, NULL, 0, 0, NULL, NULL, NULL, 0, 0, NULL, 0,
     0, 0},
#endif
};

static tMP3VisModule* GetModule(int nIndex)
{
    return nIndex >= 0 && nIndex < (int)(sizeof(g_modules) / sizeof(g_modules[0])) ? &g_modules[nIndex] : NULL;
}

static tMP3VisHeader g_header = {1, TEST_PLUGIN_DESCRIPTION, GetModule};

EXPORT tMP3VisHeader* tMP3GetVisHeader(void)
{
    return &g_header;
}

#if defined(TEST_PLUGIN_VERSION)
EXPORT const char tMP3VisFileVersion[] = TEST_PLUGIN_VERSION;
#endif

#endif
