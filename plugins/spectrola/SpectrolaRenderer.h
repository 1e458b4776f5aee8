#pragma once
// Spectrola's drawing: bars with peak caps, the stereo oscilloscope and the scrolling spectrogram,
// with OpenGL 2.1 / GLSL 1.10 into the framebuffer the host names.
//
// Threading: host render thread only, with the host's context current. Release drops every GL
// object; the next Draw call makes them again.

#include <cstdint>
#include <vector>

#include "GlApi.h"
#include "SpectrolaSettings.h"
#include "SpectrumAnalyzer.h"

enum class SpectrolaMode
{
    Spectrum,
    Oscilloscope,
    Spectrogram,
};

class CSpectrolaRenderer
{
public:
    static constexpr int kHistoryColumns = 512;
    static constexpr int kSpectrogramRows = 256;

    // Makes the GL objects when missing; false when the host's context cannot give them.
    bool Ensure(const tMP3VisHostDevice* pDevice);
    void Release();

    // Draws one frame of `mode` over the whole drawable; `bPaused` dims it and shows a pause sign.
    void Draw(SpectrolaMode mode, const CSpectrumAnalyzer& analyzer, const SpectrolaSettings& settings,
              const tMP3VisHostDevice& device, bool bPaused);
    // Appends the analyzer's latest spectrum as the spectrogram's newest column.
    void AddSpectrogramColumn(const CSpectrumAnalyzer& analyzer, int nScheme);

private:
    void Quad(float x0, float y0, float x1, float y1, const float* rgbaBottom, const float* rgbaTop);
    void Flush(GLenum ePrimitive);
    void DrawBars(const CSpectrumAnalyzer& analyzer, const SpectrolaSettings& settings, float w, float h, float fDim);
    void DrawScope(const CSpectrumAnalyzer& analyzer, const SpectrolaSettings& settings, float w, float h, float fDim);
    void DrawSpectrogram(float w, float h, float fDim);
    void DrawGrid(float w, float h, bool bVertical);
    void DrawPauseSign(float w, float h);

    SpectrolaGl m_gl;
    bool m_bReady = false;
    GLuint m_colourProgram = 0, m_textureProgram = 0, m_buffer = 0, m_texture = 0;
    GLint m_colourViewport = -1, m_textureViewport = -1, m_textureOffset = -1, m_textureDim = -1, m_textureSampler = -1;
    std::vector<float> m_vertices; // x, y, r, g, b, a
    std::vector<std::uint8_t> m_column;
    int m_nColumn = 0;
};
