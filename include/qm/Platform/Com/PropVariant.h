// PROPERTYKEY and PROPVARIANT: the values of property stores.
#pragma once

#include "qm/Platform/Com/Variant.h"
#include "qm/Platform/Kernel/FileTime.h"

struct PROPERTYKEY
{
    GUID fmtid;
    DWORD pid;

    friend constexpr bool operator==(const PROPERTYKEY& a, const PROPERTYKEY& b)
    {
        return a.fmtid == b.fmtid && a.pid == b.pid;
    }
};
using REFPROPERTYKEY = const PROPERTYKEY&;

struct PROPVARIANT
{
    VARTYPE vt;
    WORD wReserved1;
    WORD wReserved2;
    WORD wReserved3;
    union
    {
        char cVal;
        BYTE bVal;
        SHORT iVal;
        USHORT uiVal;
        LONG lVal;
        ULONG ulVal;
        INT intVal;
        UINT uintVal;
        LONGLONG hVal;
        ULONGLONG uhVal;
        float fltVal;
        double dblVal;
        VARIANT_BOOL boolVal;
        SCODE scode;
        DATE date;
        FILETIME filetime;
        BSTR bstrVal;
        IUnknown* punkVal;
        LPWSTR pwszVal; // VT_LPWSTR, from the task allocator
    };
};
using REFPROPVARIANT = const PROPVARIANT&;

QM_API void PropVariantInit(PROPVARIANT* value);
QM_API HRESULT PropVariantClear(PROPVARIANT* value);
QM_API HRESULT PropVariantCopy(PROPVARIANT* destination, const PROPVARIANT* source);
// The value as text from the task allocator: strings as they are, numbers in decimal,
// booleans as "True"/"False". Empty gives "". Other types give DISP_E_TYPEMISMATCH.
QM_API HRESULT PropVariantToStringAlloc(REFPROPVARIANT value, LPWSTR* text);
QM_API HRESULT InitPropVariantFromString(LPCWSTR text, PROPVARIANT* value);
