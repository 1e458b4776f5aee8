#pragma once
// Plain data types of the wave output and the engine, with the classic layouts and values, so that
// block headers (48 bytes), format blocks and result codes read the same as on the original platform.

#include "platform/WinTypes.h"

using MMRESULT = UINT;

#pragma pack(push, 1)
struct WAVEFORMATEX
{
    WORD wFormatTag;
    WORD nChannels;
    DWORD nSamplesPerSec;
    DWORD nAvgBytesPerSec;
    WORD nBlockAlign;
    WORD wBitsPerSample;
    WORD cbSize;
};
#pragma pack(pop)
static_assert(sizeof(WAVEFORMATEX) == 18);

struct WAVEHDR
{
    char* lpData;
    DWORD dwBufferLength;
    DWORD dwBytesRecorded;
    DWORD_PTR dwUser;
    DWORD dwFlags;
    DWORD dwLoops;   // no looping here
    WAVEHDR* lpNext; // owned by the device while the block is queued
    DWORD_PTR reserved;
};
static_assert(sizeof(WAVEHDR) == 48);

inline constexpr WORD WAVE_FORMAT_PCM = 1;

inline constexpr DWORD WHDR_DONE = 0x01;
inline constexpr DWORD WHDR_PREPARED = 0x02;
inline constexpr DWORD WHDR_INQUEUE = 0x10;

inline constexpr UINT WOM_OPEN = 0x3BB;
inline constexpr UINT WOM_CLOSE = 0x3BC;
inline constexpr UINT WOM_DONE = 0x3BD;

inline constexpr UINT WAVE_MAPPER = 0xFFFFFFFFu;
inline constexpr DWORD CALLBACK_FUNCTION = 0x30000;

inline constexpr MMRESULT MMSYSERR_NOERROR = 0;
inline constexpr MMRESULT MMSYSERR_ERROR = 1;
inline constexpr MMRESULT MMSYSERR_BADDEVICEID = 2;
inline constexpr MMRESULT MMSYSERR_ALLOCATED = 4;
inline constexpr MMRESULT MMSYSERR_INVALHANDLE = 5;
inline constexpr MMRESULT MMSYSERR_NODRIVER = 6;
inline constexpr MMRESULT MMSYSERR_NOMEM = 7;
inline constexpr MMRESULT MMSYSERR_NOTSUPPORTED = 8;
inline constexpr MMRESULT MMSYSERR_INVALFLAG = 10;
inline constexpr MMRESULT MMSYSERR_INVALPARAM = 11;
inline constexpr MMRESULT WAVERR_BADFORMAT = 32;
inline constexpr MMRESULT WAVERR_STILLPLAYING = 33;
inline constexpr MMRESULT WAVERR_UNPREPARED = 34;
