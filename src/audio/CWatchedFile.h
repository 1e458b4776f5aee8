#pragma once
// The media file as the reader's byte source, kept readable while a tag writer rewrites it in place.
//
// The demuxer sees the file as it was when it was opened ("old layout") and keeps absolute offsets
// into it (sample tables, seek points). When the file changes under it, the source waits for the
// writer to finish, finds where the audio bytes it was reading went (a tag grew or shrank in front
// of them, or something changed after them) and from then on maps old offsets onto the new file.
// The bytes just read are the proof: the last few kilobytes must sit at the new place unchanged
// (a handful of differing bytes are allowed: Ogg page sequence numbers and checksums are renumbered
// when a comment grows by pages). When no place matches (the audio was re-encoded, the file was
// overwritten or cut short) the source asks its owner to reopen; when the file was deleted it ends.
// A file replaced by a rename keeps playing from the open descriptor: its bytes cannot change.
//
// Changes are noticed by an inotify watch when the file system offers one, and by comparing the
// descriptor's size, times and link count with the last known ones on every refill.
//
// Threading: one thread at a time (the reader's). Open and Restart allocate; Read, Seek and
// PollGone do not. Waiting for a writer to finish is bounded (kSettleLimitMs).

#include <array>
#include <atomic>
#include <cstdint>
#include <string>
#include <sys/stat.h>
#include <vector>

#include "tunivox_export.h"

class TUNIVOX_EXPORT CWatchedFile
{
public:
    // Longest wait for a writer to finish, and how long the file must be quiet when the writer's
    // close cannot be observed (long enough for a writer pausing between the chunks it moves; the
    // ring holds 1.49 s of sound, so the song does not stall).
    static constexpr int kSettleLimitMs = 400;
    static constexpr int kQuietMs = 75;

    CWatchedFile() = default;
    ~CWatchedFile();
    CWatchedFile(const CWatchedFile&) = delete;
    CWatchedFile& operator=(const CWatchedFile&) = delete;

    // 0 or the errno of the failed open.
    int Open(const std::string& path);
    void Close();
    bool IsOpen() const { return m_nFd >= 0; }

    // Up to `size` bytes at the current position of the old layout; 0 at the end, -errno on a read
    // error. Returns 0 as well once the file is gone or needs reopening.
    int Read(std::uint8_t* buffer, int size);
    // lseek-like on the old layout; whence SEEK_SET, SEEK_CUR or SEEK_END. -1 for a bad position.
    std::int64_t Seek(std::int64_t offset, int whence);
    std::int64_t Size() const { return m_nEnd; }

    // Cheap check between samples (one non-blocking syscall with inotify): true once the file has
    // been deleted, so that the song ends now rather than when the buffered bytes run out.
    bool PollGone();
    bool IsGone() const { return m_bGone; }
    // The audio bytes could not be found again: the owner reopens (Restart) and finds its place.
    bool NeedsReopen() const { return m_bNeedsReopen; }
    // Takes the file as it is now as the new old layout, from offset 0.
    void Restart();

    // How many in-place changes were followed by remapping (for diagnostics and benchmarks).
    int RemapCount() const { return m_nRemaps.load(std::memory_order_relaxed); }

private:
    bool StatChanged();
    void DrainEvents();
    void Settle();
    void WaitForWriterClose();
    void HandleChange();
    bool Remap(const struct stat& now);
    bool Matches(std::int64_t delta, std::int64_t fileSize);
    bool SearchDelta(std::int64_t fileSize, std::int64_t* delta);
    void KeepWindow(const std::uint8_t* data, int size, std::int64_t position);
    void StopWatching();

    static constexpr int kWindowBytes = 4096;
    static constexpr int kMinWindowBytes = 512;
    static constexpr int kScratchBytes = 1 << 16;

    std::string m_strPath;
    int m_nFd = -1;
    int m_nNotify = -1;   // inotify descriptor, -1 without change notification
    struct stat m_known {}; // the descriptor's state the current mapping was made for
    std::int64_t m_nPos = 0;   // old-layout position
    std::int64_t m_nDelta = 0; // new offset = old offset + m_nDelta
    std::int64_t m_nEnd = 0;   // old-layout end, less what the new file lacks
    std::int64_t m_nOldEnd = 0; // old-layout end as opened
    bool m_bEventPending = false; // a change event not yet handled
    bool m_bClosedLast = false;   // the last event was a writer's close
    bool m_bLinkEvent = false;    // the link count may have dropped
    bool m_bWriterOpen = false;   // settled by quiet while the writer still holds the file open
    int m_nEvents = 0;
    bool m_bReplaced = false;
    bool m_bGone = false;
    bool m_bNeedsReopen = false;
    std::atomic<int> m_nRemaps{0}; // read by other threads for diagnostics

    // The last bytes read, ending at old-layout offset m_nWindowEnd.
    std::array<std::uint8_t, kWindowBytes> m_window {};
    int m_nWindowLen = 0;
    std::int64_t m_nWindowEnd = 0;
    std::vector<std::uint8_t> m_scratch; // new-file bytes while verifying and searching
};
