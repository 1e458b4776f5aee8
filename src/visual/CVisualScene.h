#pragma once
// The built-in scene: background picture, cover-art slide show and the lyrics box with its scrolling
// text and arrows, drawn with OpenGL (2.1 / GLSL 1.10, which Mesa's llvmpipe runs).
//
// Threading: lives on the render thread and is only touched there, with the thread's OpenGL context
// current for CreateDeviceResources, ReleaseDeviceResources and RenderFrame. The window's input and
// commands reach it as queued commands of CVisualThread.

#include <QFont>
#include <QImage>
#include <QSize>
#include <QString>
#include <QStringList>
#include <QVector2D>
#include <array>
#include <functional>
#include <memory>

#include "song/SyncedLyrics.h"
#include "visual/IVisualPluginRunner.h"
#include "visual/LyricsText.h"
#include "visual/VisualLayout.h"
#include "visual/VisualSettings.h"

class QOpenGLShaderProgram;
class QOpenGLTexture;
class QOpenGLBuffer;
class QOpenGLFramebufferObject;
class QOpenGLFunctions;
class QOpenGLExtraFunctions;

// What the scene shows, copied out for observers on other threads.
struct VisualSceneState
{
    QString strTitle;
    QString strLyrics;
    CSyncedLyrics syncedLyrics; // from the feed, else the time stamps in strLyrics
    QStringList arrArts;
    QStringList arrBackgrounds;
    int nCurrentArt = 0;
    int nCurrentBackground = 0;
    DWORD dwFlags = 0;
    bool bSlideShow = false;
    int nSceneMode = 0;
    VisualSettings settings;
    QSize clientSize;
    VisualRect rcArt, rcLyricsBox, rcUpArrow, rcDownArrow;
    bool bArtShown = false, bLyricsShown = false;
    QSize lyricsTextSize;
    LyricsScrollState scroll;
    bool bHoverUp = false, bHoverDown = false;
    int nLyricsPage = -100;
    // Synchronised lyrics, while the setting is on and the lyrics have times: the line sung at the
    // engine's position read for the last frame (-1 before the first), and where it was drawn.
    bool bSyncedLyrics = false;
    int nSyncedLine = -1;
    qint64 nSyncedPositionMs = 0;
    VisualRect rcSyncedLine;
    int nRebuilds = 0;
    float fMeasuredFPS = 0.0f;
    long long nFrames = 0;
    long long nOffPaceFrames = 0; // frames whose interval missed the frame time by more than 2 ms
};

class CVisualScene
{
public:
    CVisualScene(const VisualSettings& settings, DWORD dwFlags, bool bSlideShow, QSize clientSize);
    ~CVisualScene();
    CVisualScene(const CVisualScene&) = delete;
    CVisualScene& operator=(const CVisualScene&) = delete;

    bool CreateDeviceResources();
    void ReleaseDeviceResources();
    bool HasDeviceResources() const { return m_pProgram != nullptr; }

    // Feed setters.
    void SetTitle(const QString& title);
    void SetLyrics(const QString& lyrics, const CSyncedLyrics& synced = {});
    void SetArts(const QStringList& arts);
    void SetBackgrounds(const QStringList& backgrounds);

    // Window commands and input (client pixels).
    void SetFlags(DWORD dwFlags);
    void SetSlideShow(bool bOn) { m_state.bSlideShow = bOn; }
    void ApplySettings(const VisualSettings& settings);
    void ReloadArtAndBackgrounds();
    void SwitchMode();
    // Rebuilds only when the size really changed.
    void Resize(QSize clientSize);
    void MouseMove(int x, int y);
    void MouseLeave();
    bool LButtonDown(int x, int y);
    void KeyDown(int nKey);

    // Recomputes the layout; `nParts` holds VISUAL_FLAG_ART and/or VISUAL_FLAG_LYRICS.
    void RebuildScene(int nParts);
    // Moves the slide show on by the seconds passed (the window's timer 19).
    void AdvanceSlideShow(float fSeconds);
    // Draws one frame into the bound framebuffer; the caller presents it.
    void RenderFrame(float fSeconds, float fMeasuredFPS);

    // The plug-in seam: a runner draws in plug-in mode instead of the background.
    void SetPluginRunner(IVisualPluginRunner* pRunner) { m_pPlugin = pRunner; }
    void SetAudioPlayer(CAudioPlayer* pPlayer) { m_pAudioPlayer = pPlayer; }

    // Called with the window title text ("%s        FPS: %.1f" when ShowFPS is on).
    void SetTitleSink(std::function<void(const QString&)> sink) { m_titleSink = std::move(sink); }

    const VisualSceneState& State() const { return m_state; }
    void CountOffPace() { ++m_state.nOffPaceFrames; }

private:
    void LoadArt();
    void LoadBackground();
    void UploadImage(std::unique_ptr<QOpenGLTexture>& texture, const QImage& image);
    // The quads of a frame, each with its place in the vertex buffer.
    enum class QuadSlot { Background, Box, Text, UpArrow, DownArrow, Art, Count };
    using QuadVertices = std::array<float, 16>;
    struct ProgramUniforms
    {
        int viewport = -1, color = -1, alpha = -1, vOffset = -1, tex = -1;
    };
    void DrawQuad(QuadSlot eSlot, const VisualRect& rect, const VisualTexRect& uv, unsigned int nTexture,
                  ARGBCOLOR clrColour, float fAlpha, float fVOffset = 0.0f, bool bClip = false);
    void DrawBackground();
    void DrawLyricsBox();
    void DrawArt(float fAlpha);
    float ArtAlpha() const;
    // Where `rect` of the client area lies in the static layer's texture.
    VisualTexRect LayerTexRect(const VisualRect& rect) const;
    // Draws what stays put between layout changes into the static layer when it is stale: with
    // `bWhole` the background, lyrics box and art as the frame shows them, else only the art as
    // sampled. False when there is no layer to copy from.
    bool UpdateStaticLayer(bool bWhole);
    // Copies the whole layer onto the frame; false when the context cannot blit.
    bool BlitStaticLayer();
    void MeasureLyricsIfStale();
    VisualRect TextQuad() const;
    void RenderLyrics(float fSeconds);
    void RenderSyncedLyrics(float fSeconds);
    bool ArtShown() const;
    bool LyricsShown() const;
    bool SyncedLyricsShown() const;

    VisualSceneState m_state;
    QFont m_lyricsFont;
    QImage m_artImage;        // the current cover art, or the default art
    QImage m_backgroundImage;
    bool m_bLyricsTextureValid = false;
    QStringList m_syncedLines;          // the texts of m_state.syncedLyrics
    SyncedLyricsLayout m_syncedLayout;  // measured with the texture
    int m_nSyncedLineDrawn = -2;        // the highlighted line in the lyrics texture
    float m_fTotalSeconds = 0.0f;
    float m_fLastTitleUpdate = 0.0f;
    float m_fShownFPS = 0.0f;
    float m_fSlideShowElapsed = 0.0f;

    std::array<std::unique_ptr<QOpenGLShaderProgram>, 3> m_programs; // colour, texture, clipped texture
    QOpenGLShaderProgram* m_pProgram = nullptr;                      // set while resources exist
    QOpenGLShaderProgram* m_pBound = nullptr;
    QVector2D m_viewport;
    std::array<ProgramUniforms, 3> m_uniforms;
    std::unique_ptr<QOpenGLBuffer> m_pVertices;
    std::array<QuadVertices, static_cast<size_t>(QuadSlot::Count)> m_quadVertices{}; // as the buffer holds them
    std::unique_ptr<QOpenGLTexture> m_pArtTexture;
    std::unique_ptr<QOpenGLTexture> m_pBackgroundTexture;
    std::unique_ptr<QOpenGLTexture> m_pLyricsTexture;
    std::unique_ptr<QOpenGLTexture> m_pUpArrow;
    std::unique_ptr<QOpenGLTexture> m_pDownArrow;
    std::unique_ptr<QOpenGLFramebufferObject> m_pStaticLayer;
    bool m_bStaticLayerValid = false;
    bool m_bWholeStaticLayer = false;
    bool m_bArtInStaticLayer = false;
    QOpenGLFunctions* m_pGL = nullptr;
    QOpenGLExtraFunctions* m_pBlit = nullptr; // null without framebuffer blits

    IVisualPluginRunner* m_pPlugin = nullptr;
    CAudioPlayer* m_pAudioPlayer = nullptr;
    std::function<void(const QString&)> m_titleSink;
};
