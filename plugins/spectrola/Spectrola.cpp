// Spectrola: the player's default visualization plug-in. Three modules share one analyzer design:
// a log-frequency spectrum analyzer, a stereo oscilloscope and a scrolling spectrogram.
//
// Threading: as the contract says: Init, Render, Release, Quit, Notify and OnMessage on the host's
// render thread; Config on the GUI thread, touching only the stored settings.

#include <algorithm>
#include <array>
#include <memory>
#include <new>

#include "SpectrolaConfig.h"
#include "SpectrolaRenderer.h"
#include "SpectrolaSettings.h"
#include "SpectrumAnalyzer.h"
#include "visual/TunivoxVisPlugin.h"

#define SPECTROLA_EXPORT __attribute__((visibility("default")))

namespace {

constexpr int kModules = 3;
constexpr float kLongestStep = 0.25f; // seconds; a stalled frame must not make everything jump
constexpr int kKeyPlus = 0x2b, kKeyMinus = 0x2d, kKeyP = 0x50;

struct Instance
{
    SpectrolaMode eMode = SpectrolaMode::Spectrum;
    SpectrolaSettings settings;
    CSpectrumAnalyzer analyzer;
    CSpectrolaRenderer renderer;
};

std::array<Instance*, kModules> g_instances{};

int Init(tMP3VisModule* pModule);
void Quit(tMP3VisModule* pModule);
void Release(tMP3VisModule* pModule);
void Config(tMP3VisModule* pModule);
void Render(tMP3VisModule* pModule);
void Notify(tMP3VisModule* pModule);
void OnMessage(tMP3VisModule* pModule);

tMP3VisModule MakeModule(const char* pszDescription, unsigned nPeriodMs)
{
    tMP3VisModule module{};
    module.pszDescription = pszDescription;
    module.Init = &Init;
    module.Quit = &Quit;
    module.Release = &Release;
    module.Config = &Config;
    module.Render = &Render;
    module.Notify = &Notify;
    module.OnMessage = &OnMessage;
    module.nPeriodMs = nPeriodMs;
    return module;
}

// The analyzer and the oscilloscope move smoothly at 60 frames per second; the spectrogram scrolls
// by audio blocks and is content with the host's default.
std::array<tMP3VisModule, kModules> g_modules = {
    MakeModule("Spectrum analyzer", 16),
    MakeModule("Oscilloscope", 16),
    MakeModule("Spectrogram", 0),
};

tMP3VisHeader g_header = {1, "Spectrola", nullptr};

int IndexOf(const tMP3VisModule* pModule)
{
    for (int i = 0; i < kModules; ++i)
        if (pModule == &g_modules[i])
            return i;
    return -1;
}

Instance* InstanceOf(const tMP3VisModule* pModule)
{
    const int i = IndexOf(pModule);
    return i >= 0 ? g_instances[i] : nullptr;
}

int Init(tMP3VisModule* pModule)
{
    const int i = IndexOf(pModule);
    if (i < 0)
        return 1;
    delete g_instances[i];
    auto* pInstance = new (std::nothrow) Instance();
    if (!pInstance)
        return 1;
    pInstance->eMode = static_cast<SpectrolaMode>(i);
    pInstance->settings = LoadSpectrolaSettings();
    pInstance->analyzer.SetBandCount(pInstance->settings.nBars);
    g_instances[i] = pInstance;
    return 0;
}

void Quit(tMP3VisModule* pModule)
{
    const int i = IndexOf(pModule);
    if (i < 0 || !g_instances[i])
        return;
    g_instances[i]->renderer.Release();
    delete g_instances[i];
    g_instances[i] = nullptr;
}

void Release(tMP3VisModule* pModule)
{
    if (Instance* pInstance = InstanceOf(pModule))
        pInstance->renderer.Release();
}

void Config(tMP3VisModule* pModule)
{
    RunSpectrolaConfig(pModule->hwndParent);
}

void Render(tMP3VisModule* pModule)
{
    Instance* pInstance = InstanceOf(pModule);
    if (!pInstance || !pModule->pDevice || !pInstance->renderer.Ensure(pModule->pDevice))
        return;
    const float fSeconds = std::clamp(pModule->fFrameSeconds, 0.0f, kLongestStep);
    const bool bPlaying = pModule->bPlaying != 0;
    const bool bPaused = bPlaying && pModule->bPaused != 0;
    // Paused: the picture stands still, dimmed; stopped: the bars settle to rest.
    if (bPlaying && !bPaused) {
        const bool bNew = pInstance->analyzer.PushBlock(pModule->pSamples);
        pInstance->analyzer.Update(fSeconds, true);
        if (bNew && pInstance->eMode == SpectrolaMode::Spectrogram)
            pInstance->renderer.AddSpectrogramColumn(pInstance->analyzer, pInstance->settings.nScheme);
    } else if (!bPlaying) {
        pInstance->analyzer.Update(fSeconds, false);
    }
    pInstance->renderer.Draw(pInstance->eMode, pInstance->analyzer, pInstance->settings, *pModule->pDevice, bPaused);
}

void Notify(tMP3VisModule* pModule)
{
    if (Instance* pInstance = InstanceOf(pModule))
        pInstance->settings.nScheme = (pInstance->settings.nScheme + 1) % kSpectrolaSchemeCount;
}

void OnMessage(tMP3VisModule* pModule)
{
    Instance* pInstance = InstanceOf(pModule);
    if (!pInstance || !pModule->pDevice || pModule->pDevice->nMessage != TMP3_VIS_MSG_KEYDOWN)
        return;
    SpectrolaSettings& s = pInstance->settings;
    switch (pModule->pDevice->nKey) {
    case kKeyPlus: s.nBars = std::min(kSpectrolaMaxBars, s.nBars + 8); break;
    case kKeyMinus: s.nBars = std::max(kSpectrolaMinBars, s.nBars - 8); break;
    case kKeyP: s.bPeakCaps = !s.bPeakCaps; break;
    default: return;
    }
    pInstance->analyzer.SetBandCount(s.nBars);
}

tMP3VisModule* GetModule(int nIndex)
{
    return nIndex >= 0 && nIndex < kModules ? &g_modules[nIndex] : nullptr;
}

} // namespace

extern "C" SPECTROLA_EXPORT const char tMP3VisFileVersion[] = SPECTROLA_VERSION;

extern "C" SPECTROLA_EXPORT tMP3VisHeader* tMP3GetVisHeader(void)
{
    g_header.getModule = &GetModule;
    return &g_header;
}
