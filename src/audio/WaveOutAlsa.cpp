// The ALSA wave driver (normally "default", i.e. PulseAudio or PipeWire on a desktop, or a card),
// fed by the shared device layer (WaveFeeder.h). It opens and configures a non-blocking stream and
// maps each driver call onto one ALSA call; the feeder's device thread is its only user.

#include <alsa/asoundlib.h>
#include <cstdio>

#include "audio/WaveFeeder.h"

namespace {

// Sizes as aplay chooses them. 500 ms of buffer ride out half a second in which the device thread
// cannot run (a loaded machine, a host busy scanning and writing files). PulseAudio's plugin turns the
// buffer into the stream's target length and the period into its request size, so the server asks
// for data in 125 ms steps, well inside the 2 s it grants clients by default; PipeWire's plugin
// keeps its own quantum (about 21 ms) and takes the buffer as the client's ring; a card gets four
// interrupts per buffer. The price is that a volume change is heard up to one buffer later.
constexpr unsigned kBufferMicroseconds = 500000;
constexpr unsigned kPeriodMicroseconds = 125000;

class CAlsaDriver final : public IWaveDriver
{
public:
    explicit CAlsaDriver(snd_pcm_t* pcm) : m_pPcm(pcm) {}
    ~CAlsaDriver() override { snd_pcm_close(m_pPcm); }

    int Configure(const WAVEFORMATEX& format)
    {
        snd_pcm_hw_params_t* hw;
        snd_pcm_hw_params_alloca(&hw);
        unsigned rate = format.nSamplesPerSec;
        unsigned bufferTime = kBufferMicroseconds;
        unsigned periodTime = kPeriodMicroseconds;
        int error = 0;
        if ((error = snd_pcm_hw_params_any(m_pPcm, hw)) < 0 ||
            (error = snd_pcm_hw_params_set_access(m_pPcm, hw, SND_PCM_ACCESS_RW_INTERLEAVED)) < 0 ||
            (error = snd_pcm_hw_params_set_format(m_pPcm, hw, SND_PCM_FORMAT_S16_LE)) < 0 ||
            (error = snd_pcm_hw_params_set_channels(m_pPcm, hw, format.nChannels)) < 0 ||
            (error = snd_pcm_hw_params_set_rate_resample(m_pPcm, hw, 1)) < 0 ||
            (error = snd_pcm_hw_params_set_rate(m_pPcm, hw, rate, 0)) < 0 ||
            (error = snd_pcm_hw_params_set_buffer_time_near(m_pPcm, hw, &bufferTime, nullptr)) < 0 ||
            (error = snd_pcm_hw_params_set_period_time_near(m_pPcm, hw, &periodTime, nullptr)) < 0 ||
            (error = snd_pcm_hw_params(m_pPcm, hw)) < 0)
            return error;
        snd_pcm_uframes_t bufferFrames = 0;
        snd_pcm_uframes_t periodFrames = 0;
        snd_pcm_hw_params_get_buffer_size(hw, &bufferFrames);
        snd_pcm_hw_params_get_period_size(hw, &periodFrames, nullptr);
        m_bCanPause = snd_pcm_hw_params_can_pause(hw) == 1;
        // Start after all but one period is buffered (PulseAudio's own pre-buffer is the same).
        m_nStartFrames = bufferFrames > periodFrames ? bufferFrames - periodFrames : bufferFrames;

        // The start threshold is also what PulseAudio's plugin gives the server as its pre-buffer
        // for every stream it makes anew (a seek, a recovery): below it the server would start a
        // new stream on nothing and skip what arrives a moment later. Streams with less to play
        // (a song's tail) are started by hand.
        snd_pcm_sw_params_t* sw;
        snd_pcm_sw_params_alloca(&sw);
        if ((error = snd_pcm_sw_params_current(m_pPcm, sw)) < 0 ||
            (error = snd_pcm_sw_params_set_start_threshold(m_pPcm, sw, m_nStartFrames)) < 0 ||
            (error = snd_pcm_sw_params_set_avail_min(m_pPcm, sw, periodFrames)) < 0 ||
            (error = snd_pcm_sw_params(m_pPcm, sw)) < 0)
            return error;
        return 0;
    }

    long Write(const BYTE* data, std::uint64_t frames) override
    {
        return snd_pcm_writei(m_pPcm, data, static_cast<snd_pcm_uframes_t>(frames));
    }

    int Delay(std::int64_t* frames) override
    {
        snd_pcm_sframes_t delay = 0;
        const int error = snd_pcm_delay(m_pPcm, &delay);
        *frames = delay;
        return error;
    }

    WaveDriverState State() override
    {
        switch (snd_pcm_state(m_pPcm)) {
        case SND_PCM_STATE_PREPARED: return WaveDriverState::Prepared;
        case SND_PCM_STATE_RUNNING: return WaveDriverState::Running;
        case SND_PCM_STATE_PAUSED: return WaveDriverState::Paused;
        case SND_PCM_STATE_DRAINING: return WaveDriverState::Draining;
        case SND_PCM_STATE_XRUN: return WaveDriverState::Underrun;
        case SND_PCM_STATE_SUSPENDED: return WaveDriverState::Suspended;
        case SND_PCM_STATE_DISCONNECTED: return WaveDriverState::Disconnected;
        default: return WaveDriverState::Other;
        }
    }

    int Start() override { return snd_pcm_start(m_pPcm); }
    bool CanPause() const override { return m_bCanPause; }
    int Pause(bool pause) override { return snd_pcm_pause(m_pPcm, pause ? 1 : 0); }
    int Resume() override { return snd_pcm_resume(m_pPcm); }
    int DropAndPrepare() override
    {
        snd_pcm_drop(m_pPcm);
        return snd_pcm_prepare(m_pPcm);
    }
    std::uint64_t StartFrames() const override { return m_nStartFrames; }

private:
    snd_pcm_t* const m_pPcm;
    bool m_bCanPause = false;
    std::uint64_t m_nStartFrames = 0;
};

WaveDriverOpen OpenAlsa(const std::string& device, const WAVEFORMATEX& format)
{
    WaveDriverOpen opened;
    snd_pcm_t* pcm = nullptr;
    opened.nError = snd_pcm_open(&pcm, device.c_str(), SND_PCM_STREAM_PLAYBACK, SND_PCM_NONBLOCK);
    if (opened.nError < 0) {
        opened.nResult = MMSYSERR_BADDEVICEID;
        return opened;
    }
    auto driver = std::make_unique<CAlsaDriver>(pcm);
    opened.nError = driver->Configure(format);
    if (opened.nError < 0) {
        opened.nResult = WAVERR_BADFORMAT;
        return opened;
    }
    opened.pDriver = std::move(driver);
    return opened;
}

const char* DescribeAlsa(int error)
{
    return snd_strerror(error);
}

void StoppedAlsa(char* text, std::size_t size, const std::string& device, int error)
{
    std::snprintf(text, size, "The sound device stopped: \"%s\": %s", device.c_str(), snd_strerror(error));
}

const WaveDriverKind kAlsa{"tunivox-alsa", true, OpenAlsa, DescribeAlsa, StoppedAlsa};

} // namespace

std::unique_ptr<CWaveOutDevice> CreateWaveOutAlsa(const std::string& deviceName, unsigned recoveryMs)
{
    return CreateWaveFeeder(kAlsa, deviceName, recoveryMs);
}
