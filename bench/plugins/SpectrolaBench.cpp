// Spectrola's cost per frame (analysis and drawing, finished on the GPU side) at 700 x 550, each
// module, with a new block of music-like audio every frame. Target: under 2 ms, so the window keeps
// 90 frames per second. Needs an X display (xvfb-run) and QT_QPA_PLATFORM=xcb for Mesa's llvmpipe.
#include <QApplication>
#include <QFileInfo>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <QOpenGLFunctions>
#include <benchmark/benchmark.h>
#include <cmath>
#include <vector>

#include "visual/TunivoxVisPlugin.h"
#include "visual/VisualPluginLibrary.h"

namespace {

QFunctionPointer CurrentProc(const char* name)
{
    return QOpenGLContext::currentContext()->getProcAddress(name);
}

void BM_SpectrolaFrame(benchmark::State& state)
{
    QOffscreenSurface surface;
    surface.create();
    QOpenGLContext context;
    if (!context.create() || !context.makeCurrent(&surface)) {
        state.SkipWithError("no OpenGL context");
        return;
    }
    {
        QOpenGLFramebufferObject fbo(700, 550);
        tMP3VisHostDevice device{};
        device.cbSize = sizeof(device);
        device.GetProcAddress = &CurrentProc;
        device.nWidth = 700;
        device.nHeight = 550;
        device.nFramebuffer = fbo.handle();
        CVisualPluginLibrary library;
        const QFileInfo plugin(QStringLiteral(SPECTROLA_PATH));
        tMP3VisHeader* header = library.Load(plugin.absolutePath(), plugin.fileName()) ? library.Header() : nullptr;
        tMP3VisModule* module = header ? header->getModule(static_cast<int>(state.range(0))) : nullptr;
        if (!module) {
            state.SkipWithError("Spectrola not loaded");
            return;
        }
        module->pDevice = &device;
        module->Init(module);
        // A chord with a moving bass, so every frame brings a new block and the bars move.
        std::vector<int16_t> block(TMP3_VIS_PCM_FRAMES * 2);
        double t = 0.0;
        module->bPlaying = 1;
        module->pSamples = block.data();
        module->fFrameSeconds = 1.0f / 90.0f;
        QOpenGLFunctions* gl = context.functions();
        for (auto _ : state) {
            for (int i = 0; i < TMP3_VIS_PCM_FRAMES; ++i, t += 1.0 / 44100.0) {
                const double v = 0.3 * std::sin(2 * M_PI * 110.0 * (1.0 + 0.1 * std::sin(t)) * t)
                    + 0.2 * std::sin(2 * M_PI * 440.0 * t) + 0.15 * std::sin(2 * M_PI * 2637.0 * t);
                block[2 * i] = block[2 * i + 1] = static_cast<int16_t>(v * 32767.0);
            }
            gl->glBindFramebuffer(GL_FRAMEBUFFER, fbo.handle());
            gl->glClear(GL_COLOR_BUFFER_BIT);
            module->Render(module);
            gl->glFinish();
        }
        module->Release(module);
        module->Quit(module);
    }
    context.doneCurrent();
}

BENCHMARK(BM_SpectrolaFrame)->Arg(0)->Arg(1)->Arg(2)->ArgName("module")->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
