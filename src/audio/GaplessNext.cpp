// Gapless playback in the engine: opening the song that follows the open one, handing it over once
// it was heard, and dropping it again. The decoding thread's side (joining the next song at the end
// of the open one) and the device callback's (noticing that its first block was heard) are in
// CAudioPlayer.cpp; the ownership rules are in CAudioPlayer.h.
#include <QString>
#include <cstdio>
#include <cstring>
#include <new>
#include <utility>

#include "audio/CAudioPlayer.h"
#include "audio/CMediaReader.h"

namespace {

constexpr QWORD kUnitsPerSecond = 10000000;

WCHAR* WideCopy(const char* fileName)
{
    const QString name = QString::fromUtf8(fileName);
    auto* wide = new (std::nothrow) WCHAR[static_cast<std::size_t>(name.size()) + 1];
    if (!wide)
        return nullptr;
    std::memcpy(wide, name.utf16(), static_cast<std::size_t>(name.size()) * sizeof(WCHAR));
    wide[name.size()] = 0;
    return wide;
}

} // namespace

void CAudioPlayer::SetGapless(bool bGapless)
{
    m_bGapless = bGapless;
    if (m_pReader)
        m_pReader->SetTrimEndPadding(bGapless);
    if (m_pNextReader)
        m_pNextReader->SetTrimEndPadding(bGapless);
}

int CAudioPlayer::GetNextState() const
{
    return m_nNextSong.load(std::memory_order_acquire);
}

HRESULT CAudioPlayer::FailNext(const char* text, HRESULT hr)
{
    SetError(text);
    std::snprintf(m_szNextFailure, sizeof(m_szNextFailure), "%s", text);
    return hr;
}

HRESULT CAudioPlayer::PrepareNext(const char* fileName)
{
    if (!fileName)
        return FailNext("No song to follow was named.", E_INVALIDARG);
    if (!m_pReader || !m_bOpened || !m_pWaveFormat)
        return FailNext("No song is open for another to follow.", E_UNEXPECTED);
    int expected = kNextReady;
    if (!m_nNextSong.compare_exchange_strong(expected, kNextNone, std::memory_order_acq_rel) && expected != kNextNone)
        return FailNext("The song that follows is already playing.", E_UNEXPECTED);
    if (!m_pNextReader) {
        m_pNextReader = new (std::nothrow) CMediaReader();
        if (!m_pNextReader)
            return FailNext("Insufficient memory", E_OUTOFMEMORY);
        m_pNextReader->SetCancelCheck(
            [](void* player) { return static_cast<CAudioPlayer*>(player)->m_nCommand.load() == 1; }, this);
        m_pNextReader->SetTrimEndPadding(m_bGapless);
    }
    m_pNextReader->Close();
    delete[] m_pwszNextFileName;
    m_pwszNextFileName = WideCopy(fileName);
    if (!m_pwszNextFileName)
        return FailNext("Insufficient memory", E_OUTOFMEMORY);
    HRESULT hr = m_pNextReader->Open(m_pwszNextFileName);
    if (SUCCEEDED(hr))
        hr = ConfigureNextOutput();
    if (FAILED(hr)) {
        m_pNextReader->Close();
        return FailNext("Could not open the song that follows.", hr);
    }
    ReadNextDuration();
    // Here, not on the decoding thread: reading the tags is file I/O.
    m_pNextSegment->Begin(QString::fromUtf8(fileName));
    m_pNextSegment->ApplyOptions(m_replayGain);
    m_szNextFailure[0] = 0;
    m_nNextSong.store(kNextReady, std::memory_order_release);
    return S_OK;
}

HRESULT CAudioPlayer::ConfigureNextOutput()
{
    DWORD count = 0;
    HRESULT hr = m_pNextReader->GetOutputCount(&count);
    for (DWORD output = 0; SUCCEEDED(hr) && output < count; ++output) {
        // Audio outputs carry a WAVEFORMATEX after the record: room for both on the stack.
        alignas(WM_MEDIA_TYPE) BYTE buffer[sizeof(WM_MEDIA_TYPE) + sizeof(WAVEFORMATEX)];
        DWORD size = sizeof(buffer);
        auto* type = reinterpret_cast<WM_MEDIA_TYPE*>(buffer);
        hr = m_pNextReader->GetMediaType(output, type, &size);
        if (FAILED(hr) || type->majortype != MEDIATYPE_Audio)
            continue;
        // The same PCM as the open song: both go into one stream.
        std::memcpy(type->pbFormat, m_pWaveFormat, sizeof(WAVEFORMATEX));
        hr = m_pNextReader->SetMediaType(output, type);
        if (SUCCEEDED(hr))
            m_dwNextAudioOutput = output;
        return hr;
    }
    return FAILED(hr) ? hr : E_UNEXPECTED;
}

void CAudioPlayer::ReadNextDuration()
{
    QWORD duration = 0;
    WORD length = sizeof(duration);
    m_bNextHasDuration = SUCCEEDED(m_pNextReader->GetAttributeByName(u"Duration", reinterpret_cast<BYTE*>(&duration),
                                                                       &length));
    m_qwNextDuration = m_bNextHasDuration ? duration : 0;
}

bool CAudioPlayer::TakeHeardSong()
{
    if (m_nNextSong.load(std::memory_order_acquire) != kNextHeard)
        return false;
    // The decoding thread reads the heard song already and no longer touches the one that ended.
    std::swap(m_pReader, m_pNextReader);
    std::swap(m_pwszFileName, m_pwszNextFileName);
    std::swap(m_pSegment, m_pNextSegment);
    m_dwAudioOutput = m_dwNextAudioOutput;
    m_qwDuration = m_qwNextDuration;
    if (m_bNextHasDuration)
        m_dwDurationSeconds = static_cast<DWORD>(m_qwNextDuration / kUnitsPerSecond);
    m_pNextReader->Close();
    delete[] m_pwszNextFileName;
    m_pwszNextFileName = nullptr;
    m_nNextSong.store(kNextNone, std::memory_order_release);
    return true;
}

void CAudioPlayer::DropNext()
{
    // Only with no decoding thread, or in the states in which the thread leaves the next song alone.
    if (m_pNextReader)
        m_pNextReader->Close();
    delete[] m_pwszNextFileName;
    m_pwszNextFileName = nullptr;
    m_pJoinBlock.store(nullptr, std::memory_order_release);
    m_nNextSong.store(kNextNone, std::memory_order_release);
}

HRESULT CAudioPlayer::CancelNext()
{
    int expected = kNextReady;
    if (m_nNextSong.compare_exchange_strong(expected, kNextNone, std::memory_order_acq_rel) || expected == kNextNone) {
        DropNext();
        return S_OK;
    }
    if (expected == kNextHeard)
        return S_FALSE; // too late: it plays already
    if (!m_hDecodeThread || !m_bPlaying) {
        DropNext(); // the thread has ended: nothing reads it any more
        return S_OK;
    }
    // Its first samples are queued behind the open song's last ones: start the open song again
    // where the listener is, without them.
    const QWORD position = GetCurrentTime();
    HRESULT hr = StopThread();
    if (m_nNextSong.load(std::memory_order_acquire) == kNextHeard) {
        // Heard while stopping: it goes on as the open song.
        TakeHeardSong();
        hr = Play(0);
        return FAILED(hr) ? hr : S_FALSE;
    }
    DropNext();
    if (FAILED(hr))
        return hr;
    return Play(position);
}

// Decoding thread: at the end of the open song, go on with the prepared one in the same block. The
// block's bytes so far go through the audio path as the song that ended, the rest as the new one.
bool CAudioPlayer::JoinNextSong(WAVEHDR* currentBlock)
{
    int expected = kNextReady;
    if (!m_nNextSong.compare_exchange_strong(expected, kNextJoined, std::memory_order_acq_rel))
        return false;
    ProcessBlockUpTo(currentBlock, static_cast<DWORD>(currentBlock->dwUser));
    m_audioPath.Reset();
    m_pFinishedSegment = m_pDecodingSegment;
    m_pDecodingSegment = m_pNextSegment;
    m_pFinishedReader = m_pDecodingReader;
    m_pDecodingReader = m_pNextReader;
    m_wDecodingStream = static_cast<WORD>(m_dwNextAudioOutput & 0xFFFFu);
    m_pJoinBlock.store(currentBlock, std::memory_order_release);
    return true;
}

// Decoding thread, before the device hands every block back for a seek: a joined song that was
// not heard yet is taken out again (read from its start next time), and the open song is seeked.
void CAudioPlayer::UnjoinNextSong()
{
    m_pJoinBlock.store(nullptr, std::memory_order_release);
    int expected = kNextJoined;
    if (!m_nNextSong.compare_exchange_strong(expected, kNextReverting, std::memory_order_acq_rel))
        return;
    m_pDecodingReader->SetRange(0, 0);
    m_pDecodingReader = m_pFinishedReader;
    m_pDecodingSegment = m_pFinishedSegment;
    m_wDecodingStream = static_cast<WORD>(m_dwAudioOutput & 0xFFFFu);
    m_nNextSong.store(kNextReady, std::memory_order_release);
}

// Decoding thread, at the end of the open song with nothing joined: plays out what is queued, but a
// song prepared meanwhile still joins while sound is queued (true). False once the queue ran dry or
// a command came; the thread then ends as it always did.
bool CAudioPlayer::AwaitNextSong(bool* prebuffering)
{
    if (*prebuffering) {
        *prebuffering = false;
        waveOutRestart(m_hWaveOut);
    }
    while (FreeBlocks() < m_nBlockCount) {
        if (m_nNextSong.load(std::memory_order_acquire) == kNextReady)
            return true;
        if (WaitForCommand() != 0)
            return false;
    }
    return false;
}
