#include "audio/WaveOut.h"

#include <algorithm>
#include <atomic>
#include <map>

#include "audio/WaveOutDevice.h"

namespace {

struct HandleTable
{
    std::mutex lock;
    std::map<std::uintptr_t, std::shared_ptr<CWaveOutDevice>> devices;
    std::uintptr_t nextId = 1;
};

HandleTable& Handles()
{
    static HandleTable table;
    return table;
}

std::mutex g_optionsLock;
WaveMapperOptions g_options;
std::atomic<DWORD> g_dwLastVolume{0xFFFFFFFFu};

std::shared_ptr<CWaveOutDevice> Find(HWAVEOUT device)
{
    HandleTable& table = Handles();
    std::lock_guard<std::mutex> guard(table.lock);
    auto it = table.devices.find(reinterpret_cast<std::uintptr_t>(device));
    return it == table.devices.end() ? nullptr : it->second;
}

bool IsValidPcm(const WAVEFORMATEX* format)
{
    return format && format->wFormatTag == WAVE_FORMAT_PCM && format->wBitsPerSample == 16 &&
           (format->nChannels == 1 || format->nChannels == 2) && format->nSamplesPerSec >= 8000 &&
           format->nSamplesPerSec <= 192000 && format->nBlockAlign == format->nChannels * 2 &&
           format->nAvgBytesPerSec == format->nSamplesPerSec * format->nBlockAlign;
}

} // namespace

void CWaveMemoryCapture::Reserve(std::size_t bytes)
{
    std::lock_guard<std::mutex> guard(m_lock);
    m_bytes.reserve(bytes);
}

void CWaveMemoryCapture::Append(const BYTE* data, std::size_t size)
{
    std::lock_guard<std::mutex> guard(m_lock);
    m_bytes.insert(m_bytes.end(), data, data + size);
}

std::vector<BYTE> CWaveMemoryCapture::Bytes() const
{
    std::lock_guard<std::mutex> guard(m_lock);
    return m_bytes;
}

std::size_t CWaveMemoryCapture::Size() const
{
    std::lock_guard<std::mutex> guard(m_lock);
    return m_bytes.size();
}

void CWaveMemoryCapture::Clear()
{
    std::lock_guard<std::mutex> guard(m_lock);
    m_bytes.clear();
}

void SetWaveMapper(const WaveMapperOptions& options)
{
    std::lock_guard<std::mutex> guard(g_optionsLock);
    g_options = options;
}

WaveMapperOptions GetWaveMapper()
{
    std::lock_guard<std::mutex> guard(g_optionsLock);
    return g_options;
}

bool ParseWaveBackend(const std::string& name, WaveBackend* backend)
{
    if (name == "alsa")
        *backend = WaveBackend::Alsa;
    else if (name == "null")
        *backend = WaveBackend::Null;
    else
        return false;
    return true;
}

namespace {

MMRESULT OpenDevice(HWAVEOUT* device, const WaveOutTarget& target, const WAVEFORMATEX* format, DWORD_PTR callback,
                    DWORD_PTR instance, DWORD flags)
{
    if (flags != 0 && flags != CALLBACK_FUNCTION)
        return MMSYSERR_INVALFLAG;
    if (!IsValidPcm(format))
        return WAVERR_BADFORMAT;

    const WaveMapperOptions options = GetWaveMapper();
    std::unique_ptr<CWaveOutDevice> created;
    if (options.eBackend == WaveBackend::Null) {
        if (options.null.nOpenResult != MMSYSERR_NOERROR)
            return options.null.nOpenResult;
        created = CreateWaveOutNull(options.null);
    } else {
        created = CreateWaveOutAlsa(target.strDevice.empty() ? options.strAlsaDevice : target.strDevice,
                                    target.nRecoveryMs);
    }
    std::shared_ptr<CWaveOutDevice> opened(std::move(created));
    opened->SetVolume(g_dwLastVolume.load());

    HandleTable& table = Handles();
    HWAVEOUT handle;
    {
        std::lock_guard<std::mutex> guard(table.lock);
        handle = reinterpret_cast<HWAVEOUT>(table.nextId++);
    }
    opened->SetCallback(handle, flags == CALLBACK_FUNCTION ? reinterpret_cast<WaveOutCallback>(callback) : nullptr,
                        instance);
    const MMRESULT result = opened->Open(*format);
    if (result != MMSYSERR_NOERROR)
        return result;
    {
        std::lock_guard<std::mutex> guard(table.lock);
        table.devices.emplace(reinterpret_cast<std::uintptr_t>(handle), std::move(opened));
    }
    *device = handle;
    return MMSYSERR_NOERROR;
}

} // namespace

MMRESULT waveOutOpen(HWAVEOUT* device, UINT deviceId, const WAVEFORMATEX* format, DWORD_PTR callback,
                     DWORD_PTR instance, DWORD flags)
{
    if (!device)
        return MMSYSERR_INVALPARAM;
    *device = nullptr;
    if (deviceId != WAVE_MAPPER)
        return MMSYSERR_BADDEVICEID;
    return OpenDevice(device, WaveOutTarget{}, format, callback, instance, flags);
}

MMRESULT waveOutOpenTarget(HWAVEOUT* device, const WaveOutTarget& target, const WAVEFORMATEX* format,
                           DWORD_PTR callback, DWORD_PTR instance, DWORD flags)
{
    if (!device)
        return MMSYSERR_INVALPARAM;
    *device = nullptr;
    return OpenDevice(device, target, format, callback, instance, flags);
}

MMRESULT waveOutSwitchDevice(HWAVEOUT device, const std::string& name)
{
    std::shared_ptr<CWaveOutDevice> found = Find(device);
    if (!found)
        return MMSYSERR_INVALHANDLE;
    return name.empty() ? MMSYSERR_BADDEVICEID : found->SwitchTo(name);
}

MMRESULT waveOutGetFailure(HWAVEOUT device, char* text, UINT size)
{
    std::shared_ptr<CWaveOutDevice> found = Find(device);
    if (!found)
        return MMSYSERR_INVALHANDLE;
    if (!text || size == 0)
        return MMSYSERR_INVALPARAM;
    found->CopyFailure(text, size);
    return MMSYSERR_NOERROR;
}

MMRESULT waveOutPrepareHeader(HWAVEOUT device, WAVEHDR* header, UINT headerSize)
{
    if (!Find(device))
        return MMSYSERR_INVALHANDLE;
    if (!header || headerSize != sizeof(WAVEHDR) || !header->lpData)
        return MMSYSERR_INVALPARAM;
    header->dwFlags |= WHDR_PREPARED;
    return MMSYSERR_NOERROR;
}

MMRESULT waveOutUnprepareHeader(HWAVEOUT device, WAVEHDR* header, UINT headerSize)
{
    if (!Find(device))
        return MMSYSERR_INVALHANDLE;
    if (!header || headerSize != sizeof(WAVEHDR))
        return MMSYSERR_INVALPARAM;
    if (header->dwFlags & WHDR_INQUEUE)
        return WAVERR_STILLPLAYING;
    header->dwFlags &= ~WHDR_PREPARED;
    return MMSYSERR_NOERROR;
}

MMRESULT waveOutWrite(HWAVEOUT device, WAVEHDR* header, UINT headerSize)
{
    std::shared_ptr<CWaveOutDevice> found = Find(device);
    if (!found)
        return MMSYSERR_INVALHANDLE;
    if (!header || headerSize != sizeof(WAVEHDR))
        return MMSYSERR_INVALPARAM;
    if (!(header->dwFlags & WHDR_PREPARED))
        return WAVERR_UNPREPARED;
    if (header->dwFlags & WHDR_INQUEUE)
        return WAVERR_STILLPLAYING;
    header->dwFlags = (header->dwFlags & ~WHDR_DONE) | WHDR_INQUEUE;
    const MMRESULT result = found->Write(header);
    if (result != MMSYSERR_NOERROR)
        header->dwFlags &= ~WHDR_INQUEUE;
    return result;
}

MMRESULT waveOutPause(HWAVEOUT device)
{
    std::shared_ptr<CWaveOutDevice> found = Find(device);
    return found ? found->Pause() : MMSYSERR_INVALHANDLE;
}

MMRESULT waveOutRestart(HWAVEOUT device)
{
    std::shared_ptr<CWaveOutDevice> found = Find(device);
    return found ? found->Restart() : MMSYSERR_INVALHANDLE;
}

MMRESULT waveOutReset(HWAVEOUT device)
{
    std::shared_ptr<CWaveOutDevice> found = Find(device);
    return found ? found->Reset() : MMSYSERR_INVALHANDLE;
}

MMRESULT waveOutClose(HWAVEOUT device)
{
    std::shared_ptr<CWaveOutDevice> found;
    HandleTable& table = Handles();
    {
        std::lock_guard<std::mutex> guard(table.lock);
        auto it = table.devices.find(reinterpret_cast<std::uintptr_t>(device));
        if (it == table.devices.end())
            return MMSYSERR_INVALHANDLE;
        found = it->second;
    }
    const MMRESULT result = found->Close();
    if (result == WAVERR_STILLPLAYING)
        return result;
    std::lock_guard<std::mutex> guard(table.lock);
    table.devices.erase(reinterpret_cast<std::uintptr_t>(device));
    return result;
}

MMRESULT waveOutGetStatistics(HWAVEOUT device, WaveOutStatistics* statistics)
{
    std::shared_ptr<CWaveOutDevice> found = Find(device);
    if (!found)
        return MMSYSERR_INVALHANDLE;
    if (!statistics)
        return MMSYSERR_INVALPARAM;
    *statistics = found->Statistics();
    return MMSYSERR_NOERROR;
}

MMRESULT waveOutSetHandBackInterval(HWAVEOUT device, DWORD milliseconds)
{
    std::shared_ptr<CWaveOutDevice> found = Find(device);
    if (!found)
        return MMSYSERR_INVALHANDLE;
    found->SetHandBackInterval(milliseconds);
    return MMSYSERR_NOERROR;
}

MMRESULT waveOutHandBackHeard(HWAVEOUT device)
{
    std::shared_ptr<CWaveOutDevice> found = Find(device);
    return found ? found->HandBackHeard(kHandBackHeardWaitMs) : MMSYSERR_INVALHANDLE;
}

MMRESULT waveOutSetVolume(HWAVEOUT device, DWORD volume)
{
    // No handle: the default device's level, which the next device opened starts with.
    if (!device) {
        g_dwLastVolume.store(volume);
        return MMSYSERR_NOERROR;
    }
    std::shared_ptr<CWaveOutDevice> found = Find(device);
    if (!found)
        return MMSYSERR_INVALHANDLE;
    found->SetVolume(volume);
    g_dwLastVolume.store(volume);
    return MMSYSERR_NOERROR;
}

MMRESULT waveOutGetVolume(HWAVEOUT device, DWORD* volume)
{
    if (!device) {
        if (!volume)
            return MMSYSERR_INVALPARAM;
        *volume = g_dwLastVolume.load();
        return MMSYSERR_NOERROR;
    }
    std::shared_ptr<CWaveOutDevice> found = Find(device);
    if (!found)
        return MMSYSERR_INVALHANDLE;
    if (!volume)
        return MMSYSERR_INVALPARAM;
    *volume = found->GetVolume();
    return MMSYSERR_NOERROR;
}
