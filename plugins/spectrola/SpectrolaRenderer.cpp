#include "SpectrolaRenderer.h"

#include <algorithm>
#include <cmath>

namespace {

const char* const kColourVertex = R"(#version 110
attribute vec2 aPos;
attribute vec4 aColor;
uniform vec2 uViewport;
varying vec4 vColor;
void main()
{
    gl_Position = vec4(aPos / uViewport * 2.0 - 1.0, 0.0, 1.0);
    vColor = aColor;
}
)";

const char* const kColourFragment = R"(#version 110
varying vec4 vColor;
void main()
{
    gl_FragColor = vColor;
}
)";

// aColor.xy carries the texture coordinate: one vertex layout for both programs.
const char* const kTextureVertex = R"(#version 110
attribute vec2 aPos;
attribute vec4 aColor;
uniform vec2 uViewport;
varying vec2 vUv;
void main()
{
    gl_Position = vec4(aPos / uViewport * 2.0 - 1.0, 0.0, 1.0);
    vUv = aColor.xy;
}
)";

const char* const kTextureFragment = R"(#version 110
uniform sampler2D uTex;
uniform float uOffset;
uniform float uDim;
varying vec2 vUv;
void main()
{
    gl_FragColor = vec4(texture2D(uTex, vec2(vUv.x + uOffset, vUv.y)).rgb * uDim, 1.0);
}
)";

constexpr int kFloats = 6;

GLuint Compile(const SpectrolaGl& gl, GLenum eKind, const char* pszSource)
{
    const GLuint shader = gl.CreateShader(eKind);
    gl.ShaderSource(shader, 1, &pszSource, nullptr);
    gl.CompileShader(shader);
    GLint ok = 0;
    gl.GetShaderiv(shader, GL_COMPILE_STATUS, &ok);
    if (!ok) {
        gl.DeleteShader(shader);
        return 0;
    }
    return shader;
}

GLuint Link(const SpectrolaGl& gl, const char* pszVertex, const char* pszFragment)
{
    const GLuint vs = Compile(gl, GL_VERTEX_SHADER, pszVertex);
    const GLuint fs = Compile(gl, GL_FRAGMENT_SHADER, pszFragment);
    GLuint program = 0;
    if (vs && fs) {
        program = gl.CreateProgram();
        gl.AttachShader(program, vs);
        gl.AttachShader(program, fs);
        gl.BindAttribLocation(program, 0, "aPos");
        gl.BindAttribLocation(program, 1, "aColor");
        gl.LinkProgram(program);
        GLint ok = 0;
        gl.GetProgramiv(program, GL_LINK_STATUS, &ok);
        if (!ok) {
            gl.DeleteProgram(program);
            program = 0;
        }
    }
    if (vs)
        gl.DeleteShader(vs);
    if (fs)
        gl.DeleteShader(fs);
    return program;
}

} // namespace

bool CSpectrolaRenderer::Ensure(const tMP3VisHostDevice* pDevice)
{
    if (m_bReady)
        return true;
    if (!m_gl.Load(pDevice))
        return false;
    m_colourProgram = Link(m_gl, kColourVertex, kColourFragment);
    m_textureProgram = Link(m_gl, kTextureVertex, kTextureFragment);
    if (!m_colourProgram || !m_textureProgram) {
        Release();
        return false;
    }
    m_colourViewport = m_gl.GetUniformLocation(m_colourProgram, "uViewport");
    m_textureViewport = m_gl.GetUniformLocation(m_textureProgram, "uViewport");
    m_textureOffset = m_gl.GetUniformLocation(m_textureProgram, "uOffset");
    m_textureDim = m_gl.GetUniformLocation(m_textureProgram, "uDim");
    m_textureSampler = m_gl.GetUniformLocation(m_textureProgram, "uTex");
    m_gl.GenBuffers(1, &m_buffer);

    // After a Release the spectrogram starts over from black.
    std::vector<std::uint8_t> black(static_cast<size_t>(kHistoryColumns) * kSpectrogramRows * 4, 0);
    m_gl.GenTextures(1, &m_texture);
    m_gl.ActiveTexture(GL_TEXTURE0);
    m_gl.BindTexture(GL_TEXTURE_2D, m_texture);
    m_gl.TexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    m_gl.TexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    m_gl.TexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_REPEAT);
    m_gl.TexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    m_gl.PixelStorei(GL_UNPACK_ALIGNMENT, 1);
    m_gl.TexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, kHistoryColumns, kSpectrogramRows, 0, GL_RGBA, GL_UNSIGNED_BYTE,
                    black.data());
    m_gl.BindTexture(GL_TEXTURE_2D, 0);
    m_nColumn = 0;
    m_bReady = true;
    return true;
}

void CSpectrolaRenderer::Release()
{
    if (m_gl.DeleteProgram) {
        if (m_colourProgram)
            m_gl.DeleteProgram(m_colourProgram);
        if (m_textureProgram)
            m_gl.DeleteProgram(m_textureProgram);
        if (m_buffer)
            m_gl.DeleteBuffers(1, &m_buffer);
        if (m_texture)
            m_gl.DeleteTextures(1, &m_texture);
    }
    m_colourProgram = m_textureProgram = m_buffer = m_texture = 0;
    m_bReady = false;
}

void CSpectrolaRenderer::AddSpectrogramColumn(const CSpectrumAnalyzer& analyzer, int nScheme)
{
    if (!m_bReady)
        return;
    m_column.resize(static_cast<size_t>(kSpectrogramRows) * 4);
    for (int r = 0; r < kSpectrogramRows; ++r) {
        const float fLevel = analyzer.LevelAt((static_cast<float>(r) + 0.5f) / kSpectrogramRows);
        const auto rgb = SpectrolaColour(nScheme, fLevel);
        const float fBright = fLevel * fLevel;
        for (int c = 0; c < 3; ++c)
            m_column[static_cast<size_t>(r) * 4 + c] = static_cast<std::uint8_t>(std::lround(rgb[c] * fBright * 255.0f));
        m_column[static_cast<size_t>(r) * 4 + 3] = 255;
    }
    m_gl.ActiveTexture(GL_TEXTURE0);
    m_gl.BindTexture(GL_TEXTURE_2D, m_texture);
    m_gl.PixelStorei(GL_UNPACK_ALIGNMENT, 1);
    m_gl.TexSubImage2D(GL_TEXTURE_2D, 0, m_nColumn, 0, 1, kSpectrogramRows, GL_RGBA, GL_UNSIGNED_BYTE, m_column.data());
    m_gl.BindTexture(GL_TEXTURE_2D, 0);
    m_nColumn = (m_nColumn + 1) % kHistoryColumns;
}

void CSpectrolaRenderer::Quad(float x0, float y0, float x1, float y1, const float* bottom, const float* top)
{
    const float corners[6][2] = {{x0, y0}, {x1, y0}, {x1, y1}, {x0, y0}, {x1, y1}, {x0, y1}};
    for (const auto& p : corners) {
        const float* c = p[1] == y0 ? bottom : top;
        m_vertices.insert(m_vertices.end(), {p[0], p[1], c[0], c[1], c[2], c[3]});
    }
}

void CSpectrolaRenderer::Flush(GLenum ePrimitive)
{
    if (m_vertices.empty())
        return;
    m_gl.BindBuffer(GL_ARRAY_BUFFER, m_buffer);
    m_gl.BufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(m_vertices.size() * sizeof(float)), m_vertices.data(),
                    GL_STREAM_DRAW);
    m_gl.EnableVertexAttribArray(0);
    m_gl.EnableVertexAttribArray(1);
    m_gl.VertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, kFloats * sizeof(float), nullptr);
    m_gl.VertexAttribPointer(1, 4, GL_FLOAT, GL_FALSE, kFloats * sizeof(float),
                             reinterpret_cast<const void*>(2 * sizeof(float)));
    m_gl.DrawArrays(ePrimitive, 0, static_cast<GLsizei>(m_vertices.size() / kFloats));
    m_gl.DisableVertexAttribArray(0);
    m_gl.DisableVertexAttribArray(1);
    m_gl.BindBuffer(GL_ARRAY_BUFFER, 0);
    m_vertices.clear();
}

void CSpectrolaRenderer::DrawGrid(float w, float h, bool bVertical)
{
    static constexpr float kLine[4] = {1.0f, 1.0f, 1.0f, 0.07f};
    for (const double dHz : {100.0, 1000.0, 10000.0}) {
        const auto fPos = static_cast<float>(CSpectrumAnalyzer::AxisPosition(dHz));
        if (bVertical)
            Quad(fPos * w - 0.5f, 0.0f, fPos * w + 0.5f, h, kLine, kLine);
        else
            Quad(0.0f, fPos * h - 0.5f, w, fPos * h + 0.5f, kLine, kLine);
    }
}

void CSpectrolaRenderer::DrawBars(const CSpectrumAnalyzer& analyzer, const SpectrolaSettings& settings, float w,
                                  float h, float fDim)
{
    DrawGrid(w, h, true);
    const auto& levels = analyzer.Levels();
    const auto& peaks = analyzer.Peaks();
    const int n = static_cast<int>(levels.size());
    const float fSlot = w / static_cast<float>(n);
    const float fGap = std::max(1.0f, fSlot * 0.18f);
    const float fTop = h * 0.96f;
    const float fCap = std::max(2.0f, h / 120.0f);
    const auto floor = SpectrolaColour(settings.nScheme, 0.0f);
    const float bottom[4] = {floor[0] * fDim, floor[1] * fDim, floor[2] * fDim, 1.0f};
    for (int i = 0; i < n; ++i) {
        const float x0 = static_cast<float>(i) * fSlot + fGap / 2.0f;
        const float x1 = static_cast<float>(i + 1) * fSlot - fGap / 2.0f;
        const float fHeight = levels[i] * fTop;
        if (fHeight >= 1.0f) {
            const auto c = SpectrolaColour(settings.nScheme, levels[i]);
            const float top[4] = {c[0] * fDim, c[1] * fDim, c[2] * fDim, 1.0f};
            Quad(x0, 0.0f, x1, fHeight, bottom, top);
        }
        if (settings.bPeakCaps && peaks[i] > 0.01f) {
            const auto c = SpectrolaColour(settings.nScheme, 1.0f);
            const float cap[4] = {(0.5f + c[0] * 0.5f) * fDim, (0.5f + c[1] * 0.5f) * fDim, (0.5f + c[2] * 0.5f) * fDim, 1.0f};
            const float y = peaks[i] * fTop + 1.0f;
            Quad(x0, y, x1, y + fCap, cap, cap);
        }
    }
    Flush(GL_TRIANGLES);
}

void CSpectrolaRenderer::DrawScope(const CSpectrumAnalyzer& analyzer, const SpectrolaSettings& settings, float w,
                                   float h, float fDim)
{
    static constexpr float kAxis[4] = {1.0f, 1.0f, 1.0f, 0.10f};
    Quad(0.0f, h * 0.75f - 0.5f, w, h * 0.75f + 0.5f, kAxis, kAxis);
    Quad(0.0f, h * 0.25f - 0.5f, w, h * 0.25f + 0.5f, kAxis, kAxis);
    Flush(GL_TRIANGLES);
    // Left above, right below, each a ribbon two pixels thick.
    for (int c = 0; c < 2; ++c) {
        const auto& scope = analyzer.Scope(c);
        const float fCentre = c == 0 ? h * 0.75f : h * 0.25f;
        const float fAmplitude = h * 0.23f;
        const auto rgb = SpectrolaColour(settings.nScheme, c == 0 ? 0.8f : 0.55f);
        const float colour[4] = {rgb[0] * fDim, rgb[1] * fDim, rgb[2] * fDim, 1.0f};
        const int n = CSpectrumAnalyzer::kScopeFrames;
        for (int i = 0; i < n; ++i) {
            const float x = w * static_cast<float>(i) / static_cast<float>(n - 1);
            const float y = fCentre + scope[i] * fAmplitude;
            m_vertices.insert(m_vertices.end(), {x, y - 1.0f, colour[0], colour[1], colour[2], colour[3]});
            m_vertices.insert(m_vertices.end(), {x, y + 1.0f, colour[0], colour[1], colour[2], colour[3]});
        }
        Flush(GL_TRIANGLE_STRIP);
    }
}

void CSpectrolaRenderer::DrawSpectrogram(float w, float h, float fDim)
{
    // Opaque: blending a full-screen quad would cost llvmpipe a read of every pixel.
    m_gl.Disable(GL_BLEND);
    m_gl.UseProgram(m_textureProgram);
    m_gl.Uniform2f(m_textureViewport, w, h);
    // The oldest column (the next one to be written) sits at the left edge.
    m_gl.Uniform1f(m_textureOffset, static_cast<float>(m_nColumn) / kHistoryColumns);
    m_gl.Uniform1f(m_textureDim, fDim);
    m_gl.Uniform1i(m_textureSampler, 0);
    m_gl.ActiveTexture(GL_TEXTURE0);
    m_gl.BindTexture(GL_TEXTURE_2D, m_texture);
    const float uv00[4] = {0.0f, 0.0f, 0.0f, 0.0f}, uv11[4] = {1.0f, 1.0f, 0.0f, 0.0f};
    const float corners[6][4] = {{0, 0, uv00[0], uv00[1]}, {w, 0, uv11[0], uv00[1]}, {w, h, uv11[0], uv11[1]},
                                 {0, 0, uv00[0], uv00[1]}, {w, h, uv11[0], uv11[1]}, {0, h, uv00[0], uv11[1]}};
    for (const auto& v : corners)
        m_vertices.insert(m_vertices.end(), {v[0], v[1], v[2], v[3], 0.0f, 0.0f});
    Flush(GL_TRIANGLES);
    m_gl.BindTexture(GL_TEXTURE_2D, 0);
    m_gl.Enable(GL_BLEND);
    m_gl.UseProgram(m_colourProgram);
    m_gl.Uniform2f(m_colourViewport, w, h);
    DrawGrid(w, h, false);
    Flush(GL_TRIANGLES);
}

void CSpectrolaRenderer::DrawPauseSign(float w, float h)
{
    static constexpr float kSign[4] = {1.0f, 1.0f, 1.0f, 0.55f};
    const float s = std::min(w, h) / 10.0f;
    Quad(w / 2 - s * 0.75f, h / 2 - s, w / 2 - s * 0.25f, h / 2 + s, kSign, kSign);
    Quad(w / 2 + s * 0.25f, h / 2 - s, w / 2 + s * 0.75f, h / 2 + s, kSign, kSign);
    Flush(GL_TRIANGLES);
}

void CSpectrolaRenderer::Draw(SpectrolaMode mode, const CSpectrumAnalyzer& analyzer, const SpectrolaSettings& settings,
                              const tMP3VisHostDevice& device, bool bPaused)
{
    if (!m_bReady || device.nWidth <= 0 || device.nHeight <= 0)
        return;
    const auto w = static_cast<float>(device.nWidth);
    const auto h = static_cast<float>(device.nHeight);
    const float fDim = bPaused ? 0.45f : 1.0f;
    m_gl.BindFramebuffer(GL_FRAMEBUFFER, device.nFramebuffer);
    m_gl.Viewport(0, 0, device.nWidth, device.nHeight);
    m_gl.Disable(GL_DEPTH_TEST);
    m_gl.Enable(GL_BLEND);
    m_gl.BlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    m_gl.UseProgram(m_colourProgram);
    m_gl.Uniform2f(m_colourViewport, w, h);
    switch (mode) {
    case SpectrolaMode::Spectrum: DrawBars(analyzer, settings, w, h, fDim); break;
    case SpectrolaMode::Oscilloscope: DrawScope(analyzer, settings, w, h, fDim); break;
    case SpectrolaMode::Spectrogram: DrawSpectrogram(w, h, fDim); break;
    }
    if (bPaused)
        DrawPauseSign(w, h);
    m_gl.UseProgram(0);
}
