#pragma once
// The framework's scalar type names, shared by every subsystem so that members and overrides keep
// their classic spelling (BOOL flags, DWORD words, QWORD 100-ns times).

#include <cstddef>
#include <cstdint>

using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using QWORD = std::uint64_t;
using LONG = std::int32_t;
using UINT = std::uint32_t;
using BOOL = int;
using DWORD_PTR = std::uintptr_t;
using WCHAR = char16_t;

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif
