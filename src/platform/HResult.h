#pragma once
// Result codes of the engine and the platform layer: 32-bit signed words, negative = failure,
// with the classic values so that codes printed by "PlayCtrl Error #%d" read the same everywhere.

#include <cstdint>

#include "tunivox_export.h"

using HRESULT = std::int32_t;

constexpr HRESULT MakeHResult(std::uint32_t value) { return static_cast<HRESULT>(value); }

inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT S_FALSE = 1;
inline constexpr HRESULT E_FAIL = MakeHResult(0x80004005u);
inline constexpr HRESULT E_UNEXPECTED = MakeHResult(0x8000FFFFu);
inline constexpr HRESULT E_INVALIDARG = MakeHResult(0x80070057u);
inline constexpr HRESULT E_OUTOFMEMORY = MakeHResult(0x8007000Eu);
inline constexpr HRESULT E_NOTIMPL = MakeHResult(0x80004001u);
// The media reader's "attribute not found" and "no more samples" codes.
inline constexpr HRESULT ASF_E_NOTFOUND = MakeHResult(0xC00D07F0u);
inline constexpr HRESULT NS_E_NO_MORE_SAMPLES = MakeHResult(0xC00D0BCFu);

constexpr bool SUCCEEDED(HRESULT hr) { return hr >= 0; }
constexpr bool FAILED(HRESULT hr) { return hr < 0; }

// An OS error number e as a result: e itself when it is not positive, else 0x80070000 | (e & 0xFFFF).
constexpr HRESULT HResultFromError(int e)
{
    return e <= 0 ? static_cast<HRESULT>(e) : MakeHResult(0x80070000u | (static_cast<std::uint32_t>(e) & 0xFFFFu));
}

// HResultFromError(errno), for the places where the original read the thread's last error.
TUNIVOX_EXPORT HRESULT HResultFromLastError();

// A short English description of a code, for diagnostics only (never shown in place of m_szError).
TUNIVOX_EXPORT const char* HResultDescription(HRESULT hr);
