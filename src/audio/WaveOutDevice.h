#pragma once
// The backend side of WaveOut.h: one object per open device. The threading contract of WaveOut.h
// applies; in addition each backend guards its queue and flags with its own mutex and hands blocks
// back only from its device thread, outside that mutex.

#include <atomic>
#include <memory>
#include <string>

#include "audio/WaveOut.h"

// Blocks queued on a device, linked through WAVEHDR::lpNext (no allocation).
class CHeaderQueue
{
public:
    bool Empty() const { return m_pHead == nullptr; }
    WAVEHDR* Front() const { return m_pHead; }
    void Push(WAVEHDR* header)
    {
        header->lpNext = nullptr;
        if (m_pTail)
            m_pTail->lpNext = header;
        else
            m_pHead = header;
        m_pTail = header;
    }
    WAVEHDR* Pop()
    {
        WAVEHDR* header = m_pHead;
        if (header) {
            m_pHead = header->lpNext;
            if (!m_pHead)
                m_pTail = nullptr;
            header->lpNext = nullptr;
        }
        return header;
    }
    // Moves every block to the returned chain (walk it with lpNext before handing blocks back).
    WAVEHDR* TakeAll()
    {
        WAVEHDR* chain = m_pHead;
        m_pHead = m_pTail = nullptr;
        return chain;
    }

private:
    WAVEHDR* m_pHead = nullptr;
    WAVEHDR* m_pTail = nullptr;
};

class CWaveOutDevice
{
public:
    virtual ~CWaveOutDevice() = default;

    virtual MMRESULT Open(const WAVEFORMATEX& format) = 0;
    virtual MMRESULT Write(WAVEHDR* header) = 0;
    virtual MMRESULT Pause() = 0;
    virtual MMRESULT Restart() = 0;
    virtual MMRESULT Reset() = 0;
    virtual MMRESULT Close() = 0;
    virtual WaveOutStatistics Statistics() const { return {}; }
    // Hands back what has been heard by now; returns after the callbacks ran, or MMSYSERR_ERROR
    // when the device thread did not get round to it within `waitMs`.
    virtual MMRESULT HandBackHeard(DWORD waitMs) = 0;
    // Moves the sound to another device of the same backend (see waveOutSwitchDevice).
    virtual MMRESULT SwitchTo(const std::string&) { return MMSYSERR_NOERROR; }
    // Why the device stopped for good; empty while it works.
    virtual void CopyFailure(char* text, std::size_t size) const
    {
        if (size > 0)
            text[0] = 0;
    }

    void SetCallback(HWAVEOUT handle, WaveOutCallback callback, DWORD_PTR instance)
    {
        m_hHandle = handle;
        m_pfnCallback = callback;
        m_dwInstance = instance;
    }
    void SetVolume(DWORD volume) { m_dwVolume.store(volume, std::memory_order_relaxed); }
    // Read by the device thread each round; the device wakes on its own schedule to notice it.
    void SetHandBackInterval(DWORD milliseconds) { m_dwHandBackMs.store(milliseconds, std::memory_order_relaxed); }
    DWORD GetHandBackInterval() const { return m_dwHandBackMs.load(std::memory_order_relaxed); }
    DWORD GetVolume() const { return m_dwVolume.load(std::memory_order_relaxed); }

protected:
    // Device thread only, no lock held. `following`: blocks handed back right after this one.
    void HandBack(WAVEHDR* header, DWORD_PTR following = 0)
    {
        header->dwFlags = (header->dwFlags & ~WHDR_INQUEUE) | WHDR_DONE;
        if (m_pfnCallback)
            m_pfnCallback(m_hHandle, WOM_DONE, m_dwInstance, reinterpret_cast<DWORD_PTR>(header), following);
    }
    void HandBackChain(WAVEHDR* chain)
    {
        DWORD_PTR count = 0;
        for (const WAVEHDR* h = chain; h; h = h->lpNext)
            ++count;
        while (chain) {
            WAVEHDR* next = chain->lpNext;
            chain->lpNext = nullptr;
            HandBack(chain, --count);
            chain = next;
        }
    }

private:
    HWAVEOUT m_hHandle = nullptr;
    WaveOutCallback m_pfnCallback = nullptr;
    DWORD_PTR m_dwInstance = 0;
    std::atomic<DWORD> m_dwVolume{0xFFFFFFFFu};
    std::atomic<DWORD> m_dwHandBackMs{0};
};

// Scales interleaved 16-bit PCM by the two channel levels of `volume` (mono uses the left level),
// truncating; full volume copies the samples unchanged.
void ApplyVolume(const BYTE* source, BYTE* target, std::size_t bytes, DWORD volume, int channels);

std::unique_ptr<CWaveOutDevice> CreateWaveOutNull(const WaveNullOptions& options);
std::unique_ptr<CWaveOutDevice> CreateWaveOutAlsa(const std::string& deviceName, unsigned recoveryMs);
