// What a VARIANT or a PROPVARIANT owns, released and duplicated in one place for both:
// a BSTR, an interface reference, and for a PROPVARIANT a task-allocator string.
#pragma once

#include "qm/Platform/Com/CoTaskMem.h"
#include "qm/Platform/Com/PropVariant.h"

namespace qm::detail
{
template <class Value>
void ReleaseOwned(Value& value) noexcept
{
    switch (value.vt)
    {
    case VT_BSTR: SysFreeString(value.bstrVal); break;
    case VT_UNKNOWN:
    case VT_DISPATCH:
        if (value.punkVal)
            value.punkVal->Release();
        break;
    case VT_LPWSTR:
        if constexpr (requires { value.pwszVal; })
            CoTaskMemFree(value.pwszVal);
        break;
    default: break;
    }
}

// Gives copy (a bitwise copy of source) owned values of its own.
template <class Value>
HRESULT DuplicateOwned(Value& copy) noexcept
{
    switch (copy.vt)
    {
    case VT_BSTR:
        if (copy.bstrVal && (copy.bstrVal = SysAllocStringLen(copy.bstrVal, SysStringLen(copy.bstrVal))) == nullptr)
            return E_OUTOFMEMORY;
        return S_OK;
    case VT_UNKNOWN:
    case VT_DISPATCH:
        if (copy.punkVal)
            copy.punkVal->AddRef();
        return S_OK;
    case VT_LPWSTR:
        if constexpr (requires { copy.pwszVal; })
            if (copy.pwszVal && (copy.pwszVal = CoTaskMemStrDup(copy.pwszVal)) == nullptr)
                return E_OUTOFMEMORY;
        return S_OK;
    default: return S_OK;
    }
}

// destination takes a copy of source; what it held before goes only once the copy exists.
template <class Value, class Clear>
HRESULT CopyValue(Value* destination, const Value* source, Clear clear) noexcept
{
    if (destination == nullptr || source == nullptr)
        return E_INVALIDARG;
    if (destination == source)
        return S_OK;
    Value copy = *source;
    HRESULT hr = DuplicateOwned(copy);
    if (FAILED(hr))
        return hr;
    clear(destination);
    *destination = copy;
    return S_OK;
}
} // namespace qm::detail
