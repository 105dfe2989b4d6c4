// IEnumString: an enumerator of strings, each handed out as a copy from the task allocator
// that the caller frees with CoTaskMemFree.
#pragma once

#include "qm/Platform/Com/Unknown.h"

#include <vector>

struct IEnumString : IUnknown
{
    // Up to count strings into strings[0..]; S_OK when all were given, S_FALSE when fewer
    // remained. fetched may be null only when count is 1.
    virtual HRESULT Next(ULONG count, LPOLESTR* strings, ULONG* fetched) = 0;
    // S_FALSE when fewer than count remained; the position is then at the end.
    virtual HRESULT Skip(ULONG count) = 0;
    virtual HRESULT Reset() = 0;
    // A second enumerator over the same strings, at the same position.
    virtual HRESULT Clone(IEnumString** clone) = 0;
};
QM_DECLARE_IID(IEnumString, "{00000101-0000-0000-C000-000000000046}")

namespace qm
{
// An enumerator over its own copy of the strings, in the order given.
QM_API HRESULT CreateEnumString(std::vector<wstring> strings, IEnumString** enumerator);
} // namespace qm
