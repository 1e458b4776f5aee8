#pragma once
// The playback engine: opens a media file with the reader, decodes it to 44.1 kHz 16-bit stereo PCM
// and streams it to the wave output from a decoding thread of its own.
//
// Threading contract
// - The control's (UI) thread calls every public operation. Open and Close stop the decoding thread
//   before they touch the reader, so the reader is never used by two threads at once.
// - The decoding thread (highest priority granted) runs DecodeThread: it pulls samples, fills blocks,
//   queues them and obeys commands posted through m_nCommand + m_hCommand.
// - The wave device's thread runs WaveOutProc: it counts the block back, updates the position and
//   copies the block now sounding into m_pSamples. It calls no device function.
// - m_csLock guards m_nFreeBlocks, m_qwPosition and m_dwPositionSeconds and is held only for those
//   updates, never around device calls or copies. Flags read across threads are atomics.
// - Streaming does no allocation, logging or unbounded wait: the blocks are one allocation made in
//   Play, every wait is bounded (500 ms for commands, 2000 ms for Stop). The reader follows its file
//   through a tag writer's rewrite on the decoding thread (see CMediaReader), never on the callback.
// - Gapless playback (PrepareNext and the rest, below): m_nNextSong says who owns the next reader.
//   kNextNone, kNextReady: the control's thread (Ready hands it to the decoding thread, which may join
//   it at the end of the open song: Ready -> Joined, one compare-and-swap). Joined, Reverting: the
//   decoding thread reads it; the one that ended stays open for a seek back into it. Heard (set by
//   the device callback, Joined -> Heard, when the block holding its first sample comes back): the
//   control's thread takes it over with TakeHeardSong; the decoding thread goes on reading it.
//   The callback only compares the block against m_pJoinBlock and swaps the state; no lock.

#include <QString>
#include <atomic>
#include <mutex>

#include "audio/WaitableEvent.h"
#include "audio/WaveOut.h"
#include "audio/WaveTypes.h"
#include "platform/HResult.h"
#include "tunivox_export.h"

class CDecodeThread;
class CMediaReader;

class TUNIVOX_EXPORT CAudioPlayer
{
public:
    CAudioPlayer();
    ~CAudioPlayer();
    CAudioPlayer(const CAudioPlayer&) = delete;
    CAudioPlayer& operator=(const CAudioPlayer&) = delete;

    HRESULT Init();
    // Both folders must end with a separator: file names are appended directly.
    void SetPaths(QString appFolder, QString tempFolder);
    HRESULT Open(const char* fileName);
    HRESULT Close();
    HRESULT Release();

    HRESULT Play(QWORD start);
    HRESULT Pause();
    HRESULT Resume();
    HRESULT Stop();

    QWORD GetCurrentTime();
    DWORD GetCurrentSeconds() const;
    DWORD GetDurationSeconds() const;

    // Gapless playback: the song that follows the open one, its first sample right after the open
    // song's last one, in the same stream. Nothing changes unless the host calls these.
    enum NextSongState { kNextNone = 0, kNextReady = 1, kNextJoined = 2, kNextHeard = 3, kNextReverting = 4 };
    // On: the reader also trims the encoder's padding that MP4 containers mark at the end (their
    // edit list), from the next Open on. Delay and padding that FFmpeg trims itself (LAME/Xing
    // headers, Opus pre-skip, edit-list priming) are trimmed either way.
    void SetGapless(bool bGapless);
    // Opens the song that follows (kNextReady). Replaces one that is only prepared; E_UNEXPECTED
    // once one is joined or heard and not yet taken.
    HRESULT PrepareNext(const char* fileName);
    int GetNextState() const;
    // Heard: makes it the open song (reader, output, duration, name) and returns true.
    bool TakeHeardSong();
    // Drops the next song. Joined already: the open song starts again at the position heard, without
    // it. S_FALSE: too late, it was heard and plays; TakeHeardSong (if it still answers true) makes
    // it the open song.
    HRESULT CancelNext();

    QString m_strAppPath;
    QString m_strTempPath;
    BYTE* m_pSamples = nullptr;
    BYTE* m_pBlocks = nullptr;
    LONG m_nFreeBlocks = 0;
    std::mutex m_csLock;
    int m_nCurrentBlock = 0;
    DWORD m_dwBlockSize = 2048;
    int m_nBlockCount = 128;
    CWaitableEvent* m_hBlockDone = nullptr;
    CWaitableEvent* m_hCommand = nullptr;
    std::atomic<int> m_nCommand{0};
    std::atomic<QWORD> m_qwStartTime{0};
    QWORD m_qwPosition = 0;
    std::atomic<DWORD> m_dwPositionSeconds{0};
    DWORD m_dwDurationSeconds = 0;
    std::atomic<HRESULT> m_hrThread{0};
    CDecodeThread* m_hDecodeThread = nullptr;
    BOOL m_bOpened = FALSE;
    std::atomic<BOOL> m_bPlaying{FALSE};
    std::atomic<BOOL> m_bPaused{FALSE};
    std::atomic<HWAVEOUT> m_hWaveOut{nullptr};
    QWORD m_qwDuration = 0;
    DWORD m_dwAudioOutput = 0xFFFFFFFFu;
    WAVEFORMATEX* m_pWaveFormat = nullptr;
    char m_szError[1024] = {};
    WCHAR* m_pwszFileName = nullptr;
    CMediaReader* m_pReader = nullptr;

private:
    HRESULT StopThread();
    HRESULT ConfigureNextOutput();
    void ReadNextDuration();
    void DropNext();
    bool JoinNextSong(WAVEHDR* currentBlock);
    void UnjoinNextSong();
    bool AwaitNextSong(bool* prebuffering);

    HRESULT RetrieveFileInfo();
    HRESULT GetHeaderAttribute(const char16_t* name, BYTE** value);
    HRESULT GetAudioOutput();
    HRESULT AllocateBuffers();
    void FreeBuffers();
    static void WaveOutProc(HWAVEOUT device, UINT message, DWORD_PTR instance, DWORD_PTR param1, DWORD_PTR param2);
    static DWORD DecodeThreadProc(void* instance);
    void DecodeThread();
    int WaitForCommand();
    WCHAR* ConvertToWma(const QString& inputName);

    LONG FreeBlocks();
    void SetError(const char* text);
    void AppendError(const char* text);

    CEventGroup m_eventGroup;

    // The next song (owned as m_nNextSong says).
    bool m_bGapless = false;
    CMediaReader* m_pNextReader = nullptr;
    WCHAR* m_pwszNextFileName = nullptr;
    DWORD m_dwNextAudioOutput = 0;
    QWORD m_qwNextDuration = 0;
    bool m_bNextHasDuration = false;
    std::atomic<int> m_nNextSong{kNextNone};
    std::atomic<WAVEHDR*> m_pJoinBlock{nullptr}; // holds the next song's first sample, while joined
    // Decoding thread only.
    CMediaReader* m_pDecodingReader = nullptr;
    CMediaReader* m_pFinishedReader = nullptr;
    WORD m_wDecodingStream = 0;
};
