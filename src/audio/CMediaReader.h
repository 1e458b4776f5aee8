#pragma once
// A synchronous media reader on FFmpeg with the operations of the classic sync reader: open a file,
// list its outputs (one per stream), read and set an output's media type, read the "Duration"
// header attribute, set a range (seek) and pull timed PCM samples.
//
// The file is read through CWatchedFile: when a tag writer rewrites it in place while it plays, the
// reader goes on from the next sample with the file's new layout (re-opening and decoding up to that
// sample when the audio bytes themselves changed); a deleted file ends the song at once.
//
// Threading: one thread at a time. The engine opens and configures on the control's thread and
// reads samples on its decoding thread, never both at once (it stops the thread first).
// Allocation: Open and SetOutputProps allocate; GetNextSample reuses its buffers (FFmpeg's own
// packet buffers aside) and follows an in-place rewrite without allocating; it allocates only when
// the audio itself changed and it re-opens the file. SetRange may allocate while it re-positions.
// Waiting for a tag writer to finish takes at most CWatchedFile::kSettleLimitMs.

#include <memory>
#include <string>

#include "audio/WaveTypes.h"
#include "platform/HResult.h"
#include "tunivox_export.h"

// The major type of an output, as a four-character code: "auds" for audio.
inline constexpr DWORD MEDIATYPE_Audio = 0x73647561u;
inline constexpr DWORD MEDIATYPE_Video = 0x73646976u;
inline constexpr DWORD MEDIATYPE_Other = 0x7468746Fu;

// Reader results besides the common ones: the file's content is not a readable media file, and the
// reader has no file open.
inline constexpr HRESULT NS_E_INVALID_DATA = MakeHResult(0xC00D002Fu);
inline constexpr HRESULT NS_E_NOT_OPENED = MakeHResult(0xC00D001Bu);

// A media type as GetMediaType returns it: this record followed, in the same buffer, by the format
// block that pbFormat points to (a WAVEFORMATEX for audio outputs).
struct WM_MEDIA_TYPE
{
    DWORD majortype;
    DWORD cbFormat;
    BYTE* pbFormat;
};

// One decoded sample: PCM in the output format, valid until the next GetNextSample or Close.
class TUNIVOX_EXPORT CMediaSample
{
public:
    HRESULT GetBufferAndLength(BYTE** buffer, DWORD* length) const;
    void Release();

private:
    friend class CMediaReader;
    BYTE* m_pData = nullptr;
    DWORD m_dwLength = 0;
    bool m_bInUse = false;
};

class TUNIVOX_EXPORT CMediaReader
{
public:
    CMediaReader();
    ~CMediaReader();
    CMediaReader(const CMediaReader&) = delete;
    CMediaReader& operator=(const CMediaReader&) = delete;

    HRESULT Open(const WCHAR* fileName);
    HRESULT Close();
    HRESULT GetOutputCount(DWORD* count) const;
    // Two calls as usual: with a null type to learn *size, then with a buffer of that size.
    HRESULT GetMediaType(DWORD output, WM_MEDIA_TYPE* type, DWORD* size) const;
    // Asks for PCM in `type`'s format on that output (16-bit, 1 or 2 channels, any rate).
    HRESULT SetMediaType(DWORD output, const WM_MEDIA_TYPE* type);
    // The "Duration" attribute (100 ns, a QWORD) in the same two-call way; ASF_E_NOTFOUND when the
    // file does not tell its duration.
    HRESULT GetAttributeByName(const char16_t* name, BYTE* value, WORD* length) const;
    // Positions the reader so that the next sample starts at `start` (100 ns). Duration 0 = to the end.
    HRESULT SetRange(QWORD start, QWORD duration);
    // Next block of PCM of output `stream` and its time (100 ns). NS_E_NO_MORE_SAMPLES at the end.
    HRESULT GetNextSample(WORD stream, CMediaSample** sample, QWORD* sampleTime);

    // Asked while the reader decodes its way back to its place after the file's audio changed
    // (which can take a while in a long song): true ends that search and the song.
    using CancelCheck = bool (*)(void* context);
    void SetCancelCheck(CancelCheck check, void* context);

    // On: the padding an MP4 encoder added after the last sample (beyond the track's edit-list
    // duration) is not delivered. Applies from the next Open (or SetMediaType) on. Any thread may
    // call it, also while another one reads samples.
    void SetTrimEndPadding(bool bTrim);

    // How many times the open file was rewritten in place and the reader followed its audio bytes
    // (safe to ask from any thread).
    int FileChangesFollowed() const;

    // FFmpeg's description of the last failure, for diagnostics.
    std::string LastErrorText() const;

private:
    struct Impl;
    std::unique_ptr<Impl> m_pImpl;
};
