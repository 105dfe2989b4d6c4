// The basic scalar and string types that the interfaces of this library are written in.
// Widths follow the platform the interfaces were designed on: LONG and DWORD are 32 bits.
#pragma once

#include "qm/Export.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

using WCHAR = char16_t;
using LPWSTR = char16_t*;
using LPCWSTR = const char16_t*;
using OLECHAR = char16_t;
using LPOLESTR = char16_t*;
using LPCOLESTR = const char16_t*;

// The system's strings are 16-bit.
using wstring = std::u16string;
using wstring_view = std::u16string_view;

using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using UINT = std::uint32_t;
using ULONG = std::uint32_t;
using LONG = std::int32_t;
using INT = std::int32_t;
using SHORT = std::int16_t;
using USHORT = std::uint16_t;
using LONGLONG = std::int64_t;
using ULONGLONG = std::uint64_t;
using LCID = std::uint32_t;
using BOOL = int;
using HRESULT = std::int32_t;
using VARIANT_BOOL = std::int16_t;

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif

// Spelled so that a stringized condition reads "((VARIANT_BOOL)-1)".
#define VARIANT_TRUE ((VARIANT_BOOL)-1)
#define VARIANT_FALSE ((VARIANT_BOOL)0)

// Reference times are 100 ns units; this value means "not set".
using REFERENCE_TIME = std::int64_t;
