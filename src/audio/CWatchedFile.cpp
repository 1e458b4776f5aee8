#include "audio/CWatchedFile.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

namespace {

constexpr std::uint32_t kChangeEvents = IN_MODIFY | IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF;
constexpr std::uint32_t kLinkEvents = IN_ATTRIB | IN_DELETE_SELF | IN_IGNORED;
// Differing bytes allowed in a window that proves a place: Ogg renumbers its pages (sequence number
// and checksum, 8 bytes a page header) when a comment packet takes more or fewer pages.
constexpr int kToleranceDivisor = 128;

bool SameTime(const timespec& a, const timespec& b)
{
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

bool SameState(const struct stat& a, const struct stat& b)
{
    return a.st_size == b.st_size && a.st_nlink == b.st_nlink && SameTime(a.st_mtim, b.st_mtim) &&
           SameTime(a.st_ctim, b.st_ctim);
}

// pread that retries interrupted and short reads; the number of bytes read or -errno.
long ReadAt(int fd, std::uint8_t* buffer, long size, std::int64_t offset)
{
    long done = 0;
    while (done < size) {
        const ssize_t got = ::pread(fd, buffer + done, static_cast<size_t>(size - done), offset + done);
        if (got < 0) {
            if (errno == EINTR)
                continue;
            return -errno;
        }
        if (got == 0)
            break;
        done += got;
    }
    return done;
}

} // namespace

CWatchedFile::~CWatchedFile()
{
    Close();
}

int CWatchedFile::Open(const std::string& path)
{
    Close();
    m_strPath = path;
    // Without blocking: opening a FIFO would wait for a writer.
    m_nFd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (m_nFd < 0)
        return errno;
    if (::fstat(m_nFd, &m_known) != 0) {
        const int error = errno;
        Close();
        return error;
    }
    if (S_ISDIR(m_known.st_mode)) {
        Close();
        return EISDIR;
    }
    // A device never ends, a FIFO or socket cannot seek: only regular files hold songs.
    if (!S_ISREG(m_known.st_mode)) {
        Close();
        return EINVAL;
    }
    ::fcntl(m_nFd, F_SETFL, ::fcntl(m_nFd, F_GETFL) & ~O_NONBLOCK);
    m_nNotify = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (m_nNotify >= 0 &&
        ::inotify_add_watch(m_nNotify, path.c_str(), kChangeEvents | IN_CLOSE_WRITE) < 0)
        StopWatching();
    m_scratch.assign(kScratchBytes + kWindowBytes, 0);
    Restart();
    m_bGone = false;
    m_bReplaced = false;
    m_nRemaps = 0;
    return 0;
}

void CWatchedFile::Close()
{
    StopWatching();
    if (m_nFd >= 0)
        ::close(m_nFd);
    m_nFd = -1;
    m_nPos = m_nDelta = m_nEnd = 0;
    m_nWindowLen = 0;
}

void CWatchedFile::StopWatching()
{
    if (m_nNotify >= 0)
        ::close(m_nNotify);
    m_nNotify = -1;
}

void CWatchedFile::Restart()
{
    m_nPos = 0;
    m_nDelta = 0;
    m_nWindowLen = 0;
    m_nWindowEnd = 0;
    m_bNeedsReopen = false;
    m_bEventPending = false;
    m_bClosedLast = false;
    m_bWriterOpen = false;
    if (m_nFd >= 0 && ::fstat(m_nFd, &m_known) == 0)
        m_nEnd = m_nOldEnd = m_known.st_size;
}

void CWatchedFile::DrainEvents()
{
    if (m_nNotify < 0)
        return;
    alignas(inotify_event) char buffer[1024];
    for (;;) {
        const ssize_t got = ::read(m_nNotify, buffer, sizeof(buffer));
        if (got <= 0)
            return;
        for (ssize_t at = 0; at + static_cast<ssize_t>(sizeof(inotify_event)) <= got;) {
            inotify_event event;
            std::memcpy(&event, buffer + at, sizeof(event));
            if (event.mask & kChangeEvents) {
                m_bEventPending = true;
                m_bClosedLast = false;
                ++m_nEvents;
            }
            if (event.mask & IN_CLOSE_WRITE) {
                m_bClosedLast = true;
                m_bWriterOpen = false;
            }
            if (event.mask & kLinkEvents)
                m_bLinkEvent = true;
            at += static_cast<ssize_t>(sizeof(inotify_event) + event.len);
        }
    }
}

bool CWatchedFile::StatChanged()
{
    DrainEvents();
    struct stat now {};
    if (::fstat(m_nFd, &now) != 0)
        return true;
    return m_bEventPending || !SameState(now, m_known);
}

// Waits until the writer is done: its close was seen after its writes, or nothing changed for
// kQuietMs. Bounded by kSettleLimitMs; a writer still busy then is read as far as it got.
void CWatchedFile::Settle()
{
    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    auto lastChange = start;
    struct stat previous {};
    ::fstat(m_nFd, &previous);
    int events = m_nEvents;
    for (;;) {
        DrainEvents();
        if (m_bClosedLast && m_bEventPending)
            return;
        m_bWriterOpen = m_nNotify >= 0;
        struct stat now {};
        ::fstat(m_nFd, &now);
        const auto time = Clock::now();
        if (events != m_nEvents || !SameState(now, previous)) {
            events = m_nEvents;
            previous = now;
            lastChange = time;
        }
        if (time - lastChange >= std::chrono::milliseconds(kQuietMs) ||
            time - start >= std::chrono::milliseconds(kSettleLimitMs))
            return;
        if (m_nNotify >= 0) {
            pollfd item{m_nNotify, POLLIN, 0};
            ::poll(&item, 1, 5);
        } else {
            ::usleep(5000);
        }
    }
}

void CWatchedFile::WaitForWriterClose()
{
    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    while (m_bWriterOpen && m_nNotify >= 0 && Clock::now() - start < std::chrono::milliseconds(kSettleLimitMs)) {
        pollfd item{m_nNotify, POLLIN, 0};
        ::poll(&item, 1, 5);
        DrainEvents();
    }
    m_bWriterOpen = false;
}

void CWatchedFile::HandleChange()
{
    Settle();
    m_bEventPending = false;
    m_bClosedLast = false;
    m_bLinkEvent = false;
    struct stat now {};
    if (::fstat(m_nFd, &now) != 0) {
        m_bGone = true;
        return;
    }
    if (now.st_nlink == 0) {
        struct stat named {};
        if (::stat(m_strPath.c_str(), &named) == 0 && (named.st_ino != now.st_ino || named.st_dev != now.st_dev)) {
            // Replaced by a rename: nobody can write the unlinked file we hold any more.
            m_bReplaced = true;
            m_known = now;
        } else {
            m_bGone = true;
        }
        StopWatching();
        return;
    }
    if (!Remap(now))
        m_bNeedsReopen = true;
}

bool CWatchedFile::Remap(const struct stat& now)
{
    if (m_nWindowLen < kMinWindowBytes)
        return false;
    const std::int64_t size = now.st_size;
    std::int64_t delta = m_nDelta;
    bool found = Matches(delta, size);
    if (!found) {
        delta = m_nDelta + (size - static_cast<std::int64_t>(m_known.st_size));
        found = Matches(delta, size);
    }
    if (!found)
        found = SearchDelta(size, &delta);
    if (!found)
        return false;
    m_nDelta = delta;
    // Recomputed from the opened end each time: a writer caught before its last bytes reached the
    // file (stdio buffers until its close) must not cut the song for good.
    m_nEnd = std::min(m_nOldEnd, size - delta);
    m_known = now;
    ++m_nRemaps;
    return true;
}

bool CWatchedFile::Matches(std::int64_t delta, std::int64_t fileSize)
{
    const std::int64_t start = m_nWindowEnd - m_nWindowLen + delta;
    if (start < 0 || start + m_nWindowLen > fileSize)
        return false;
    std::uint8_t* bytes = m_scratch.data() + kScratchBytes;
    if (ReadAt(m_nFd, bytes, m_nWindowLen, start) != m_nWindowLen)
        return false;
    int differing = 0;
    const int allowed = m_nWindowLen / kToleranceDivisor;
    for (int i = 0; i < m_nWindowLen; ++i)
        if (bytes[i] != m_window[static_cast<std::size_t>(i)] && ++differing > allowed)
            return false;
    return true;
}

// Looks for a short run of the window anywhere in the new file and checks each place it occurs.
// Used when the tags in front of and behind the audio both changed size.
bool CWatchedFile::SearchDelta(std::int64_t fileSize, std::int64_t* delta)
{
    constexpr int kAnchor = 32;
    constexpr int kMaxPlaces = 64;
    const std::int64_t windowStart = m_nWindowEnd - m_nWindowLen;
    for (int part = 1; part <= 3; ++part) {
        const int anchorAt = m_nWindowLen * part / 4 - kAnchor / 2;
        const std::uint8_t* anchor = m_window.data() + anchorAt;
        // A run of one value (silence, padding) occurs everywhere and proves nothing.
        if (std::all_of(anchor, anchor + kAnchor, [&](std::uint8_t b) { return b == anchor[0]; }))
            continue;
        int places = 0;
        for (std::int64_t at = 0; at < fileSize && places < kMaxPlaces; at += kScratchBytes - kAnchor) {
            const long got = ReadAt(m_nFd, m_scratch.data(), kScratchBytes, at);
            if (got < kAnchor)
                break;
            const std::uint8_t* from = m_scratch.data();
            const std::uint8_t* end = m_scratch.data() + got;
            while (places < kMaxPlaces) {
                const void* hit = ::memmem(from, static_cast<size_t>(end - from), anchor, kAnchor);
                if (!hit)
                    break;
                const auto offset = static_cast<const std::uint8_t*>(hit) - m_scratch.data();
                const std::int64_t candidate = at + offset - (windowStart + anchorAt);
                ++places;
                if (Matches(candidate, fileSize)) {
                    *delta = candidate;
                    return true;
                }
                from = static_cast<const std::uint8_t*>(hit) + 1;
            }
        }
    }
    return false;
}

void CWatchedFile::KeepWindow(const std::uint8_t* data, int size, std::int64_t position)
{
    if (position != m_nWindowEnd)
        m_nWindowLen = 0;
    if (size >= kWindowBytes) {
        std::memcpy(m_window.data(), data + size - kWindowBytes, kWindowBytes);
        m_nWindowLen = kWindowBytes;
    } else {
        const int keep = std::min(m_nWindowLen, kWindowBytes - size);
        std::memmove(m_window.data(), m_window.data() + m_nWindowLen - keep, static_cast<size_t>(keep));
        std::memcpy(m_window.data() + keep, data, static_cast<size_t>(size));
        m_nWindowLen = keep + size;
    }
    m_nWindowEnd = position + size;
}

int CWatchedFile::Read(std::uint8_t* buffer, int size)
{
    // A writer that keeps changing the file is waited for a few times, then the file is reopened.
    constexpr int kAttempts = 4;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        if (m_nFd < 0 || m_bGone || m_bNeedsReopen)
            return 0;
        if (!m_bReplaced && StatChanged()) {
            HandleChange();
            continue;
        }
        const std::int64_t left = m_nEnd - m_nPos;
        if (left <= 0 || size <= 0)
            return 0;
        const long wanted = static_cast<long>(std::min<std::int64_t>(size, left));
        const long got = ReadAt(m_nFd, buffer, wanted, m_nPos + m_nDelta);
        if (got < 0)
            return static_cast<int>(got);
        // The writer got in while we read: these bytes may be half old, half new.
        if (!m_bReplaced && StatChanged())
            continue;
        if (got < wanted && m_bWriterOpen) {
            // The writer has not closed the file yet: its last bytes may still be on their way.
            WaitForWriterClose();
            if (got == 0)
                continue;
        }
        if (got == 0)
            return 0;
        KeepWindow(buffer, static_cast<int>(got), m_nPos);
        m_nPos += got;
        return static_cast<int>(got);
    }
    m_bNeedsReopen = true;
    return 0;
}

std::int64_t CWatchedFile::Seek(std::int64_t offset, int whence)
{
    std::int64_t position = -1;
    if (whence == SEEK_SET)
        position = offset;
    else if (whence == SEEK_CUR)
        position = m_nPos + offset;
    else if (whence == SEEK_END)
        position = m_nEnd + offset;
    if (position < 0)
        return -1;
    m_nPos = position;
    return position;
}

bool CWatchedFile::PollGone()
{
    if (m_bGone)
        return true;
    if (m_nFd < 0 || m_bReplaced)
        return false;
    if (m_nNotify >= 0) {
        DrainEvents();
        if (!m_bLinkEvent)
            return false;
        m_bLinkEvent = false;
    }
    struct stat now {};
    if (::fstat(m_nFd, &now) != 0 || now.st_nlink > 0)
        return false;
    struct stat named {};
    if (::stat(m_strPath.c_str(), &named) == 0 && (named.st_ino != now.st_ino || named.st_dev != now.st_dev)) {
        m_bReplaced = true;
        m_known = now;
        StopWatching();
        return false;
    }
    m_bGone = true;
    StopWatching();
    return true;
}
