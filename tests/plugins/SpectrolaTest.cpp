// Spectrola on a real X display with Mesa: frames rendered into a framebuffer and read back.
#include <QApplication>
#include <QDialog>
#include <QFileInfo>
#include <QImage>
#include <QOpenGLFunctions>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <QTimer>
#include <cmath>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

#include "platform/TypedSettings.h"
#include "support/TestFolders.h"
#include "visual/TunivoxVisPlugin.h"
#include "visual/VisualPluginLibrary.h"

using tunivox::test::ScopedUserFolders;

namespace {

constexpr int kWidth = 700, kHeight = 550;
constexpr double kMinHz = 40.0, kMaxHz = 16000.0; // the analyzer's axis

QFunctionPointer CurrentProc(const char* name)
{
    return QOpenGLContext::currentContext()->getProcAddress(name);
}

// A stereo signal generator, continuous across blocks.
struct Signal
{
    double dHz = 1000.0;
    double dLeft = 0.5, dRight = 0.5;
    bool bNoise = false;
    double dPhase = 0.0;
    unsigned uSeed = 12345;
    std::vector<int16_t> Next()
    {
        std::vector<int16_t> block(TMP3_VIS_PCM_FRAMES * 2);
        for (int i = 0; i < TMP3_VIS_PCM_FRAMES; ++i) {
            double v;
            if (bNoise) {
                uSeed = uSeed * 1664525u + 1013904223u;
                v = (static_cast<double>(uSeed >> 8) / 16777216.0) * 2.0 - 1.0;
            } else {
                v = std::sin(dPhase);
                dPhase += 2.0 * M_PI * dHz / TMP3_VIS_SAMPLE_RATE;
            }
            block[2 * i] = static_cast<int16_t>(v * dLeft * 32767.0);
            block[2 * i + 1] = static_cast<int16_t>(v * dRight * 32767.0);
        }
        return block;
    }
};

int Brightness(QRgb p)
{
    return std::max({qRed(p), qGreen(p), qBlue(p)});
}

class SpectrolaTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        surface.setFormat(QSurfaceFormat::defaultFormat());
        surface.create();
        ASSERT_TRUE(context.create());
        ASSERT_TRUE(context.makeCurrent(&surface));
        fbo = std::make_unique<QOpenGLFramebufferObject>(kWidth, kHeight);
        device.cbSize = sizeof(device);
        device.GetProcAddress = &CurrentProc;
        device.nWidth = kWidth;
        device.nHeight = kHeight;
        device.nFramebuffer = fbo->handle();
        const QFileInfo plugin(QStringLiteral(SPECTROLA_PATH));
        ASSERT_TRUE(library.Load(plugin.absolutePath(), plugin.fileName()));
        ASSERT_NE(library.Header(), nullptr);
    }

    void TearDown() override
    {
        if (module) {
            module->Release(module);
            module->Quit(module);
        }
        fbo.reset();
        context.doneCurrent();
    }

    void Start(int nModule)
    {
        module = library.Header()->getModule(nModule);
        ASSERT_NE(module, nullptr);
        module->pDevice = &device;
        ASSERT_EQ(module->Init(module), 0);
    }

    QImage Frame(const std::vector<int16_t>& block, bool bPlaying = true, bool bPaused = false, float dt = 0.03f)
    {
        module->bPlaying = bPlaying;
        module->bPaused = bPaused;
        module->pSamples = block.data();
        module->fFrameSeconds = dt;
        context.functions()->glBindFramebuffer(GL_FRAMEBUFFER, fbo->handle());
        context.functions()->glClearColor(0, 0, 0, 1);
        context.functions()->glClear(GL_COLOR_BUFFER_BIT);
        module->Render(module);
        return fbo->toImage();
    }

    // Lit pixels of column x, counted up from the bottom edge until the first dark one.
    static int ColumnHeight(const QImage& image, int x)
    {
        int h = 0;
        for (int y = image.height() - 1; y >= 0 && Brightness(image.pixel(x, y)) > 40; --y)
            ++h;
        return h;
    }

    static int AxisX(double dHz) { return static_cast<int>(std::log(dHz / kMinHz) / std::log(kMaxHz / kMinHz) * kWidth); }

    ScopedUserFolders folders;
    QOffscreenSurface surface;
    QOpenGLContext context;
    std::unique_ptr<QOpenGLFramebufferObject> fbo;
    tMP3VisHostDevice device{};
    CVisualPluginLibrary library;
    tMP3VisModule* module = nullptr;
};

void StoreSettings(DWORD bars, DWORD scheme)
{
    CTypedSettings store;
    const QString key = QStringLiteral("Software\\Tunivox\\TunivoxDesk\\MP3PlayerInternal\\Spectrola");
    ASSERT_TRUE(store.SetValue(key, QStringLiteral("Bars"), TypedValue::FromDWORD(bars)));
    ASSERT_TRUE(store.SetValue(key, QStringLiteral("Scheme"), TypedValue::FromDWORD(scheme)));
}

} // namespace

// The settings dialog is wide enough for a title bar to show its whole title beside the window
// icon and three buttons (about 140 pixels); sized to its three rows it cut the title.
TEST_F(SpectrolaTest, ModulesVersionAndASettingsDialogWithRoomForItsTitle)
{
    EXPECT_STREQ(library.Header()->pszDescription, "Spectrola");
    const auto names = VisualPluginModuleNames(library.Header());
    ASSERT_EQ(names.size(), 3u);
    EXPECT_EQ(names[0], QStringLiteral("Spectrum analyzer"));
    EXPECT_FALSE(library.VersionText().isEmpty());

    tMP3VisModule* analyzer = library.Header()->getModule(0);
    ASSERT_NE(analyzer->Config, nullptr);
    analyzer->hwndParent = nullptr;
    int width = 0;
    int titleWidth = 0;
    QTimer::singleShot(300, [&] {
        QWidget* dialog = QApplication::activeModalWidget();
        ASSERT_NE(dialog, nullptr);
        width = dialog->width();
        titleWidth = dialog->fontMetrics().horizontalAdvance(dialog->windowTitle());
        if (const QByteArray shot = qgetenv("TUNIVOX_SCREENSHOT_DIR"); !shot.isEmpty())
            dialog->grab().save(QString::fromUtf8(shot) + QStringLiteral("/spectrola-settings.png"));
        static_cast<QDialog*>(dialog)->reject();
    });
    analyzer->Config(analyzer);
    EXPECT_GE(width, titleWidth + 140);
}

TEST_F(SpectrolaTest, OneKilohertzToneRaisesItsBarAtItsPlaceOnTheLogAxis)
{
    StoreSettings(48, 0);
    Start(0);
    Signal tone;
    QImage image;
    for (int i = 0; i < 20; ++i)
        image = Frame(tone.Next());
    int best = 0, bestHeight = 0;
    for (int x = 0; x < kWidth; ++x)
        if (const int h = ColumnHeight(image, x); h > bestHeight) {
            bestHeight = h;
            best = x;
        }
    const int slot = kWidth / 48;
    EXPECT_NEAR(best, AxisX(1000.0), 1.5 * slot) << "tallest bar at x=" << best;
    EXPECT_GT(bestHeight, kHeight / 2) << "a half-scale tone stands high";
    EXPECT_LT(ColumnHeight(image, AxisX(100.0) + slot / 2), kHeight / 10) << "far from the tone stays low";
    EXPECT_LT(ColumnHeight(image, AxisX(8000.0) + slot / 2), kHeight / 10);

    // Pausing freezes the picture (dimmed, a pause sign in the middle) whatever the block says.
    const QImage paused1 = Frame(Signal{200.0}.Next(), true, true);
    const QImage paused2 = Frame(Signal{5000.0}.Next(), true, true);
    EXPECT_EQ(paused1, paused2);
    EXPECT_LT(Brightness(paused1.pixel(best, kHeight - 5)), Brightness(image.pixel(best, kHeight - 5)));
    EXPECT_GT(ColumnHeight(paused1, best), kHeight / 2);

    // Stopped: the bars fall back to rest within a couple of seconds.
    QImage rest;
    for (int i = 0; i < 80; ++i)
        rest = Frame(tone.Next(), false, false);
    EXPECT_LT(ColumnHeight(rest, best), 6);
}

TEST_F(SpectrolaTest, StoredBarCountIsDrawn)
{
    for (const DWORD bars : {16u, 64u}) {
        StoreSettings(bars, 2);
        Start(0);
        Signal noise;
        noise.bNoise = true;
        QImage image;
        for (int i = 0; i < 15; ++i)
            image = Frame(noise.Next());
        int runs = 0;
        bool lit = false;
        for (int x = 0; x < kWidth; ++x) {
            const bool now = Brightness(image.pixel(x, kHeight - 2)) > 40;
            runs += now && !lit ? 1 : 0;
            lit = now;
        }
        EXPECT_EQ(runs, static_cast<int>(bars));
        module->Release(module);
        module->Quit(module);
        module = nullptr;
    }
}

TEST_F(SpectrolaTest, OscilloscopeShowsEachChannelInItsHalf)
{
    Start(1);
    Signal leftOnly{220.0, 0.8, 0.0};
    QImage image;
    for (int i = 0; i < 10; ++i)
        image = Frame(leftOnly.Next());
    // Top half (left channel) swings; bottom half (right, silent) is a flat line at its centre.
    auto litRows = [&](int y0, int y1) {
        int n = 0;
        for (int y = y0; y < y1; ++y)
            for (int x = 0; x < kWidth; x += 7)
                if (Brightness(image.pixel(x, y)) > 60) {
                    ++n;
                    break;
                }
        return n;
    };
    EXPECT_GT(litRows(0, kHeight / 2), kHeight / 4);
    EXPECT_LT(litRows(kHeight / 2, kHeight), 8);
}

TEST_F(SpectrolaTest, SpectrogramScrollsTheToneInAtTheRightHeight)
{
    Start(2);
    Signal tone;
    QImage image;
    for (int i = 0; i < 40; ++i)
        image = Frame(tone.Next());
    const int x = kWidth - 3; // the newest columns
    int bestY = 0, best = -1;
    for (int y = 0; y < kHeight; ++y)
        if (const int b = Brightness(image.pixel(x, y)); b > best) {
            best = b;
            bestY = y;
        }
    const int expectedY = kHeight - 1 - AxisX(1000.0) * kHeight / kWidth;
    EXPECT_NEAR(bestY, expectedY, kHeight / 40);
    EXPECT_LT(Brightness(image.pixel(5, expectedY)), 40) << "the oldest columns are still silent";
}
