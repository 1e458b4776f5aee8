#include "SpectrumAnalyzer.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fftw3.h>

namespace {

constexpr float kAttackPerSecond = 35.0f;  // share of the gap closed per second on the way up
constexpr float kFalloffPerSecond = 1.1f;  // full height per second on the way down
constexpr float kPeakHoldSeconds = 0.6f;
constexpr float kPeakGravity = 2.8f;       // per second squared
constexpr float kScopeBlend = 0.45f;       // share of the new waveform per new block

// Analyzers alive (render thread only): the last one gone frees FFTW's planner memory, which would
// otherwise outlive the plug-in once the host unloads it.
int g_nAnalyzers = 0;

} // namespace

CSpectrumAnalyzer::CSpectrumAnalyzer()
    : m_history(kFftSize, 0.0f), m_window(kFftSize), m_binDb(kFftSize / 2 + 1, 0.0f)
{
    // Hann window, normalised so a full-scale sine reads 0 dB.
    double dSum = 0.0;
    for (int i = 0; i < kFftSize; ++i) {
        m_window[i] = 0.5f - 0.5f * static_cast<float>(std::cos(2.0 * M_PI * i / (kFftSize - 1)));
        dSum += m_window[i];
    }
    for (float& w : m_window)
        w = static_cast<float>(w * 2.0 / dSum);
    m_pIn = fftwf_alloc_real(kFftSize);
    auto* pOut = fftwf_alloc_complex(kFftSize / 2 + 1);
    m_pOut = pOut;
    m_pPlan = fftwf_plan_dft_r2c_1d(kFftSize, m_pIn, pOut, FFTW_ESTIMATE);
    ++g_nAnalyzers;
    SetBandCount(48);
}

CSpectrumAnalyzer::~CSpectrumAnalyzer()
{
    fftwf_destroy_plan(static_cast<fftwf_plan>(m_pPlan));
    fftwf_free(m_pIn);
    fftwf_free(m_pOut);
    if (--g_nAnalyzers == 0)
        fftwf_cleanup();
}

void CSpectrumAnalyzer::SetBandCount(int nBands)
{
    nBands = std::clamp(nBands, 4, 256);
    m_levels.assign(nBands, 0.0f);
    m_peaks.assign(nBands, 0.0f);
    m_peakHold.assign(nBands, 0.0f);
    m_peakSpeed.assign(nBands, 0.0f);
}

double CSpectrumAnalyzer::AxisPosition(double dHz)
{
    return std::log(dHz / kMinHz) / std::log(kMaxHz / kMinHz);
}

bool CSpectrumAnalyzer::PushBlock(const std::int16_t* pSamples)
{
    if (!pSamples)
        return false;
    if (m_bHaveBlock && std::memcmp(pSamples, m_lastBlock.data(), sizeof(m_lastBlock)) == 0)
        return false;
    std::memcpy(m_lastBlock.data(), pSamples, sizeof(m_lastBlock));
    m_bHaveBlock = true;
    std::move(m_history.begin() + kBlockFrames, m_history.end(), m_history.begin());
    float* pTail = m_history.data() + (kFftSize - kBlockFrames);
    for (int i = 0; i < kBlockFrames; ++i)
        pTail[i] = (static_cast<float>(pSamples[2 * i]) + static_cast<float>(pSamples[2 * i + 1])) / 65536.0f;
    TakeScope(pSamples);
    m_bFresh = true;
    return true;
}

void CSpectrumAnalyzer::TakeScope(const std::int16_t* pSamples)
{
    // Start at the first rising zero crossing of the left channel so a steady tone stands still.
    int nStart = 0;
    for (int i = 1; i < kBlockFrames - kScopeFrames; ++i) {
        if (pSamples[2 * (i - 1)] < 0 && pSamples[2 * i] >= 0) {
            nStart = i;
            break;
        }
    }
    for (int c = 0; c < 2; ++c)
        for (int i = 0; i < kScopeFrames; ++i) {
            const float fNew = static_cast<float>(pSamples[2 * (nStart + i) + c]) / 32768.0f;
            m_scope[c][i] += (fNew - m_scope[c][i]) * kScopeBlend;
        }
}

void CSpectrumAnalyzer::ComputeSpectrum()
{
    for (int i = 0; i < kFftSize; ++i)
        m_pIn[i] = m_history[i] * m_window[i];
    fftwf_execute(static_cast<fftwf_plan>(m_pPlan));
    const auto* pOut = static_cast<const fftwf_complex*>(m_pOut);
    for (int k = 0; k <= kFftSize / 2; ++k) {
        const float fMagnitude = std::sqrt(pOut[k][0] * pOut[k][0] + pOut[k][1] * pOut[k][1]);
        const float fDb = 20.0f * std::log10(std::max(fMagnitude, 1e-9f));
        m_binDb[k] = std::clamp((fDb - kFloorDb) / -kFloorDb, 0.0f, 1.0f);
    }
}

float CSpectrumAnalyzer::BinLevel(double dBin) const
{
    const int nLast = static_cast<int>(m_binDb.size()) - 1;
    const int k = std::clamp(static_cast<int>(dBin), 0, nLast - 1);
    const float t = static_cast<float>(std::clamp(dBin - k, 0.0, 1.0));
    return m_binDb[k] + (m_binDb[k + 1] - m_binDb[k]) * t;
}

float CSpectrumAnalyzer::LevelAt(float fPosition) const
{
    const double dHz = kMinHz * std::pow(kMaxHz / kMinHz, static_cast<double>(fPosition));
    return BinLevel(dHz * kFftSize / kSampleRate);
}

void CSpectrumAnalyzer::Update(float fSeconds, bool bActive)
{
    if (bActive && m_bFresh)
        ComputeSpectrum();
    m_bFresh = false;
    const int nBands = BandCount();
    const double dBinHz = kSampleRate / kFftSize;
    const float fAttack = std::min(1.0f, fSeconds * kAttackPerSecond);
    for (int b = 0; b < nBands; ++b) {
        float fTarget = 0.0f;
        if (bActive) {
            // A band wider than a bin takes its loudest bin; a narrower one reads between bins.
            const double dLo = kMinHz * std::pow(kMaxHz / kMinHz, static_cast<double>(b) / nBands) / dBinHz;
            const double dHi = kMinHz * std::pow(kMaxHz / kMinHz, static_cast<double>(b + 1) / nBands) / dBinHz;
            const int kLo = static_cast<int>(std::ceil(dLo));
            const int kHi = static_cast<int>(std::floor(dHi));
            fTarget = BinLevel((dLo + dHi) / 2.0);
            for (int k = kLo; k <= kHi && k < static_cast<int>(m_binDb.size()); ++k)
                fTarget = std::max(fTarget, m_binDb[k]);
        }
        float& fLevel = m_levels[b];
        if (fTarget > fLevel)
            fLevel += (fTarget - fLevel) * fAttack;
        else
            fLevel = std::max(fTarget, fLevel - kFalloffPerSecond * fSeconds);

        float& fPeak = m_peaks[b];
        if (fLevel >= fPeak) {
            fPeak = fLevel;
            m_peakHold[b] = kPeakHoldSeconds;
            m_peakSpeed[b] = 0.0f;
        } else if (m_peakHold[b] > 0.0f) {
            m_peakHold[b] -= fSeconds;
        } else {
            m_peakSpeed[b] += kPeakGravity * fSeconds;
            fPeak = std::max(fLevel, fPeak - m_peakSpeed[b] * fSeconds);
        }
    }
    if (!bActive)
        for (auto& channel : m_scope)
            for (float& f : channel)
                f -= f * std::min(1.0f, fSeconds * 6.0f);
}
