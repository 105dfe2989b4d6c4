#include "qm/Platform/Com/Variant.h"

#include "qm/Platform/Com/ComPtr.h"
#include "qm/Platform/Com/HResultException.h"
#include "Platform/Com/VariantValues.h"
#include "Platform/Text/NumberText.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <new>
#include <variant>

namespace
{
// A source value reduced to what conversions need.
struct Empty
{
};
struct Signed
{
    std::int64_t value;
};
struct Unsigned
{
    std::uint64_t value;
};
struct Floating
{
    double value;
    bool single;
};
struct Boolean
{
    bool value;
};
struct Text
{
    wstring_view value;
};
struct Interface
{
    IUnknown* value;
};
using Value = std::variant<Empty, Signed, Unsigned, Floating, Boolean, Text, Interface>;

HRESULT Read(const VARIANT& source, Value& value)
{
    switch (source.vt)
    {
    case VT_EMPTY: value = Empty{}; return S_OK;
    case VT_I1: value = Signed{source.cVal}; return S_OK;
    case VT_I2: value = Signed{source.iVal}; return S_OK;
    case VT_I4: value = Signed{source.lVal}; return S_OK;
    case VT_INT: value = Signed{source.intVal}; return S_OK;
    case VT_I8: value = Signed{source.llVal}; return S_OK;
    case VT_UI1: value = Unsigned{source.bVal}; return S_OK;
    case VT_UI2: value = Unsigned{source.uiVal}; return S_OK;
    case VT_UI4: value = Unsigned{source.ulVal}; return S_OK;
    case VT_UINT: value = Unsigned{source.uintVal}; return S_OK;
    case VT_UI8: value = Unsigned{source.ullVal}; return S_OK;
    case VT_R4: value = Floating{source.fltVal, true}; return S_OK;
    case VT_R8:
    case VT_DATE: value = Floating{source.dblVal, false}; return S_OK;
    case VT_BOOL: value = Boolean{source.boolVal != VARIANT_FALSE}; return S_OK;
    case VT_BSTR: value = Text{qm::BstrView(source.bstrVal)}; return S_OK;
    case VT_UNKNOWN:
    case VT_DISPATCH: value = Interface{source.punkVal}; return S_OK;
    case VT_NULL:
    case VT_ERROR: return DISP_E_TYPEMISMATCH;
    default: return DISP_E_BADVARTYPE;
    }
}

// Rounds half to even, as conversions of floating values to integers do.
HRESULT RoundToInteger(double value, double low, double high, double& result)
{
    if (std::isnan(value))
        return DISP_E_OVERFLOW;
    double rounded = std::nearbyint(value);
    if (rounded < low || rounded > high)
        return DISP_E_OVERFLOW;
    result = rounded;
    return S_OK;
}

template <class Int>
HRESULT ToInteger(const Value& value, Int& result)
{
    using Limits = std::numeric_limits<Int>;
    if (const auto* text = std::get_if<Text>(&value))
    {
        if constexpr (Limits::is_signed)
        {
            std::int64_t parsed = 0;
            HRESULT hr = qm::ParseInt64(text->value, parsed);
            if (FAILED(hr))
                return hr;
            return ToInteger(Value(Signed{parsed}), result);
        }
        else
        {
            std::uint64_t parsed = 0;
            HRESULT hr = qm::ParseUInt64(text->value, parsed);
            if (FAILED(hr))
                return hr;
            return ToInteger(Value(Unsigned{parsed}), result);
        }
    }
    if (std::holds_alternative<Empty>(value))
    {
        result = 0;
        return S_OK;
    }
    if (const auto* boolean = std::get_if<Boolean>(&value))
        return ToInteger(Value(Signed{boolean->value ? -1 : 0}), result);
    if (const auto* number = std::get_if<Signed>(&value))
    {
        if (number->value < static_cast<std::int64_t>(Limits::min()) ||
            (number->value > 0 && static_cast<std::uint64_t>(number->value) > static_cast<std::uint64_t>(Limits::max())))
            return DISP_E_OVERFLOW;
        result = static_cast<Int>(number->value);
        return S_OK;
    }
    if (const auto* number = std::get_if<Unsigned>(&value))
    {
        if (number->value > static_cast<std::uint64_t>(Limits::max()))
            return DISP_E_OVERFLOW;
        result = static_cast<Int>(number->value);
        return S_OK;
    }
    if (const auto* number = std::get_if<Floating>(&value))
    {
        double rounded = 0;
        // The bounds are exact powers of two, so the comparison is exact too.
        const double low = static_cast<double>(Limits::min());
        const double high = static_cast<double>(Limits::max());
        HRESULT hr = RoundToInteger(number->value, low, high, rounded);
        if (FAILED(hr))
            return hr;
        if (rounded >= high && sizeof(Int) == 8)
            return DISP_E_OVERFLOW;
        result = static_cast<Int>(rounded);
        return S_OK;
    }
    return DISP_E_TYPEMISMATCH;
}

HRESULT ToDouble(const Value& value, double& result)
{
    if (const auto* text = std::get_if<Text>(&value))
        return qm::ParseDouble(text->value, result);
    if (std::holds_alternative<Empty>(value))
        result = 0;
    else if (const auto* boolean = std::get_if<Boolean>(&value))
        result = boolean->value ? -1.0 : 0.0;
    else if (const auto* number = std::get_if<Signed>(&value))
        result = static_cast<double>(number->value);
    else if (const auto* number = std::get_if<Unsigned>(&value))
        result = static_cast<double>(number->value);
    else if (const auto* number = std::get_if<Floating>(&value))
        result = number->value;
    else
        return DISP_E_TYPEMISMATCH;
    return S_OK;
}

HRESULT ToFloat(const Value& value, float& result)
{
    if (const auto* text = std::get_if<Text>(&value))
        return qm::ParseFloat(text->value, result);
    double number = 0;
    HRESULT hr = ToDouble(value, number);
    if (FAILED(hr))
        return hr;
    if (std::isfinite(number) && std::fabs(number) > std::numeric_limits<float>::max())
        return DISP_E_OVERFLOW;
    result = static_cast<float>(number);
    return S_OK;
}

HRESULT ToBool(const Value& value, bool& result)
{
    if (const auto* text = std::get_if<Text>(&value))
        return qm::ParseBool(text->value, result);
    if (const auto* boolean = std::get_if<Boolean>(&value))
    {
        result = boolean->value;
        return S_OK;
    }
    double number = 0;
    HRESULT hr = ToDouble(value, number);
    if (FAILED(hr))
        return hr;
    result = number != 0;
    return S_OK;
}

HRESULT ToText(const Value& value, BSTR& result)
{
    wstring text;
    if (const auto* source = std::get_if<Text>(&value))
        text = wstring(source->value);
    else if (const auto* boolean = std::get_if<Boolean>(&value))
        text = qm::FormatBool(boolean->value);
    else if (const auto* number = std::get_if<Signed>(&value))
        text = qm::FormatInt64(number->value);
    else if (const auto* number = std::get_if<Unsigned>(&value))
        text = qm::FormatUInt64(number->value);
    else if (const auto* number = std::get_if<Floating>(&value))
        text = number->single ? qm::FormatFloat(static_cast<float>(number->value)) : qm::FormatDouble(number->value);
    else if (!std::holds_alternative<Empty>(value))
        return DISP_E_TYPEMISMATCH;
    result = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    return result ? S_OK : E_OUTOFMEMORY;
}

HRESULT ToInterface(const Value& value, REFIID iid, IUnknown*& result)
{
    const auto* source = std::get_if<Interface>(&value);
    if (source == nullptr)
        return DISP_E_TYPEMISMATCH;
    result = nullptr;
    if (source->value == nullptr)
        return S_OK;
    return source->value->QueryInterface(iid, reinterpret_cast<void**>(&result));
}

HRESULT Convert(const Value& value, VARTYPE vt, VARIANT& result)
{
    result.vt = vt;
    switch (vt)
    {
    case VT_EMPTY: return S_OK;
    case VT_NULL: return S_OK;
    case VT_I1: return ToInteger(value, result.cVal);
    case VT_I2: return ToInteger(value, result.iVal);
    case VT_I4: return ToInteger(value, result.lVal);
    case VT_INT: return ToInteger(value, result.intVal);
    case VT_I8: return ToInteger(value, result.llVal);
    case VT_UI1: return ToInteger(value, result.bVal);
    case VT_UI2: return ToInteger(value, result.uiVal);
    case VT_UI4: return ToInteger(value, result.ulVal);
    case VT_UINT: return ToInteger(value, result.uintVal);
    case VT_UI8: return ToInteger(value, result.ullVal);
    case VT_R4: return ToFloat(value, result.fltVal);
    case VT_R8:
    case VT_DATE: return ToDouble(value, result.dblVal);
    case VT_BOOL: {
        bool flag = false;
        HRESULT hr = ToBool(value, flag);
        result.boolVal = flag ? VARIANT_TRUE : VARIANT_FALSE;
        return hr;
    }
    case VT_BSTR: return ToText(value, result.bstrVal);
    case VT_UNKNOWN: return ToInterface(value, IID_IUnknown, result.punkVal);
    case VT_DISPATCH: return ToInterface(value, IID_IDispatch, result.punkVal);
    default: return DISP_E_BADVARTYPE;
    }
}
} // namespace

void VariantInit(VARIANT* value)
{
    if (value == nullptr)
        return;
    std::memset(value, 0, sizeof(VARIANT));
    value->vt = VT_EMPTY;
}

HRESULT VariantClear(VARIANT* value)
{
    if (value == nullptr)
        return E_INVALIDARG;
    qm::detail::ReleaseOwned(*value);
    VariantInit(value);
    return S_OK;
}

HRESULT VariantCopy(VARIANT* destination, const VARIANT* source)
{
    return qm::detail::CopyValue(destination, source, VariantClear);
}

HRESULT VariantChangeType(VARIANT* destination, const VARIANT* source, USHORT, VARTYPE vt)
{
    if (destination == nullptr || source == nullptr)
        return E_INVALIDARG;
    if (source->vt == vt)
        return VariantCopy(destination, source);
    if (vt == VT_NULL && source->vt != VT_NULL)
        return DISP_E_TYPEMISMATCH;
    Value value;
    HRESULT hr = Read(*source, value);
    if (FAILED(hr))
        return hr;
    VARIANT result;
    VariantInit(&result);
    try
    {
        hr = Convert(value, vt, result);
    }
    catch (const std::bad_alloc&)
    {
        hr = E_OUTOFMEMORY;
    }
    if (FAILED(hr))
        return hr;
    // Only now may the destination go: it can be the source itself.
    VariantClear(destination);
    *destination = result;
    return S_OK;
}

HRESULT VariantChangeTypeEx(VARIANT* destination, const VARIANT* source, LCID, USHORT flags, VARTYPE vt)
{
    return VariantChangeType(destination, source, flags, vt);
}

CComVariant::CComVariant(const VARIANT& other)
{
    VariantInit(this);
    if (HRESULT hr = VariantCopy(this, &other); FAILED(hr))
        qm::ThrowHResult(hr);
}

CComVariant::CComVariant(CComVariant&& other) noexcept : VARIANT(other) { VariantInit(&other); }

CComVariant::CComVariant(wstring_view text)
{
    VariantInit(this);
    vt = VT_BSTR;
    bstrVal = qm::AllocBstr(text);
}

CComVariant::CComVariant(const OLECHAR* text)
    : CComVariant(text ? wstring_view(text) : wstring_view())
{
}

CComVariant::CComVariant(bool value) noexcept
    : CComVariant(VT_BOOL, &VARIANT::boolVal, value ? VARIANT_TRUE : VARIANT_FALSE)
{
}

CComVariant::CComVariant(LONG value) noexcept : CComVariant(VT_I4, &VARIANT::lVal, value) {}

CComVariant::CComVariant(ULONG value) noexcept : CComVariant(VT_UI4, &VARIANT::ulVal, value) {}

CComVariant::CComVariant(LONGLONG value) noexcept : CComVariant(VT_I8, &VARIANT::llVal, value) {}

CComVariant::CComVariant(ULONGLONG value) noexcept : CComVariant(VT_UI8, &VARIANT::ullVal, value) {}

CComVariant::CComVariant(float value) noexcept : CComVariant(VT_R4, &VARIANT::fltVal, value) {}

CComVariant::CComVariant(double value) noexcept : CComVariant(VT_R8, &VARIANT::dblVal, value) {}

CComVariant::CComVariant(IUnknown* value) noexcept : CComVariant(VT_UNKNOWN, &VARIANT::punkVal, static_cast<IUnknown*>(value))
{
    if (value)
        value->AddRef();
}

CComVariant::CComVariant(IDispatch* value) noexcept : CComVariant(VT_DISPATCH, &VARIANT::punkVal, static_cast<IUnknown*>(value))
{
    if (value)
        value->AddRef();
}

CComVariant& CComVariant::operator=(const CComVariant& other)
{
    if (HRESULT hr = this != &other ? VariantCopy(this, &other) : S_OK; FAILED(hr))
        qm::ThrowHResult(hr);
    return *this;
}

CComVariant& CComVariant::operator=(CComVariant&& other) noexcept
{
    if (this != &other)
    {
        VariantClear(this);
        static_cast<VARIANT&>(*this) = other;
        VariantInit(&other);
    }
    return *this;
}

HRESULT CComVariant::Detach(VARIANT* destination) noexcept
{
    if (destination == nullptr)
        return E_POINTER;
    VariantClear(destination);
    *destination = *this;
    VariantInit(this);
    return S_OK;
}
