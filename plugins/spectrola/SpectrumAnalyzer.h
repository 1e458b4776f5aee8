#pragma once
// Spectrola's signal side: the last few PCM blocks mixed to mono, a windowed real FFT (FFTW), band
// levels on a logarithmic frequency axis with fast attack, smooth falloff and falling peak caps, and
// a steady (triggered, smoothed) stereo waveform for the oscilloscope.
//
// The host hands one block per frame, whether or not the audio has moved on; a block equal to the
// last one is not counted twice, and every motion is scaled by the frame's seconds, so the picture
// keeps its pace at any frame rate.
//
// Threading: one object per module, used on the host's render thread only. FFTW plans are made in
// the constructor, which must not run concurrently with another plan's creation.

#include <array>
#include <cstdint>
#include <vector>

class CSpectrumAnalyzer
{
public:
    static constexpr int kFftSize = 2048;
    static constexpr int kBlockFrames = 512;
    static constexpr int kScopeFrames = 256;
    static constexpr double kSampleRate = 44100.0;
    static constexpr double kMinHz = 40.0;
    static constexpr double kMaxHz = 16000.0;
    static constexpr float kFloorDb = -72.0f;

    CSpectrumAnalyzer();
    ~CSpectrumAnalyzer();
    CSpectrumAnalyzer(const CSpectrumAnalyzer&) = delete;
    CSpectrumAnalyzer& operator=(const CSpectrumAnalyzer&) = delete;

    void SetBandCount(int nBands);
    int BandCount() const { return static_cast<int>(m_levels.size()); }

    // Takes the block now sounding (512 interleaved stereo frames); true when it was new.
    bool PushBlock(const std::int16_t* pSamples);
    // Moves the bars and caps on by `fSeconds`: towards the spectrum while `bActive`, down to rest
    // otherwise. The spectrum is recomputed only after a new block.
    void Update(float fSeconds, bool bActive);

    const std::vector<float>& Levels() const { return m_levels; } // 0..1 per band
    const std::vector<float>& Peaks() const { return m_peaks; }   // 0..1 per band
    // 0..1 level at `fPosition` (0 = kMinHz, 1 = kMaxHz) of the latest spectrum, unsmoothed.
    float LevelAt(float fPosition) const;
    // Smoothed waveforms, kScopeFrames each, -1..1.
    const std::array<float, kScopeFrames>& Scope(int nChannel) const { return m_scope[nChannel]; }

    // Position 0..1 of `dHz` on the band axis.
    static double AxisPosition(double dHz);

private:
    void ComputeSpectrum();
    float BinLevel(double dBin) const;
    void TakeScope(const std::int16_t* pSamples);

    std::vector<float> m_history;   // kFftSize mono samples, oldest first
    std::vector<float> m_window;
    float* m_pIn = nullptr;         // FFTW buffers
    void* m_pOut = nullptr;
    void* m_pPlan = nullptr;
    std::vector<float> m_binDb;     // level of every bin, 0..1
    std::vector<float> m_levels, m_peaks, m_peakHold, m_peakSpeed;
    std::array<std::array<float, kScopeFrames>, 2> m_scope{};
    std::array<std::int16_t, kBlockFrames * 2> m_lastBlock{};
    bool m_bHaveBlock = false;
    bool m_bFresh = false;
};
