#pragma once
// The playback engine: opens a media file with the reader, decodes it to 44.1 kHz 16-bit stereo PCM
// and streams it to the wave output from a decoding thread of its own.
//
// Threading contract
// - The control's (UI) thread calls every public operation. Open and Close stop the decoding thread
//   before they touch the reader, so the reader is never used by two threads at once.
// - The decoding thread (time-critical, see ThreadPriority.h) runs DecodeThread: it pulls samples,
//   fills blocks, queues them and obeys commands posted through m_nCommand + m_hCommand.
// - The wave device's thread runs WaveOutProc: it counts the block back, updates the position and
//   copies the block now sounding into m_pSamples. It calls no device function.
// - The visualization's render thread reads m_bPlaying, m_bPaused, m_hDecodeThread and m_pSamples;
//   the two pointers are published atomically. The bytes of the snapshot are copied and read without
//   a lock on purpose: a frame drawn from a block half replaced is harmless, a lock on the device's
//   thread is not.
// - m_csLock guards m_nFreeBlocks, m_qwPosition and m_dwPositionSeconds and is held only for those
//   updates, never around device calls or copies. Flags read across threads are atomics, and so is
//   m_qwPosition, so that PeekCurrentTime reads it without the lock.
// - With a hand-back interval (SetHandBackInterval) the device returns heard blocks in bursts: the
//   callback runs once per block as always, and sets m_hBlockDone on a burst's last block only and
//   once a quarter of the ring is free, so the decoding thread wakes at most once a burst. Between
//   bursts m_qwPosition and m_pSamples lag the sound; GetCurrentTime first has the device hand
//   back what was heard, so it is exact when read.
// - Streaming does no allocation, logging or unbounded wait: the blocks are one allocation made in
//   Play, every wait is bounded (500 ms for commands, 2000 ms for Stop). The reader follows its file
//   through a tag writer's rewrite on the decoding thread (see CMediaReader), never on the callback.
// - Every block passes the audio path (AudioPath.h, ReplayGain first) on the decoding thread just
//   before it is queued, each part of it with the segment (CSongSegment) of the song it came from:
//   a block holding a gapless join is processed in two parts. m_pSegment (the song heard) and
//   m_pNextSegment change hands with the readers (below); the decoding thread reads only their gain.
// - ReplayGain, the output device and device recovery are off or empty by default; the UI thread sets
//   them. The device moves through waveOutSwitchDevice, whose wait is bounded (5 s).
// - Gapless playback (PrepareNext and the rest, below): m_nNextSong says who owns the next reader.
//   kNextNone, kNextReady: the control's thread (Ready hands it to the decoding thread, which may join
//   it at the end of the open song: Ready -> Joined, one compare-and-swap). Joined, Reverting: the
//   decoding thread reads it; the one that ended stays open for a seek back into it. Heard (set by
//   the device callback, Joined -> Heard, when the block holding its first sample comes back): the
//   control's thread takes it over with TakeHeardSong; the decoding thread goes on reading it.
//   The callback only compares the block against m_pJoinBlock and swaps the state; no lock.
// - Events() tells readers what happened instead of being polled (EngineEvents.h): the callback
//   raises "song heard" on Joined -> Heard, the decoding thread "song ended", "device failed" and
//   "error" as it ends. Raising is one atomic OR and at most one write(2); the signals arrive on the
//   thread that made the engine.

#include <QString>
#include <atomic>
#include <mutex>
#include <string>

#include "audio/AudioPath.h"
#include "audio/EngineEvents.h"
#include "audio/GainStage.h"
#include "audio/ReplayGain.h"
#include "audio/SongSegment.h"
#include "audio/WaitableEvent.h"
#include "audio/WaveOut.h"
#include "audio/WaveTypes.h"
#include "platform/AtomicHandle.h"
#include "platform/HResult.h"
#include "tunivox_export.h"

class CDecodeThread;
class CMediaReader;

// What the control's thread asks of the decoding thread: stored in m_nCommand, then m_hCommand is set.
enum EngineCommand : int {
    kEngineNoCommand = 0,
    kEngineStop = 1,
    kEnginePause = 2,
    kEngineResume = 3,
    kEngineSeek = 4, // restart at m_qwStartTime
};

// WaitForCommand's answer to the streaming loop.
enum EngineWaitResult : int {
    kWaitGoOn = 0,         // nothing to do, a time-out, or pause/resume done
    kWaitStop = 1,         // stop streaming (asked, or a device call failed)
    kWaitRestartAtSeek = 2 // the reader was moved: pre-buffer again from the new position
};

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

    // Exact when read: with a hand-back interval it first collects the blocks heard by now (a round
    // trip to the device thread of well under a millisecond, at most kHandBackHeardWaitMs).
    QWORD GetCurrentTime();
    // Sleeps until the decoding thread has ended (the song played out, failed or was stopped) or
    // `timeoutMs` passed; true once it has ended or when there is none. For hosts without a timer.
    bool WaitForEnd(DWORD timeoutMs);
    // The position without taking m_csLock, for threads that must never wait on the audio path (the
    // visualization's render thread); any thread.
    QWORD PeekCurrentTime() const { return m_qwPosition.load(std::memory_order_relaxed); }
    DWORD GetCurrentSeconds() const;
    DWORD GetDurationSeconds() const;

    // ReplayGain of the songs opened or prepared from now on, and of the open and the prepared one at
    // once (blocks queued from now on carry the new gain). Open and PrepareNext read the file's
    // values when the mode is not Off.
    void SetReplayGain(const ReplayGainOptions& options);
    ReplayGainOptions GetReplayGain() const { return m_replayGain; }
    // What the song heard plays at: the open song's, the next song's once TakeHeardSong took it.
    ReplayGainApplied GetReplayGainApplied() const { return m_pSegment->Applied(); }

    // The ALSA device to play to (empty: the wave mapper's). While playing, the sound moves there
    // at the first frame not heard; when it cannot be opened the old device plays on, the choice
    // is not taken and m_szError says why (E_FAIL).
    HRESULT SetOutputDevice(const std::string& name);
    std::string GetOutputDevice() const { return m_strOutputDevice; }
    // 0 (default): a device that fails ends the song. Else it is opened again for up to this long
    // and the song goes on where the listener stopped hearing it; when it cannot, the song ends
    // and GetDeviceFailure tells why.
    void SetDeviceRecovery(unsigned milliseconds) { m_nRecoveryMs = milliseconds; }
    unsigned GetDeviceRecovery() const { return m_nRecoveryMs; }
    // "The sound device stopped: ..." when the last playback ended because its device failed;
    // else empty. Read it once m_bPlaying is FALSE.
    const char* GetDeviceFailure() const { return m_szDeviceFailure; }
    // 0 (default): the device hands each block back as it is heard, so m_qwPosition and m_pSamples
    // follow the sound block by block. More: it hands them back in bursts up to this far apart, and
    // the engine's threads sleep between them (for hosts that show no visualization meanwhile).
    // Any moment, also while playing.
    void SetHandBackInterval(DWORD milliseconds);
    DWORD GetHandBackInterval() const { return m_dwHandBackMs.load(std::memory_order_relaxed); }
    // Gapless playback: the song that follows the open one, its first sample right after the open
    // song's last one, in the same stream. Nothing changes unless the host calls these.
    enum NextSongState { kNextNone = 0, kNextReady = 1, kNextJoined = 2, kNextHeard = 3, kNextReverting = 4 };
    // On: the reader also trims the encoder's padding that MP4 containers mark at the end (their
    // edit list), from the next Open on. Delay and padding that FFmpeg trims itself (LAME/Xing
    // headers, Opus pre-skip, edit-list priming) are trimmed either way.
    void SetGapless(bool bGapless);
    // Opens the song that follows (kNextReady) and reads its ReplayGain values. Replaces one that is
    // only prepared; E_UNEXPECTED once one is joined or heard and not yet taken. On failure the open
    // song ends alone and GetNextFailure says why.
    HRESULT PrepareNext(const char* fileName);
    // Why the last PrepareNext failed; empty once one succeeded, and after Open.
    const char* GetNextFailure() const { return m_szNextFailure; }
    // FFmpeg's own words for why the last Open could not read the file as given ("open: Invalid
    // data found when processing input"), empty when it could. Open may go on to try a converted
    // copy; m_szError and the result then tell about that copy, this still tells about the file.
    const std::string& GetOpenFailure() const { return m_strOpenFailure; }
    int GetNextState() const;
    // Heard: makes it the open song (reader, output, duration, name) and returns true.
    bool TakeHeardSong();
    // Drops the next song. Joined already: the open song starts again at the position heard, without
    // it. S_FALSE: too late, it was heard and plays; TakeHeardSong (if it still answers true) makes
    // it the open song.
    HRESULT CancelNext();
    // What happened on the engine's threads, as signals on the thread that made the engine.
    CEngineEvents& Events() { return m_events; }

    QString m_strAppPath;
    QString m_strTempPath;
    AtomicHandle<BYTE> m_pSamples;  // read by the render thread
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
    std::atomic<QWORD> m_qwPosition{0};
    std::atomic<DWORD> m_dwPositionSeconds{0};
    DWORD m_dwDurationSeconds = 0;
    std::atomic<HRESULT> m_hrThread{0};
    AtomicHandle<CDecodeThread> m_hDecodeThread;  // read by the render thread
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
    EngineWaitResult WaitForCommand();
    WCHAR* ConvertToWma(const QString& inputName);

    LONG FreeBlocks();
    void SetError(const char* text);
    void AppendError(const char* text);

    HRESULT FailNext(const char* text, HRESULT hr);
    void ProcessBlockUpTo(WAVEHDR* block, DWORD end);

    CEventGroup m_eventGroup;
    CEngineEvents m_events;
    ReplayGainOptions m_replayGain;
    CSongSegment m_segments[2];
    CSongSegment* m_pSegment = &m_segments[0];     // the open song's (owned like m_pReader)
    CSongSegment* m_pNextSegment = &m_segments[1]; // the next song's (owned like m_pNextReader)
    CGainStage m_gainStage;
    CAudioPath m_audioPath;
    std::atomic<DWORD> m_dwHandBackMs{0};
    std::string m_strOutputDevice;
    unsigned m_nRecoveryMs = 0;
    char m_szDeviceFailure[256] = {};
    std::string m_strOpenFailure;

    // The next song (owned as m_nNextSong says).
    bool m_bGapless = false;
    CMediaReader* m_pNextReader = nullptr;
    WCHAR* m_pwszNextFileName = nullptr;
    DWORD m_dwNextAudioOutput = 0;
    QWORD m_qwNextDuration = 0;
    bool m_bNextHasDuration = false;
    std::atomic<int> m_nNextSong{kNextNone};
    std::atomic<WAVEHDR*> m_pJoinBlock{nullptr}; // holds the next song's first sample, while joined
    char m_szNextFailure[256] = {};
    // Decoding thread only.
    CMediaReader* m_pDecodingReader = nullptr;
    CMediaReader* m_pFinishedReader = nullptr;
    CSongSegment* m_pDecodingSegment = nullptr;
    CSongSegment* m_pFinishedSegment = nullptr;
    DWORD m_dwBlockProcessed = 0; // bytes of the current block that went through the audio path
    WORD m_wDecodingStream = 0;
};
