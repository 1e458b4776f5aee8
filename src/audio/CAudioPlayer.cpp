#include "audio/CAudioPlayer.h"

#include <QFileInfo>
#include <QStringDecoder>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <new>
#include <thread>

#include "audio/CMediaReader.h"
#include "audio/DecodeThread.h"
#include "platform/FileKinds.h"
#include "platform/MsvcRand.h"
#include "platform/ProcessRunner.h"
#include "platform/StringConv.h"

namespace {

constexpr QWORD kUnitsPerSecond = 10000000;
constexpr UINT kHeaderSize = sizeof(WAVEHDR);
constexpr int kPrebufferBlocks = 64;
constexpr DWORD kCommandWaitMs = 500;
// With a hand-back interval the decoding thread is woken once this share of the ring is free.
constexpr LONG kRefillShare = 4;
constexpr DWORD kStopWaitMs = 2000;
constexpr int kSeekDrainTries = 10;

// Strict UTF-8 to UTF-16 in the two-call style: with no target, the length needed (with the NUL);
// 0 when the text is not valid UTF-8 or the target is too small.
int NarrowToWide(const char* text, WCHAR* target, int capacity)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString wide = decoder(QByteArrayView(text));
    if (decoder.hasError())
        return 0;
    const int needed = static_cast<int>(wide.size()) + 1;
    if (!target)
        return needed;
    if (capacity < needed)
        return 0;
    std::memcpy(target, wide.utf16(), static_cast<std::size_t>(wide.size()) * sizeof(WCHAR));
    target[needed - 1] = 0;
    return needed;
}

CMediaReader* CreateSyncReader()
{
    try {
        return new CMediaReader();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

} // namespace

CAudioPlayer::CAudioPlayer()
{
    m_audioPath.Add(&m_gainStage);
}

CAudioPlayer::~CAudioPlayer()
{
    Release();
}

void CAudioPlayer::SetError(const char* text)
{
    std::snprintf(m_szError, sizeof(m_szError), "%s", text);
}

void CAudioPlayer::AppendError(const char* text)
{
    const std::size_t used = std::strlen(m_szError);
    std::snprintf(m_szError + used, sizeof(m_szError) - used, "%s", text);
}

LONG CAudioPlayer::FreeBlocks()
{
    std::lock_guard<std::mutex> guard(m_csLock);
    return m_nFreeBlocks;
}

HRESULT CAudioPlayer::Init()
{
    if (m_pReader || m_pSamples || m_hBlockDone || m_hCommand)
        Release();
    m_szError[0] = 0;
    const HRESULT hr = S_OK;
    m_pSamples = new (std::nothrow) BYTE[m_dwBlockSize]();
    if (!m_pSamples) {
        // Deliberately a success: every later call finds no reader and returns E_UNEXPECTED.
        SetError("Memory allocation failed");
        return hr;
    }
    m_hBlockDone = new (std::nothrow) CWaitableEvent(m_eventGroup, false);
    m_hCommand = new (std::nothrow) CWaitableEvent(m_eventGroup, true);
    if (!m_hBlockDone || !m_hCommand) {
        SetError("Could not create Event objects");
        Release();
        return HResultFromError(ENOMEM);
    }
    m_pReader = CreateSyncReader();
    if (!m_pReader) {
        SetError("Could not create WM SyncReader.");
        Release();
        return E_OUTOFMEMORY;
    }
    m_pReader->SetTrimEndPadding(m_bGapless);
    // A stop must not wait for the reader decoding its way back into a re-encoded file.
    m_pReader->SetCancelCheck(
        [](void* player) { return static_cast<CAudioPlayer*>(player)->m_nCommand.load() == kEngineStop; }, this);
    return hr;
}

void CAudioPlayer::SetPaths(QString appFolder, QString tempFolder)
{
    m_strAppPath = std::move(appFolder);
    m_strTempPath = std::move(tempFolder);
}

HRESULT CAudioPlayer::Open(const char* fileName)
{
    m_szError[0] = 0;
    m_strOpenFailure.clear();
    if (!fileName)
        return E_INVALIDARG;
    if (!m_pReader)
        return E_UNEXPECTED;
    Close();
    delete[] m_pwszFileName;
    m_pwszFileName = nullptr;
    m_pSegment->Begin(QString::fromUtf8(fileName));
    m_szNextFailure[0] = 0;

    const int length = NarrowToWide(fileName, nullptr, 0);
    if (length == 0) {
        SetError("Could not convert file name to unicode.");
    } else {
        m_pwszFileName = new WCHAR[static_cast<std::size_t>(length) + 1];
        if (NarrowToWide(fileName, m_pwszFileName, length + 1) == 0)
            SetError("Could not convert file name to unicode.");
    }

    HRESULT hr = m_pReader->Open(m_pwszFileName);
    if (FAILED(hr)) {
        m_strOpenFailure = m_pReader->LastErrorText();
        const QString narrowName = m_pwszFileName ? QString::fromUtf16(m_pwszFileName) : QString();
        WCHAR* converted = ConvertToWma(narrowName);
        if (!converted) {
            SetError("Could not open the specified file.");
            Close();
            return hr;
        }
        hr = m_pReader->Open(converted);
        delete[] converted;
        if (FAILED(hr)) {
            Close();
            return hr;
        }
    }
    m_bOpened = TRUE;

    hr = RetrieveFileInfo();
    if (FAILED(hr)) {
        SetError("Could not retrieve file header info.");
        Close();
        return hr;
    }
    hr = GetAudioOutput();
    if (FAILED(hr)) {
        SetError("Could not get the audio output.");
        Close();
        return hr;
    }
    m_pSegment->ApplyOptions(m_replayGain);
    return hr;
}

void CAudioPlayer::SetReplayGain(const ReplayGainOptions& options)
{
    m_replayGain = options;
    m_pSegment->ApplyOptions(options);
    // A song prepared to follow changes too: its blocks may be queued already.
    if (GetNextState() != kNextNone)
        m_pNextSegment->ApplyOptions(options);
}

HRESULT CAudioPlayer::SetOutputDevice(const std::string& name)
{
    const HWAVEOUT device = m_hWaveOut;
    if (device && m_bPlaying && !name.empty()) {
        const MMRESULT switched = waveOutSwitchDevice(device, name);
        if (switched != MMSYSERR_NOERROR && switched != MMSYSERR_INVALHANDLE) {
            std::snprintf(m_szError, sizeof(m_szError), "Could not open the Audio device \"%s\". MMSysError: %d.",
                          name.c_str(), static_cast<int>(switched));
            return E_FAIL;
        }
    }
    m_strOutputDevice = name;
    return S_OK;
}

HRESULT CAudioPlayer::Close()
{
    if (!m_bOpened)
        return S_OK;
    if (m_hDecodeThread)
        Stop();
    if (!m_pReader)
        return E_UNEXPECTED;
    DropNext();
    delete[] m_pwszFileName;
    m_pwszFileName = nullptr;
    const HRESULT hr = m_pReader->Close();
    if (SUCCEEDED(hr))
        m_bOpened = FALSE;
    return hr;
}

HRESULT CAudioPlayer::Release()
{
    Close();
    delete m_pReader;
    m_pReader = nullptr;
    delete m_pNextReader;
    m_pNextReader = nullptr;
    delete[] m_pwszFileName;
    m_pwszFileName = nullptr;
    FreeBuffers();
    delete[] reinterpret_cast<BYTE*>(m_pWaveFormat);
    m_pWaveFormat = nullptr;
    delete m_hBlockDone;
    m_hBlockDone = nullptr;
    delete m_hCommand;
    m_hCommand = nullptr;
    delete[] m_pSamples;
    m_pSamples = nullptr;
    return S_OK;
}

HRESULT CAudioPlayer::RetrieveFileInfo()
{
    BYTE* value = nullptr;
    const HRESULT hr = GetHeaderAttribute(u"Duration", &value);
    if (FAILED(hr)) {
        SetError("Could not get the Duration attribute");
    } else if (value) {
        QWORD duration;
        std::memcpy(&duration, value, sizeof(duration));
        m_qwDuration = duration;
        m_dwDurationSeconds = static_cast<DWORD>(duration / kUnitsPerSecond);
        delete[] value;
    } else {
        m_qwDuration = 0; // m_dwDurationSeconds keeps the previous file's value, as the original did
    }
    return hr;
}

HRESULT CAudioPlayer::GetHeaderAttribute(const char16_t* name, BYTE** value)
{
    *value = nullptr;
    WORD length = 0;
    HRESULT hr = m_pReader->GetAttributeByName(name, nullptr, &length);
    if (hr == ASF_E_NOTFOUND)
        return S_OK;
    if (FAILED(hr))
        return hr;
    *value = new (std::nothrow) BYTE[length];
    if (!*value)
        return HResultFromError(ENOMEM);
    m_pReader->GetAttributeByName(name, *value, &length);
    return S_OK;
}

HRESULT CAudioPlayer::GetAudioOutput()
{
    if (!m_pReader)
        return E_UNEXPECTED;
    DWORD count = 0;
    HRESULT hr = m_pReader->GetOutputCount(&count);
    if (FAILED(hr)) {
        SetError("Could not get output count.\n");
        return hr;
    }
    BYTE* buffer = nullptr;
    WM_MEDIA_TYPE* type = nullptr;
    DWORD output = 0;
    bool found = false;
    for (; output < count; ++output) {
        delete[] buffer;
        buffer = nullptr;
        DWORD size = 0;
        hr = m_pReader->GetMediaType(output, nullptr, &size);
        if (FAILED(hr)) {
            SetError("Could not query for the space needed for media type");
            break;
        }
        buffer = new (std::nothrow) BYTE[size];
        if (!buffer) {
            SetError("Insufficient memory");
            hr = HResultFromError(ENOMEM);
            break;
        }
        type = reinterpret_cast<WM_MEDIA_TYPE*>(buffer);
        hr = m_pReader->GetMediaType(output, type, &size);
        if (FAILED(hr)) {
            SetError("Could not get media type");
            break;
        }
        if (type->majortype == MEDIATYPE_Audio) {
            found = true;
            break;
        }
    }
    if (SUCCEEDED(hr) && !found) {
        SetError("Could not find an audio stream in the specified file");
        hr = E_UNEXPECTED;
    }
    if (found) {
        m_dwAudioOutput = output;
        WAVEFORMATEX format;
        std::memcpy(&format, type->pbFormat, sizeof(format));
        format.wFormatTag = WAVE_FORMAT_PCM;
        format.nChannels = 2;
        format.nSamplesPerSec = 44100;
        format.nAvgBytesPerSec = 176400;
        format.nBlockAlign = 4;
        format.wBitsPerSample = 16;
        std::memcpy(type->pbFormat, &format, sizeof(format));
        hr = m_pReader->SetMediaType(output, type);
        if (FAILED(hr)) {
            SetError("Could not set media type");
        } else {
            delete[] reinterpret_cast<BYTE*>(m_pWaveFormat);
            m_pWaveFormat = reinterpret_cast<WAVEFORMATEX*>(new (std::nothrow) BYTE[type->cbFormat]);
            if (m_pWaveFormat) {
                std::memcpy(m_pWaveFormat, type->pbFormat, type->cbFormat);
            } else {
                SetError("Insufficient memory");
                hr = HResultFromError(ENOMEM);
            }
        }
    }
    delete[] buffer;
    return hr;
}

QWORD CAudioPlayer::GetCurrentTime()
{
    if (m_dwHandBackMs.load(std::memory_order_relaxed) != 0) {
        if (const HWAVEOUT device = m_hWaveOut)
            waveOutHandBackHeard(device); // a handle closed meanwhile is refused, harmlessly
    }
    std::lock_guard<std::mutex> guard(m_csLock);
    return m_qwPosition;
}

bool CAudioPlayer::WaitForEnd(DWORD timeoutMs)
{
    CDecodeThread* thread = m_hDecodeThread;
    return !thread || thread->Wait(timeoutMs);
}

DWORD CAudioPlayer::GetCurrentSeconds() const
{
    return m_dwPositionSeconds.load(std::memory_order_relaxed);
}

DWORD CAudioPlayer::GetDurationSeconds() const
{
    return m_dwDurationSeconds;
}

HRESULT CAudioPlayer::AllocateBuffers()
{
    FreeBuffers();
    const std::size_t total = (static_cast<std::size_t>(m_dwBlockSize) + 56) * static_cast<std::size_t>(m_nBlockCount);
    m_pBlocks = new (std::nothrow) BYTE[total]();
    if (!m_pBlocks) {
        SetError("Insufficient memory");
        return HResultFromError(ENOMEM);
    }
    auto* headers = reinterpret_cast<WAVEHDR*>(m_pBlocks);
    BYTE* areas = m_pBlocks + sizeof(WAVEHDR) * static_cast<std::size_t>(m_nBlockCount);
    for (int i = 0; i < m_nBlockCount; ++i) {
        headers[i].lpData = reinterpret_cast<char*>(areas + static_cast<std::size_t>(i) * (m_dwBlockSize + 8));
        headers[i].dwBufferLength = m_dwBlockSize;
    }
    return S_OK;
}

void CAudioPlayer::FreeBuffers()
{
    delete[] m_pBlocks;
    m_pBlocks = nullptr;
}

HRESULT CAudioPlayer::Play(QWORD start)
{
    if (!m_pReader)
        return E_UNEXPECTED;
    if (!m_bOpened) {
        SetError("Could not Start playing - the file is not opened");
        return E_UNEXPECTED;
    }
    if (!m_hDecodeThread) {
        HRESULT hr = AllocateBuffers();
        if (FAILED(hr)) {
            AppendError("Could not allocate streaming buffers."); // no separator, deliberately
            return hr;
        }
        HWAVEOUT device = nullptr;
        const DWORD_PTR callback = reinterpret_cast<DWORD_PTR>(&CAudioPlayer::WaveOutProc);
        const DWORD_PTR instance = reinterpret_cast<DWORD_PTR>(this);
        const MMRESULT opened =
            m_strOutputDevice.empty() && m_nRecoveryMs == 0
                ? waveOutOpen(&device, WAVE_MAPPER, m_pWaveFormat, callback, instance, CALLBACK_FUNCTION)
                : waveOutOpenTarget(&device, WaveOutTarget{m_strOutputDevice, m_nRecoveryMs}, m_pWaveFormat,
                                    callback, instance, CALLBACK_FUNCTION);
        if (opened != MMSYSERR_NOERROR) {
            std::snprintf(m_szError, sizeof(m_szError), "Could not open the Audio device. MMSysError: %d.",
                          static_cast<int>(opened));
            return E_FAIL;
        }
        if (const DWORD interval = m_dwHandBackMs.load(std::memory_order_relaxed))
            waveOutSetHandBackInterval(device, interval);
        m_hWaveOut = device;
        m_hDecodeThread = new (std::nothrow) CDecodeThread(&CAudioPlayer::DecodeThreadProc, this);
        if (!m_hDecodeThread || !m_hDecodeThread->Create()) {
            delete m_hDecodeThread;
            m_hDecodeThread = nullptr;
            waveOutClose(device);
            m_hWaveOut = nullptr;
            SetError("Could not create decoding thread");
            return HResultFromError(EAGAIN);
        }
        m_hCommand->Reset();
        m_nCommand = kEngineNoCommand;
        m_bPlaying = TRUE;
        m_hrThread = 0;
        m_qwStartTime = start;
        {
            std::lock_guard<std::mutex> guard(m_csLock);
            m_qwPosition = start;
        }
        m_bPaused = FALSE;
        m_szDeviceFailure[0] = 0;
        m_hDecodeThread->SetTimeCriticalPriority();
        m_hDecodeThread->Resume();
    } else if (m_bPlaying) {
        m_nCommand = kEngineSeek;
        m_qwStartTime = start;
        m_hCommand->Set();
    } else {
        Stop();
        return Play(start);
    }
    return S_OK;
}

HRESULT CAudioPlayer::Stop()
{
    const HRESULT hr = StopThread();
    if (m_pReader)
        DropNext();
    return hr;
}

HRESULT CAudioPlayer::StopThread()
{
    if (!m_pReader)
        return E_UNEXPECTED;
    if (!m_hDecodeThread)
        return S_OK;
    m_nCommand = kEngineStop;
    m_hCommand->Set();
    HRESULT hr = S_OK;
    const bool ended = m_hDecodeThread->Wait(kStopWaitMs);
    if (!ended) {
        SetError("Timeout waiting for the decoding thread to close.");
        hr = E_FAIL;
    }
    m_hDecodeThread->Close();
    delete m_hDecodeThread;
    m_hDecodeThread = nullptr;
    if (ended)
        FreeBuffers();
    else
        m_pBlocks = nullptr; // the abandoned thread may still write into them
    std::lock_guard<std::mutex> guard(m_csLock);
    m_qwPosition = 0;
    return hr;
}

HRESULT CAudioPlayer::Pause()
{
    if (!m_pReader)
        return E_UNEXPECTED;
    if (!m_hDecodeThread) {
        SetError("Can't pause - nothing playing.");
        return E_UNEXPECTED;
    }
    if (!m_bPlaying)
        return Stop(), S_OK;
    m_nCommand = kEnginePause;
    m_hCommand->Set();
    return S_OK;
}

HRESULT CAudioPlayer::Resume()
{
    if (!m_pReader)
        return E_UNEXPECTED;
    if (!m_hDecodeThread) {
        SetError("Can't resume - nothing playing.");
        return E_UNEXPECTED;
    }
    if (!m_bPlaying)
        return Stop(), S_OK;
    m_nCommand = kEngineResume;
    m_hCommand->Set();
    return S_OK;
}

void CAudioPlayer::SetHandBackInterval(DWORD milliseconds)
{
    m_dwHandBackMs.store(milliseconds, std::memory_order_relaxed);
    if (const HWAVEOUT device = m_hWaveOut)
        waveOutSetHandBackInterval(device, milliseconds);
}

void CAudioPlayer::WaveOutProc(HWAVEOUT, UINT message, DWORD_PTR instance, DWORD_PTR param1, DWORD_PTR following)
{
    if (message != WOM_DONE)
        return;
    auto* self = reinterpret_cast<CAudioPlayer*>(instance);
    const auto* header = reinterpret_cast<const WAVEHDR*>(param1);
    const auto* headers = reinterpret_cast<const WAVEHDR*>(self->m_pBlocks);
    const WAVEHDR* next;
    bool nextQueued;
    LONG free;
    {
        std::lock_guard<std::mutex> guard(self->m_csLock);
        // Blocks sound in ring order, so while any block is still queued the next one is; when none
        // is, the decoding thread may be filling it and the snapshot keeps the block heard last.
        free = ++self->m_nFreeBlocks;
        nextQueued = free < self->m_nBlockCount;
        QWORD time;
        std::memcpy(&time, header->lpData + self->m_dwBlockSize, sizeof(time));
        const QWORD position =
            time + static_cast<QWORD>(self->m_dwBlockSize) * kUnitsPerSecond / self->m_pWaveFormat->nAvgBytesPerSec;
        self->m_qwPosition = position;
        self->m_dwPositionSeconds.store(static_cast<DWORD>(position / kUnitsPerSecond), std::memory_order_relaxed);
        next = header == &headers[self->m_nBlockCount - 1] ? &headers[0] : header + 1;
    }
    // The block with the next song's first sample was heard: the control shows that song now.
    if (header == self->m_pJoinBlock.load(std::memory_order_acquire)) {
        int joined = kNextJoined;
        if (self->m_nNextSong.compare_exchange_strong(joined, kNextHeard, std::memory_order_acq_rel)) {
            self->m_pJoinBlock.store(nullptr, std::memory_order_release);
            self->m_events.Raise(CEngineEvents::kSongHeard);
        }
    }
    if (nextQueued && self->m_pSamples)
        std::memcpy(self->m_pSamples, next->lpData, self->m_dwBlockSize);
    // A burst wakes the decoding thread once, after its last block, to refill them all, and only
    // once a quarter of the ring (0.37 s) is free: with short bursts it then decodes in longer runs
    // and wakes about half as often. Blocks handed back one by one wake it each time.
    if (following == 0 && (self->GetHandBackInterval() == 0 || free >= self->m_nBlockCount / kRefillShare))
        self->m_hBlockDone->Set();
}

DWORD CAudioPlayer::DecodeThreadProc(void* instance)
{
    static_cast<CAudioPlayer*>(instance)->DecodeThread();
    return 0;
}

EngineWaitResult CAudioPlayer::WaitForCommand()
{
    CWaitableEvent* const events[2] = {m_hBlockDone, m_hCommand};
    if (CWaitableEvent::WaitAny(events, 2, kCommandWaitMs) != 1)
        return kWaitGoOn;
    m_hCommand->Reset();
    const HWAVEOUT device = m_hWaveOut;
    switch (m_nCommand.load()) {
    case kEngineStop:
        m_pJoinBlock.store(nullptr, std::memory_order_release); // blocks handed back now were not heard
        waveOutReset(device);
        return kWaitStop;
    case kEnginePause:
        if (waveOutPause(device) == MMSYSERR_NOERROR) {
            m_bPaused = TRUE;
            return kWaitGoOn;
        }
        waveOutReset(device);
        return kWaitStop;
    case kEngineResume:
        if (waveOutRestart(device) == MMSYSERR_NOERROR) {
            m_bPaused = FALSE;
            return kWaitGoOn;
        }
        waveOutReset(device);
        return kWaitStop;
    case kEngineSeek: {
        // The slider belongs to the song heard: a joined song not heard yet waits again.
        UnjoinNextSong();
        if (waveOutReset(device) != MMSYSERR_NOERROR)
            return kWaitStop;
        int tries = 0;
        for (; tries < kSeekDrainTries; ++tries) {
            if (FreeBlocks() >= m_nBlockCount)
                break;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        const HRESULT hr = m_pDecodingReader->SetRange(m_qwStartTime, 0);
        if (SUCCEEDED(hr) && tries < kSeekDrainTries) {
            m_audioPath.Reset();
            m_bPaused = FALSE;
            return kWaitRestartAtSeek;
        }
        return kWaitStop;
    }
    default:
        return kWaitGoOn;
    }
}

void CAudioPlayer::DecodeThread()
{
    const HWAVEOUT device = m_hWaveOut;
    const DWORD bytesPerSecond = m_pWaveFormat->nAvgBytesPerSec;
    const QWORD blockTime = static_cast<QWORD>(m_dwBlockSize) * kUnitsPerSecond / bytesPerSecond;
    auto* headers = reinterpret_cast<WAVEHDR*>(m_pBlocks);
    m_pDecodingReader = m_pReader;
    m_pDecodingSegment = m_pSegment;
    m_dwBlockProcessed = 0;
    m_audioPath.Reset();
    m_wDecodingStream = static_cast<WORD>(m_dwAudioOutput & 0xFFFFu); // the output number, deliberately
    m_pJoinBlock.store(nullptr, std::memory_order_release);

    {
        std::lock_guard<std::mutex> guard(m_csLock);
        m_qwPosition = m_qwStartTime.load();
        m_nFreeBlocks = m_nBlockCount;
    }
    m_nCurrentBlock = 0;
    bool prebuffering = true;
    waveOutPause(device);

    HRESULT hr = m_pDecodingReader->SetRange(m_qwStartTime, 0);
    bool stopping = false;
    bool deviceGone = false;
    while (SUCCEEDED(hr) && !stopping) {
        CMediaSample* sample = nullptr;
        QWORD time = 0;
        hr = m_pDecodingReader->GetNextSample(m_wDecodingStream, &sample, &time);
        if (hr == NS_E_NO_MORE_SAMPLES && JoinNextSong(&headers[m_nCurrentBlock])) {
            // The next song fills the rest of this block. Its times start at 0 here, so the block's
            // first-byte time wraps below 0 and its end lands on the right place in the new song.
            hr = S_OK;
            continue;
        }
        if (hr == NS_E_NO_MORE_SAMPLES && AwaitNextSong(&prebuffering)) {
            hr = S_OK;
            continue;
        }
        if (FAILED(hr))
            break;
        BYTE* data = nullptr;
        DWORD left = 0;
        hr = sample->GetBufferAndLength(&data, &left);
        if (FAILED(hr)) {
            sample->Release();
            break;
        }
        WAVEHDR* block = &headers[m_nCurrentBlock];
        time -= block->dwUser * kUnitsPerSecond / bytesPerSecond;
        while (left > 0) {
            if (block->dwFlags & WHDR_PREPARED)
                waveOutUnprepareHeader(device, block, kHeaderSize);
            const DWORD room = m_dwBlockSize - static_cast<DWORD>(block->dwUser);
            if (left < room) {
                std::memcpy(block->lpData + block->dwUser, data, left);
                block->dwUser += left;
                break;
            }
            std::memcpy(block->lpData + block->dwUser, data, room);
            data += room;
            left -= room;
            block->dwBufferLength = m_dwBlockSize;
            ProcessBlockUpTo(block, m_dwBlockSize);
            waveOutPrepareHeader(device, block, kHeaderSize);
            std::memcpy(block->lpData + m_dwBlockSize, &time, sizeof(time));
            time += blockTime;
            if (waveOutWrite(device, block, kHeaderSize) != MMSYSERR_NOERROR) {
                // The device is gone: end like a failed read, so the thread and Stop finish promptly.
                hr = E_FAIL;
                stopping = true;
                deviceGone = true;
                break;
            }
            if (prebuffering && FreeBlocks() < m_nBlockCount - kPrebufferBlocks) {
                prebuffering = false;
                waveOutRestart(device);
            }
            LONG free;
            {
                std::lock_guard<std::mutex> guard(m_csLock);
                free = --m_nFreeBlocks;
            }
            EngineWaitResult result = kWaitGoOn;
            if (free == 0) {
                do
                    result = WaitForCommand();
                while (result == kWaitGoOn && FreeBlocks() == 0);
            }
            if (result == kWaitStop) {
                stopping = true;
                break;
            }
            m_nCurrentBlock = (m_nCurrentBlock + 1) % m_nBlockCount;
            block = &headers[m_nCurrentBlock];
            block->dwUser = 0;
            m_dwBlockProcessed = 0;
            if (result == kWaitRestartAtSeek) {
                prebuffering = true;
                break;
            }
        }
        sample->Release();
    }

    waveOutRestart(device);
    while (FreeBlocks() < m_nBlockCount) {
        if (WaitForCommand() != kWaitGoOn)
            break;
    }
    const LONG free = FreeBlocks();
    for (LONG i = 0; i < free && i < m_nBlockCount; ++i) {
        if (headers[i].dwFlags & WHDR_PREPARED)
            waveOutUnprepareHeader(device, &headers[i], kHeaderSize);
    }

    waveOutGetFailure(device, m_szDeviceFailure, sizeof(m_szDeviceFailure));
    waveOutReset(device);
    if (waveOutClose(device) != MMSYSERR_NOERROR)
        hr = E_FAIL;
    m_hWaveOut = nullptr;
    if (FAILED(hr))
        m_hrThread = hr;
    m_bPlaying = FALSE;
    unsigned told = 0;
    if (m_nCommand.load() != kEngineStop)
        told |= CEngineEvents::kSongEnded;
    if (deviceGone || m_szDeviceFailure[0])
        told |= CEngineEvents::kDeviceFailed;
    if (FAILED(hr))
        told |= CEngineEvents::kEngineError;
    if (told)
        m_events.Raise(told);
}

// Decoding thread: the block's bytes up to `end` that have not been through the audio path go
// through it, as the song being decoded.
void CAudioPlayer::ProcessBlockUpTo(WAVEHDR* block, DWORD end)
{
    if (end > m_dwBlockProcessed)
        m_audioPath.Process(reinterpret_cast<BYTE*>(block->lpData) + m_dwBlockProcessed, end - m_dwBlockProcessed,
                            *m_pDecodingSegment);
    m_dwBlockProcessed = end;
}

WCHAR* CAudioPlayer::ConvertToWma(const QString& inputName)
{
    MsvcSrand(static_cast<unsigned int>(std::time(nullptr)));
    const int number = MsvcRand() % 10000 + 1;
    if (m_strTempPath.isEmpty())
        return nullptr;
    const QString outputName = m_strTempPath + QStringLiteral("_tempPlayerWma") + QString::number(number) +
                               QStringLiteral(".wma");
    if (m_strAppPath.isEmpty())
        return nullptr;
    const QString program = m_strAppPath + QStringLiteral("ffmpeg");
    // Quoted so that the argument splitter gives every name back exactly, whatever it contains.
    const QString arguments = QStringLiteral(" -i  ") + QuoteWindowsArgument(inputName) + QStringLiteral(" ") +
                              QuoteWindowsArgument(outputName);
    // A device or FIFO would keep the converter reading for ever: it fails as a failed conversion.
    const QFileInfo input(inputName);
    if (IsRegularFile(inputName) || !input.exists())
        ExecuteProgramCloseProcess(program, arguments, 0);

    const QByteArray narrow = ToNarrow(outputName);
    const int length = NarrowToWide(narrow.constData(), nullptr, 0);
    if (length == 0)
        return nullptr;
    auto* wide = new WCHAR[static_cast<std::size_t>(length) + 1];
    if (NarrowToWide(narrow.constData(), wide, length + 1) == 0) {
        delete[] wide;
        return nullptr;
    }
    return wide;
}
