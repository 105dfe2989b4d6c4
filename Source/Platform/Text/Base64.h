// Base64 as the system writes it: lines of 64 characters, each ended by CR LF (the last
// too), no header. Reading skips white space and refuses anything else.
#pragma once

#include "qm/Platform/Com/HResult.h"

#include <vector>

#define ERROR_MORE_DATA 234L

constexpr DWORD CRYPT_STRING_BASE64 = 0x00000001;

// Two calls as the originals: a null buffer asks for the size (the text's size counts
// its terminating NUL), a buffer too small fails with ERROR_MORE_DATA. Flags other than
// CRYPT_STRING_BASE64 fail with ERROR_INVALID_PARAMETER; text that is no base64 with
// ERROR_INVALID_DATA. Failures give FALSE and set the last error.
BOOL CryptBinaryToStringW(const BYTE* data, DWORD size, DWORD flags, LPWSTR text, DWORD* textSize);
BOOL CryptStringToBinaryW(LPCWSTR text, DWORD textSize, DWORD flags, BYTE* data, DWORD* dataSize, DWORD* skipped,
                          DWORD* usedFlags);

namespace qm
{
wstring Base64Encode(const void* data, std::size_t size);
// E_INVALIDARG (last error ERROR_INVALID_DATA) for text that is no base64.
HRESULT Base64Decode(wstring_view text, std::vector<BYTE>& data);
} // namespace qm
