#include "qm/Platform/Com/PropVariant.h"

#include "Platform/Com/VariantValues.h"
#include "Platform/Text/NumberText.h"
#include "qm/Platform/Com/CoTaskMem.h"

#include <cstring>
#include <new>

void PropVariantInit(PROPVARIANT* value)
{
    if (value)
        std::memset(value, 0, sizeof(PROPVARIANT));
}

HRESULT PropVariantClear(PROPVARIANT* value)
{
    if (value == nullptr)
        return S_OK;
    qm::detail::ReleaseOwned(*value);
    PropVariantInit(value);
    return S_OK;
}

HRESULT PropVariantCopy(PROPVARIANT* destination, const PROPVARIANT* source)
{
    return qm::detail::CopyValue(destination, source, PropVariantClear);
}

namespace
{
HRESULT ToText(const PROPVARIANT& value, wstring& text)
{
    switch (value.vt)
    {
    case VT_EMPTY: text.clear(); return S_OK;
    case VT_LPWSTR: text = value.pwszVal ? wstring(value.pwszVal) : wstring(); return S_OK;
    case VT_BSTR: text = wstring(qm::BstrView(value.bstrVal)); return S_OK;
    case VT_I1: text = qm::FormatInt64(value.cVal); return S_OK;
    case VT_I2: text = qm::FormatInt64(value.iVal); return S_OK;
    case VT_I4: text = qm::FormatInt64(value.lVal); return S_OK;
    case VT_INT: text = qm::FormatInt64(value.intVal); return S_OK;
    case VT_I8: text = qm::FormatInt64(value.hVal); return S_OK;
    case VT_UI1: text = qm::FormatUInt64(value.bVal); return S_OK;
    case VT_UI2: text = qm::FormatUInt64(value.uiVal); return S_OK;
    case VT_UI4: text = qm::FormatUInt64(value.ulVal); return S_OK;
    case VT_UINT: text = qm::FormatUInt64(value.uintVal); return S_OK;
    case VT_UI8: text = qm::FormatUInt64(value.uhVal); return S_OK;
    case VT_R4: text = qm::FormatFloat(value.fltVal); return S_OK;
    case VT_R8: text = qm::FormatDouble(value.dblVal); return S_OK;
    case VT_BOOL: text = qm::FormatBool(value.boolVal != VARIANT_FALSE); return S_OK;
    default: return DISP_E_TYPEMISMATCH;
    }
}
} // namespace

HRESULT PropVariantToStringAlloc(REFPROPVARIANT value, LPWSTR* text)
{
    if (text == nullptr)
        return E_POINTER;
    *text = nullptr;
    wstring result;
    try
    {
        HRESULT hr = ToText(value, result);
        if (FAILED(hr))
            return hr;
    }
    catch (const std::bad_alloc&)
    {
        return E_OUTOFMEMORY;
    }
    *text = qm::CoTaskMemStrDup(result);
    return *text ? S_OK : E_OUTOFMEMORY;
}

HRESULT InitPropVariantFromString(LPCWSTR text, PROPVARIANT* value)
{
    if (value == nullptr)
        return E_POINTER;
    PropVariantInit(value);
    if (text == nullptr)
        return E_INVALIDARG;
    value->pwszVal = qm::CoTaskMemStrDup(text);
    if (value->pwszVal == nullptr)
        return E_OUTOFMEMORY;
    value->vt = VT_LPWSTR;
    return S_OK;
}
