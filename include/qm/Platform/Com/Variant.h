// VARIANT with the types this system uses, its conversions, and the CComVariant holder.
// Conversions are the same on every machine: no locale takes part.
#pragma once

#include "qm/Platform/Com/Bstr.h"
#include "qm/Platform/Com/Dispatch.h"

using VARTYPE = std::uint16_t;
using DATE = double;
using SCODE = std::int32_t;

enum VARENUM : VARTYPE
{
    VT_EMPTY = 0,
    VT_NULL = 1,
    VT_I2 = 2,
    VT_I4 = 3,
    VT_R4 = 4,
    VT_R8 = 5,
    VT_DATE = 7,
    VT_BSTR = 8,
    VT_DISPATCH = 9,
    VT_ERROR = 10,
    VT_BOOL = 11,
    VT_VARIANT = 12,
    VT_UNKNOWN = 13,
    VT_I1 = 16,
    VT_UI1 = 17,
    VT_UI2 = 18,
    VT_UI4 = 19,
    VT_I8 = 20,
    VT_UI8 = 21,
    VT_INT = 22,
    VT_UINT = 23,
    VT_LPWSTR = 31,
    VT_FILETIME = 64,
};

// Flags of VariantChangeType.
constexpr USHORT VARIANT_NOVALUEPROP = 0x1;
constexpr USHORT VARIANT_ALPHABOOL = 0x2;

struct VARIANT
{
    VARTYPE vt;
    WORD wReserved1;
    WORD wReserved2;
    WORD wReserved3;
    union
    {
        LONGLONG llVal;
        LONG lVal;
        BYTE bVal;
        SHORT iVal;
        float fltVal;
        double dblVal;
        VARIANT_BOOL boolVal;
        SCODE scode;
        DATE date;
        BSTR bstrVal;
        IUnknown* punkVal;
        IDispatch* pdispVal;
        char cVal;
        USHORT uiVal;
        ULONG ulVal;
        ULONGLONG ullVal;
        INT intVal;
        UINT uintVal;
    };
};
using VARIANTARG = VARIANT;

QM_API void VariantInit(VARIANT* value);
// Frees what the variant owns (a BSTR, an interface reference) and makes it empty.
QM_API HRESULT VariantClear(VARIANT* value);
QM_API HRESULT VariantCopy(VARIANT* destination, const VARIANT* source);
// Converts to vt: integers and floats from text are strict (surrounding blanks and a sign
// allowed; anything else DISP_E_TYPEMISMATCH, out of range DISP_E_OVERFLOW); booleans
// read "true"/"false" in any case or a number; booleans become "True"/"False"; floats
// become their shortest round-trip text; VT_EMPTY reads as 0, "" or false; VT_NULL
// converts to nothing else. The flags change nothing: booleans always become words.
// destination may be source; on failure it is left as it was.
QM_API HRESULT VariantChangeType(VARIANT* destination, const VARIANT* source, USHORT flags, VARTYPE vt);
// The same conversions: the locale is not consulted.
QM_API HRESULT VariantChangeTypeEx(VARIANT* destination, const VARIANT* source, LCID lcid, USHORT flags, VARTYPE vt);

// Owns one VARIANT. Copies and strings that cannot be allocated throw
// qm::HResultException(E_OUTOFMEMORY).
class QM_API CComVariant : public VARIANT
{
public:
    CComVariant() noexcept { VariantInit(this); }
    CComVariant(const VARIANT& other);
    CComVariant(const CComVariant& other) : CComVariant(static_cast<const VARIANT&>(other)) {}
    CComVariant(CComVariant&& other) noexcept;
    CComVariant(wstring_view text);
    CComVariant(const OLECHAR* text);
    CComVariant(bool value) noexcept;
    CComVariant(LONG value) noexcept;
    CComVariant(ULONG value) noexcept;
    CComVariant(LONGLONG value) noexcept;
    CComVariant(ULONGLONG value) noexcept;
    CComVariant(float value) noexcept;
    CComVariant(double value) noexcept;
    CComVariant(IUnknown* value) noexcept;
    CComVariant(IDispatch* value) noexcept;
    ~CComVariant() { VariantClear(this); }

    CComVariant& operator=(const CComVariant& other);
    CComVariant& operator=(CComVariant&& other) noexcept;

    HRESULT Clear() noexcept { return VariantClear(this); }
    HRESULT Copy(const VARIANT* source) { return VariantCopy(this, source); }
    HRESULT CopyTo(VARIANT* destination) const { return VariantCopy(destination, this); }
    // Hands the content over to destination, which is cleared first; this becomes empty.
    HRESULT Detach(VARIANT* destination) noexcept;
    HRESULT ChangeType(VARTYPE type, const VARIANT* source = nullptr)
    {
        return VariantChangeType(this, source ? source : this, 0, type);
    }

private:
    template <class T>
    CComVariant(VARTYPE type, T VARIANT::*field, T value) noexcept
    {
        VariantInit(this);
        vt = type;
        this->*field = value;
    }
};
