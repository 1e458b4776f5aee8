#include "visual/CVisualScene.h"

#include <QOpenGLBuffer>
#include <QOpenGLContext>
#include <QOpenGLExtraFunctions>
#include <QOpenGLFramebufferObject>
#include <QOpenGLFunctions>
#include <QOpenGLShaderProgram>
#include <QOpenGLTexture>
#include <algorithm>
#include <array>

#include "audio/CAudioPlayer.h"
#include "visual/LyricsText.h"
#include "visual/VisualImages.h"

namespace {

const char* const kVertexShader = R"(
attribute vec2 aPos;
attribute vec2 aUv;
uniform vec2 uViewport;
uniform float uVOffset;
varying vec2 vUv;
void main()
{
    gl_Position = vec4(aPos.x / uViewport.x * 2.0 - 1.0, 1.0 - aPos.y / uViewport.y * 2.0, 0.0, 1.0);
    vUv = aUv + vec2(0.0, uVOffset);
}
)";

// One program per kind of quad: branches and discards in a shared shader cost llvmpipe every pixel.
// Lyrics rows scrolled outside the texture are transparent rather than repeated edge rows.
const char* const kFragmentShader = R"(
#ifdef GL_ES
precision mediump float;
#endif
uniform sampler2D uTex;
uniform vec4 uColor;
uniform float uAlpha;
varying vec2 vUv;
void main()
{
#if defined(TEXTURED)
#if defined(CLIPPED)
    if (vUv.y < 0.0 || vUv.y > 1.0)
        discard;
#endif
    vec4 t = texture2D(uTex, vUv);
    gl_FragColor = vec4(t.rgb, t.a * uAlpha);
#else
    gl_FragColor = vec4(uColor.rgb, uColor.a * uAlpha);
#endif
}
)";

const char* const kProgramDefines[] = {"", "#define TEXTURED\n", "#define TEXTURED\n#define CLIPPED\n"};

constexpr float kArrowIdleAlpha = 0x80 / 255.0f;

GLuint TextureId(const std::unique_ptr<QOpenGLTexture>& texture)
{
    return texture ? texture->textureId() : 0;
}

} // namespace

CVisualScene::CVisualScene(const VisualSettings& settings, DWORD dwFlags, bool bSlideShow, QSize clientSize)
{
    m_state.settings = settings;
    m_state.dwFlags = dwFlags;
    m_state.bSlideShow = bSlideShow;
    m_state.clientSize = clientSize;
    m_state.scroll.nScrollSpeed = settings.m_nLyricsSpeed;
    m_lyricsFont = LyricsFont(settings);
    m_artImage = VisualDefaultArt();
    RebuildScene(VISUAL_FLAG_ART | VISUAL_FLAG_LYRICS);
}

CVisualScene::~CVisualScene()
{
    // Textures need their context; the owner releases them while it is current. Anything left is
    // abandoned rather than deleted without one.
    if (!QOpenGLContext::currentContext()) {
        for (auto* texture : {&m_pArtTexture, &m_pBackgroundTexture, &m_pLyricsTexture, &m_pUpArrow, &m_pDownArrow})
            (void)texture->release();
        (void)m_pStaticLayer.release();
        (void)m_pVertices.release();
        for (auto& program : m_programs)
            (void)program.release();
    }
}

bool CVisualScene::CreateDeviceResources()
{
    QOpenGLContext* context = QOpenGLContext::currentContext();
    if (!context)
        return false;
    m_pGL = context->functions();
    m_pBlit = context->format().majorVersion() >= 3 || context->hasExtension("GL_ARB_framebuffer_object")
        ? context->extraFunctions() : nullptr;
    std::array<std::unique_ptr<QOpenGLShaderProgram>, 3> programs;
    for (size_t i = 0; i < programs.size(); ++i) {
        auto program = std::make_unique<QOpenGLShaderProgram>();
        if (!program->addShaderFromSourceCode(QOpenGLShader::Vertex, kVertexShader)
            || !program->addShaderFromSourceCode(QOpenGLShader::Fragment,
                                                 QByteArray(kProgramDefines[i]) + kFragmentShader)) {
            qWarning("visualization: shader compilation failed: %s", qPrintable(program->log()));
            return false;
        }
        program->bindAttributeLocation("aPos", 0);
        program->bindAttributeLocation("aUv", 1);
        if (!program->link()) {
            qWarning("visualization: shader link failed: %s", qPrintable(program->log()));
            return false;
        }
        programs[i] = std::move(program);
    }
    auto vertices = std::make_unique<QOpenGLBuffer>(QOpenGLBuffer::VertexBuffer);
    if (!vertices->create())
        return false;
    vertices->setUsagePattern(QOpenGLBuffer::DynamicDraw);
    vertices->bind();
    m_quadVertices = {};
    vertices->allocate(m_quadVertices.data(), static_cast<int>(sizeof(m_quadVertices)));
    vertices->release();
    for (size_t i = 0; i < programs.size(); ++i) {
        QOpenGLShaderProgram& program = *programs[i];
        m_uniforms[i] = {program.uniformLocation("uViewport"), program.uniformLocation("uColor"),
                         program.uniformLocation("uAlpha"), program.uniformLocation("uVOffset"),
                         program.uniformLocation("uTex")};
    }
    m_programs = std::move(programs);
    m_pProgram = m_programs[0].get();
    m_pVertices = std::move(vertices);
    UploadImage(m_pUpArrow, VisualArrowImage(true));
    UploadImage(m_pDownArrow, VisualArrowImage(false));
    UploadImage(m_pArtTexture, m_artImage);
    UploadImage(m_pBackgroundTexture, m_backgroundImage);
    m_bLyricsTextureValid = false;
    m_bStaticLayerValid = false;
    return true;
}

void CVisualScene::ReleaseDeviceResources()
{
    if (m_pPlugin && m_pPlugin->IsRunning())
        m_pPlugin->ReleaseDeviceResources();
    m_pArtTexture.reset();
    m_pBackgroundTexture.reset();
    m_pLyricsTexture.reset();
    m_pUpArrow.reset();
    m_pDownArrow.reset();
    m_pStaticLayer.reset();
    m_bStaticLayerValid = false;
    m_pVertices.reset();
    m_pProgram = nullptr;
    for (auto& program : m_programs)
        program.reset();
    m_bLyricsTextureValid = false;
    m_state.nLyricsPage = -100;
}

void CVisualScene::UploadImage(std::unique_ptr<QOpenGLTexture>& texture, const QImage& image)
{
    texture.reset();
    if (image.isNull() || !m_pProgram)
        return;
    texture = std::make_unique<QOpenGLTexture>(image.convertToFormat(QImage::Format_RGBA8888),
                                               QOpenGLTexture::DontGenerateMipMaps);
    texture->setMinMagFilters(QOpenGLTexture::Linear, QOpenGLTexture::Linear);
    texture->setWrapMode(QOpenGLTexture::ClampToEdge);
}

void CVisualScene::SetTitle(const QString& title)
{
    m_state.strTitle = title;
    if (m_titleSink)
        m_titleSink(title);
}

void CVisualScene::SetLyrics(const QString& lyrics, const CSyncedLyrics& synced)
{
    m_state.strLyrics = lyrics;
    m_state.syncedLyrics = synced.isEmpty() ? ParseLrcLyrics(lyrics) : synced;
    m_syncedLines.clear();
    for (const SyncedLyricsLine& line : std::as_const(m_state.syncedLyrics))
        m_syncedLines.append(line.strText);
    RebuildScene(VISUAL_FLAG_ART | VISUAL_FLAG_LYRICS);
}

void CVisualScene::SetArts(const QStringList& arts)
{
    m_state.arrArts = arts;
    m_state.nCurrentArt = 0;
    LoadArt();
    RebuildScene(VISUAL_FLAG_ART);
}

void CVisualScene::SetBackgrounds(const QStringList& backgrounds)
{
    m_state.arrBackgrounds = backgrounds;
    m_state.nCurrentBackground = 0;
    LoadBackground();
}

void CVisualScene::LoadArt()
{
    QImage image;
    if (m_state.nCurrentArt >= 0 && m_state.nCurrentArt < m_state.arrArts.size())
        image = LoadVisualPicture(m_state.arrArts[m_state.nCurrentArt]);
    m_artImage = image.isNull() ? VisualDefaultArt() : image;
    UploadImage(m_pArtTexture, m_artImage);
    m_bStaticLayerValid = false;
}

void CVisualScene::LoadBackground()
{
    m_backgroundImage = QImage();
    if (m_state.nCurrentBackground >= 0 && m_state.nCurrentBackground < m_state.arrBackgrounds.size())
        m_backgroundImage = LoadVisualPicture(m_state.arrBackgrounds[m_state.nCurrentBackground]);
    UploadImage(m_pBackgroundTexture, m_backgroundImage);
    m_bStaticLayerValid = false;
}

void CVisualScene::ReloadArtAndBackgrounds()
{
    LoadArt();
    LoadBackground();
    RebuildScene(VISUAL_FLAG_ART | VISUAL_FLAG_LYRICS);
}

void CVisualScene::SetFlags(DWORD dwFlags)
{
    m_state.dwFlags = dwFlags;
    RebuildScene(VISUAL_FLAG_ART | VISUAL_FLAG_LYRICS);
}

void CVisualScene::ApplySettings(const VisualSettings& settings)
{
    const int previousSpeed = m_state.scroll.nScrollSpeed;
    m_state.settings = settings;
    m_state.scroll.nScrollSpeed = previousSpeed < 0 ? -settings.m_nLyricsSpeed : settings.m_nLyricsSpeed;
    m_fSlideShowElapsed = 0.0f;
    m_lyricsFont = LyricsFont(settings);
    if (m_pProgram) {
        UploadImage(m_pArtTexture, m_artImage);
        UploadImage(m_pBackgroundTexture, m_backgroundImage);
    }
    RebuildScene(VISUAL_FLAG_ART | VISUAL_FLAG_LYRICS);
}

void CVisualScene::SwitchMode()
{
    if ((m_state.dwFlags & VISUAL_FLAG_PLUGIN) && m_pPlugin && m_pPlugin->IsRunning() && m_pPlugin->SwitchMode())
        return;
    // The built-in scene's second mode lets the backgrounds follow the slide show.
    m_state.nSceneMode ^= 1;
}

void CVisualScene::Resize(QSize clientSize)
{
    if (clientSize == m_state.clientSize || clientSize.isEmpty())
        return;
    m_state.clientSize = clientSize;
    ++m_state.nRebuilds;
    if (m_pPlugin && m_pPlugin->IsRunning())
        m_pPlugin->ReleaseDeviceResources();
    RebuildScene(VISUAL_FLAG_ART | VISUAL_FLAG_LYRICS);
}

bool CVisualScene::ArtShown() const
{
    return (m_state.dwFlags & VISUAL_FLAG_ART) && !m_artImage.isNull();
}

bool CVisualScene::SyncedLyricsShown() const
{
    return m_state.settings.m_bSyncLyrics && !m_state.syncedLyrics.isEmpty();
}

bool CVisualScene::LyricsShown() const
{
    return (m_state.dwFlags & VISUAL_FLAG_LYRICS) && (!m_state.strLyrics.isEmpty() || SyncedLyricsShown());
}

void CVisualScene::RebuildScene(int nParts)
{
    const VisualRect client{0, 0, m_state.clientSize.width(), m_state.clientSize.height()};
    m_state.bArtShown = ArtShown();
    m_state.bLyricsShown = LyricsShown();
    m_state.bSyncedLyrics = m_state.bLyricsShown && SyncedLyricsShown();
    if ((nParts & VISUAL_FLAG_ART) && m_state.bArtShown)
        m_state.rcArt = ComputeArtRect(client, m_state.bLyricsShown, m_artImage.width(), m_artImage.height());
    if ((nParts & VISUAL_FLAG_LYRICS) && m_state.bLyricsShown) {
        m_state.rcLyricsBox = ComputeLyricsBox(client, m_state.bArtShown);
        ComputeArrows(m_state.rcLyricsBox, m_state.rcUpArrow, m_state.rcDownArrow);
    }
    m_bLyricsTextureValid = false;
    m_bStaticLayerValid = false;
}

void CVisualScene::MouseMove(int x, int y)
{
    m_state.bHoverUp = m_state.bHoverDown = false;
    if (!m_state.bLyricsShown || !m_state.rcLyricsBox.Contains(x, y))
        return;
    m_state.bHoverUp = m_state.rcUpArrow.Contains(x, y);
    m_state.bHoverDown = m_state.rcDownArrow.Contains(x, y);
    if (m_state.bHoverUp)
        m_state.scroll.nScrollSpeed = -m_state.settings.m_nLyricsSpeed;
    else if (m_state.bHoverDown)
        m_state.scroll.nScrollSpeed = m_state.settings.m_nLyricsSpeed;
}

void CVisualScene::MouseLeave()
{
    m_state.bHoverUp = m_state.bHoverDown = false;
}

bool CVisualScene::LButtonDown(int x, int y)
{
    if (!m_state.bLyricsShown || !m_state.rcLyricsBox.Contains(x, y))
        return false;
    m_state.scroll.nScrollSpeed = m_state.scroll.nScrollSpeed != 0 ? 0 : m_state.settings.m_nLyricsSpeed;
    return true;
}

void CVisualScene::KeyDown(int nKey)
{
    if ((m_state.dwFlags & VISUAL_FLAG_PLUGIN) && m_pPlugin && m_pPlugin->IsRunning())
        m_pPlugin->OnKey(nKey);
}

void CVisualScene::AdvanceSlideShow(float fSeconds)
{
    m_fSlideShowElapsed += fSeconds;
    const float period = static_cast<float>(std::max(100, m_state.settings.m_nSlideShowTimeout)) / 1000.0f;
    if (m_fSlideShowElapsed < period)
        return;
    m_fSlideShowElapsed = 0.0f;
    if (!m_state.bSlideShow || !(m_state.dwFlags & VISUAL_FLAG_ART))
        return;
    const int count = static_cast<int>(m_state.arrArts.size());
    const int next = count > 0 ? (m_state.nCurrentArt + 1) % count : 0;
    if (next != m_state.nCurrentArt) {
        m_state.nCurrentArt = next;
        LoadArt();
        RebuildScene(VISUAL_FLAG_ART);
    }
    const int backgrounds = static_cast<int>(m_state.arrBackgrounds.size());
    if (m_state.nSceneMode == 1 && backgrounds > 1) {
        m_state.nCurrentBackground = (m_state.nCurrentBackground + 1) % backgrounds;
        LoadBackground();
    }
}

void CVisualScene::DrawQuad(QuadSlot eSlot, const VisualRect& r, const VisualTexRect& uv, GLuint nTexture,
                            ARGBCOLOR clrColour, float fAlpha, float fVOffset, bool bClip)
{
    const float x0 = static_cast<float>(r.left), x1 = static_cast<float>(r.right);
    const float y0 = static_cast<float>(r.top), y1 = static_cast<float>(r.bottom);
    const QuadVertices vertices = {x0, y0, uv.u0, uv.v0, x1, y0, uv.u1, uv.v0, x0, y1, uv.u0, uv.v1, x1, y1, uv.u1, uv.v1};
    m_pVertices->bind();
    // Rewriting a buffer that earlier draws of the frame still read makes llvmpipe finish them
    // first, so each quad keeps its own slot and is written only when it moves.
    QuadVertices& held = m_quadVertices[static_cast<size_t>(eSlot)];
    if (vertices != held) {
        m_pVertices->write(static_cast<int>(eSlot) * static_cast<int>(sizeof(QuadVertices)), vertices.data(),
                           static_cast<int>(sizeof(QuadVertices)));
        held = vertices;
    }
    // The discard costs llvmpipe on every pixel, so it runs only while the quad's rows reach past
    // the texture (lyrics scrolled above their start); inside it, it would never discard anything.
    const bool clipped = bClip && (uv.v0 + fVOffset < 0.0f || uv.v1 + fVOffset > 1.0f);
    const size_t index = nTexture ? (clipped ? 2 : 1) : 0;
    QOpenGLShaderProgram* program = m_programs[index].get();
    const ProgramUniforms& uniforms = m_uniforms[index];
    if (program != m_pBound) {
        program->bind();
        program->setUniformValue(uniforms.viewport, m_viewport);
        program->setUniformValue(uniforms.tex, 0);
        program->enableAttributeArray(0);
        program->enableAttributeArray(1);
        program->setAttributeBuffer(0, GL_FLOAT, 0, 2, 4 * sizeof(float));
        program->setAttributeBuffer(1, GL_FLOAT, 2 * sizeof(float), 2, 4 * sizeof(float));
        m_pBound = program;
    }
    if (nTexture)
        program->setUniformValue(uniforms.vOffset, fVOffset);
    else
        program->setUniformValue(uniforms.color, QColor::fromRgba(clrColour));
    program->setUniformValue(uniforms.alpha, fAlpha);
    if (nTexture) {
        m_pGL->glActiveTexture(GL_TEXTURE0);
        m_pGL->glBindTexture(GL_TEXTURE_2D, nTexture);
    }
    m_pGL->glDrawArrays(GL_TRIANGLE_STRIP, static_cast<int>(eSlot) * 4, 4);
    if (nTexture)
        m_pGL->glBindTexture(GL_TEXTURE_2D, 0);
}

void CVisualScene::MeasureLyricsIfStale()
{
    if (m_bLyricsTextureValid)
        return;
    const int width = m_state.rcLyricsBox.Width();
    if (m_state.bSyncedLyrics) {
        m_syncedLayout = LayoutSyncedLyrics(m_lyricsFont, width, m_syncedLines);
        m_state.lyricsTextSize = m_syncedLayout.size;
    } else {
        m_state.lyricsTextSize = MeasureLyrics(m_lyricsFont, width, m_state.strLyrics);
    }
    m_pLyricsTexture.reset();
    m_bLyricsTextureValid = true;
    m_state.nLyricsPage = -100;
}

VisualRect CVisualScene::TextQuad() const
{
    // Synchronised lines are laid out in the box's width; plain text is centred in it, and a word
    // wider than the box makes the quad wider than the box.
    const VisualRect& box = m_state.rcLyricsBox;
    const int width = m_state.lyricsTextSize.width();
    const int left = m_state.bSyncedLyrics ? box.left : box.left + (box.Width() - width) / 2;
    return VisualRect{left, box.top, left + width, box.bottom};
}

void CVisualScene::RenderSyncedLyrics(float fSeconds)
{
    const VisualRect& box = m_state.rcLyricsBox;
    const int h = box.Height();
    MeasureLyricsIfStale();
    // A plain atomic read: the render thread never waits on the audio path.
    const qint64 positionMs = m_pAudioPlayer ? static_cast<qint64>(m_pAudioPlayer->PeekCurrentTime() / 10000) : 0;
    const int line = SyncedLineAt(m_state.syncedLyrics, positionMs);
    m_state.nSyncedPositionMs = positionMs;
    m_state.nSyncedLine = line;
    const int shown = std::clamp(line, 0, static_cast<int>(m_syncedLayout.tops.size()) - 1);
    const QSize text = m_state.lyricsTextSize;
    if (text.isEmpty() || h <= 0 || shown < 0)
        return;
    const float target = SyncedLyricsTarget(m_syncedLayout.tops[shown], m_syncedLayout.heights[shown], h);
    const bool hover = m_state.bHoverUp || m_state.bHoverDown;
    StepSyncedLyricsScroll(m_state.scroll, fSeconds, hover, h, text.height(), target);
    const int page = LyricsPage(m_state.scroll.fOffset, h);
    if (page != m_state.nLyricsPage || line != m_nSyncedLineDrawn) {
        UploadImage(m_pLyricsTexture, DrawSyncedLyricsPage(m_lyricsFont, m_state.settings.m_clrFont, m_syncedLayout,
                                                           h, page, m_syncedLines, line));
        m_state.nLyricsPage = page;
        m_nSyncedLineDrawn = line;
    }
    const int lineTop = box.top + m_syncedLayout.tops[shown] - static_cast<int>(m_state.scroll.fOffset);
    m_state.rcSyncedLine = line < 0 ? VisualRect{}
                                    : VisualRect{box.left, lineTop, box.right, lineTop + m_syncedLayout.heights[shown]};
    DrawQuad(QuadSlot::Text, TextQuad(), VisualTexRect{0.0f, 0.0f, 1.0f, 0.5f}, TextureId(m_pLyricsTexture), 0, 1.0f,
             LyricsTexOffset(m_state.scroll.fOffset, h, page), true);
    DrawQuad(QuadSlot::UpArrow, m_state.rcUpArrow, {}, TextureId(m_pUpArrow), 0, m_state.bHoverUp ? 1.0f : kArrowIdleAlpha);
    DrawQuad(QuadSlot::DownArrow, m_state.rcDownArrow, {}, TextureId(m_pDownArrow), 0, m_state.bHoverDown ? 1.0f : kArrowIdleAlpha);
}

void CVisualScene::RenderLyrics(float fSeconds)
{
    if (m_state.bSyncedLyrics) {
        RenderSyncedLyrics(fSeconds);
        return;
    }
    const int h = m_state.rcLyricsBox.Height();
    MeasureLyricsIfStale();
    const QSize text = m_state.lyricsTextSize;
    const bool hover = m_state.bHoverUp || m_state.bHoverDown;
    StepLyricsScroll(m_state.scroll, fSeconds, hover, h, text.height());
    if (text.isEmpty() || h <= 0)
        return;
    const int page = LyricsPage(m_state.scroll.fOffset, h);
    if (page != m_state.nLyricsPage) {
        UploadImage(m_pLyricsTexture, DrawLyricsPage(m_lyricsFont, m_state.settings.m_clrFont, text, h, page,
                                                     m_state.strLyrics));
        m_state.nLyricsPage = page;
    }
    DrawQuad(QuadSlot::Text, TextQuad(), VisualTexRect{0.0f, 0.0f, 1.0f, 0.5f}, TextureId(m_pLyricsTexture), 0, 1.0f,
             LyricsTexOffset(m_state.scroll.fOffset, h, page), true);
    DrawQuad(QuadSlot::UpArrow, m_state.rcUpArrow, {}, TextureId(m_pUpArrow), 0, m_state.bHoverUp ? 1.0f : kArrowIdleAlpha);
    DrawQuad(QuadSlot::DownArrow, m_state.rcDownArrow, {}, TextureId(m_pDownArrow), 0, m_state.bHoverDown ? 1.0f : kArrowIdleAlpha);
}

void CVisualScene::RenderFrame(float fSeconds, float fMeasuredFPS)
{
    m_fTotalSeconds += fSeconds;
    m_state.fMeasuredFPS = fMeasuredFPS;
    if (m_fTotalSeconds - m_fLastTitleUpdate > 1.0f) {
        m_fLastTitleUpdate = m_fTotalSeconds;
        m_fShownFPS = fMeasuredFPS;
        if (m_state.settings.m_bShowFPS && m_titleSink)
            m_titleSink(QString::asprintf("%s        FPS: %.1f", m_state.strTitle.toUtf8().constData(),
                                          static_cast<double>(m_fShownFPS)));
    }
    ++m_state.nFrames;
    if (!m_pProgram)
        return;
    const QSize size = m_state.clientSize;
    m_pGL->glViewport(0, 0, size.width(), size.height());
    m_pGL->glClearColor(0.0f, 0.0f, 0.0f, 1.0f);
    m_pGL->glClearDepthf(1.0f);
    m_pGL->glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    m_pGL->glDisable(GL_DEPTH_TEST);

    const bool pluginMode = (m_state.dwFlags & VISUAL_FLAG_PLUGIN) != 0;
    if (pluginMode && m_pPlugin && m_pPlugin->IsRunning() && m_pPlugin->HasRender()) {
        VisualFrameInfo info;
        info.pAudioPlayer = m_pAudioPlayer;
        info.fTotalSeconds = m_fTotalSeconds;
        info.fFrameSeconds = fSeconds;
        info.fShownFPS = m_fShownFPS;
        m_pPlugin->Render(info);
    }

    m_viewport = QVector2D(static_cast<float>(size.width()), static_cast<float>(size.height()));
    m_pBound = nullptr;
    const bool artShown = m_state.bArtShown && m_pArtTexture;
    // Copying the whole layer costs a full-screen pass: it pays off where the background costs one
    // anyway. Elsewhere the layer holds only the art at its size, which is cheaper to sample
    // texel for texel than to shrink from the picture each frame.
    const bool whole = !pluginMode && m_pBackgroundTexture;
    const bool layered = (whole || artShown) && UpdateStaticLayer(whole);
    if (layered && whole) {
        m_pGL->glDisable(GL_BLEND);
        if (!BlitStaticLayer())
            DrawQuad(QuadSlot::Background, VisualRect{0, 0, size.width(), size.height()},
                     LayerTexRect(VisualRect{0, 0, size.width(), size.height()}), m_pStaticLayer->texture(), 0, 1.0f);
    } else if (!pluginMode) {
        DrawBackground();
    }
    m_pGL->glEnable(GL_BLEND);
    m_pGL->glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    if (m_state.bLyricsShown) {
        if (!(layered && whole))
            DrawLyricsBox();
        RenderLyrics(fSeconds);
    }
    if (artShown && !(layered && whole && m_bArtInStaticLayer)) {
        if (layered && !whole)
            DrawQuad(QuadSlot::Art, m_state.rcArt, LayerTexRect(m_state.rcArt), m_pStaticLayer->texture(), 0, ArtAlpha());
        else
            DrawArt(ArtAlpha());
    }
    if (m_pBound) {
        m_pBound->release();
        m_pVertices->release();
    }
}

void CVisualScene::DrawBackground()
{
    if (!m_pBackgroundTexture)
        return;
    const QSize size = m_state.clientSize;
    m_pGL->glDisable(GL_BLEND);
    DrawQuad(QuadSlot::Background, VisualRect{0, 0, size.width(), size.height()},
             CoverTexRect(size.width(), size.height(), m_backgroundImage.width(), m_backgroundImage.height()),
             TextureId(m_pBackgroundTexture), 0, 1.0f);
}

void CVisualScene::DrawLyricsBox()
{
    DrawQuad(QuadSlot::Box, m_state.rcLyricsBox, {}, 0, m_state.settings.m_clrLyricsBox, 1.0f);
}

void CVisualScene::DrawArt(float fAlpha)
{
    DrawQuad(QuadSlot::Art, m_state.rcArt, {}, TextureId(m_pArtTexture), 0, fAlpha);
}

float CVisualScene::ArtAlpha() const
{
    return static_cast<float>(m_state.settings.m_nArtTransparency & 0xFF) / 255.0f;
}

VisualTexRect CVisualScene::LayerTexRect(const VisualRect& rect) const
{
    // The layer's rows run bottom up.
    const auto w = static_cast<float>(m_state.clientSize.width());
    const auto h = static_cast<float>(m_state.clientSize.height());
    return VisualTexRect{static_cast<float>(rect.left) / w, 1.0f - static_cast<float>(rect.top) / h,
                         static_cast<float>(rect.right) / w, 1.0f - static_cast<float>(rect.bottom) / h};
}

bool CVisualScene::BlitStaticLayer()
{
    if (!m_pBlit)
        return false;
    GLint target = 0;
    m_pGL->glGetIntegerv(GL_FRAMEBUFFER_BINDING, &target);
    m_pBlit->glBindFramebuffer(GL_READ_FRAMEBUFFER, m_pStaticLayer->handle());
    m_pBlit->glBindFramebuffer(GL_DRAW_FRAMEBUFFER, static_cast<GLuint>(target));
    const int w = m_state.clientSize.width(), h = m_state.clientSize.height();
    m_pBlit->glBlitFramebuffer(0, 0, w, h, 0, 0, w, h, GL_COLOR_BUFFER_BIT, GL_NEAREST);
    m_pGL->glBindFramebuffer(GL_FRAMEBUFFER, static_cast<GLuint>(target));
    return true;
}

bool CVisualScene::UpdateStaticLayer(bool bWhole)
{
    if (m_bStaticLayerValid && m_bWholeStaticLayer == bWhole)
        return true;
    // The frame's target, read before a new layer's creation leaves the layer bound.
    GLint target = 0;
    m_pGL->glGetIntegerv(GL_FRAMEBUFFER_BINDING, &target);
    const QSize size = m_state.clientSize;
    if (!m_pStaticLayer || m_pStaticLayer->size() != size) {
        m_pStaticLayer = std::make_unique<QOpenGLFramebufferObject>(size);
        if (!m_pStaticLayer->isValid()) {
            m_pStaticLayer.reset();
            m_pGL->glBindFramebuffer(GL_FRAMEBUFFER, static_cast<GLuint>(target));
            return false;
        }
        // Copied pixel for pixel onto the frame.
        m_pGL->glBindTexture(GL_TEXTURE_2D, m_pStaticLayer->texture());
        m_pGL->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
        m_pGL->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
        m_pGL->glBindTexture(GL_TEXTURE_2D, 0);
    }
    m_pStaticLayer->bind();
    m_pGL->glClear(GL_COLOR_BUFFER_BIT);
    if (bWhole) {
        // The art is drawn after the lyrics text; it joins the layer only when the text cannot
        // reach it (a word wider than the box can).
        bool artUnderText = false;
        if (m_state.bLyricsShown) {
            MeasureLyricsIfStale();
            const VisualRect text = TextQuad();
            const VisualRect& art = m_state.rcArt;
            artUnderText = text.left < art.right && art.left < text.right && text.top < art.bottom && art.top < text.bottom;
        }
        m_bArtInStaticLayer = m_state.bArtShown && m_pArtTexture && !artUnderText;
        DrawBackground();
        m_pGL->glEnable(GL_BLEND);
        m_pGL->glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
        if (m_state.bLyricsShown)
            DrawLyricsBox();
        if (m_bArtInStaticLayer)
            DrawArt(ArtAlpha());
    } else {
        // The art as sampled, with its own alpha; the frame applies the art transparency.
        m_pGL->glDisable(GL_BLEND);
        DrawArt(1.0f);
    }
    m_pGL->glBindFramebuffer(GL_FRAMEBUFFER, static_cast<GLuint>(target));
    m_bStaticLayerValid = true;
    m_bWholeStaticLayer = bWhole;
    return true;
}
