// The conversions of variants that reading XML attributes and properties relies on.
#include "qm/Platform/Com/Variant.h"

#include "Platform/Com/CountedUnknown.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace
{
HRESULT ToBool(const char16_t* text, bool& value)
{
    CComVariant source(text), target;
    HRESULT hr = VariantChangeType(&target, &source, VARIANT_ALPHABOOL, VT_BOOL);
    if (SUCCEEDED(hr))
        value = target.boolVal == VARIANT_TRUE;
    return hr;
}

template <class T>
HRESULT To(const char16_t* text, VARTYPE vt, T VARIANT::*field, T& value)
{
    CComVariant source(text), target;
    HRESULT hr = VariantChangeType(&target, &source, 0, vt);
    if (SUCCEEDED(hr))
        value = target.*field;
    return hr;
}

HRESULT Change(const VARIANT& source, VARTYPE vt, CComVariant& target)
{
    return VariantChangeType(&target, &source, 0, vt);
}

std::u16string Text(const VARIANT& value)
{
    CComVariant text;
    EXPECT_EQ(S_OK, VariantChangeType(&text, &value, 0, VT_BSTR));
    return std::u16string(qm::BstrView(text.bstrVal));
}
} // namespace

TEST(Variant, TextToBool)
{
    bool value = false;
    for (const char16_t* yes : {u"True", u"true", u"TRUE", u" true ", u"-1", u"1", u"2.5"})
    {
        ASSERT_EQ(S_OK, ToBool(yes, value));
        EXPECT_TRUE(value);
    }
    for (const char16_t* no : {u"False", u"false", u"0", u" 0 "})
    {
        ASSERT_EQ(S_OK, ToBool(no, value));
        EXPECT_FALSE(value);
    }
    for (const char16_t* bad : {u"", u"yes", u"truex", u"t"})
        EXPECT_EQ(DISP_E_TYPEMISMATCH, ToBool(bad, value));
}

TEST(Variant, TextToIntegersIsStrict)
{
    LONG i4 = 7;
    EXPECT_EQ(S_OK, To(u" -12 ", VT_I4, &VARIANT::lVal, i4));
    EXPECT_EQ(-12, i4);
    EXPECT_EQ(S_OK, To(u"+5", VT_I4, &VARIANT::lVal, i4));
    EXPECT_EQ(5, i4);
    for (const char16_t* bad : {u"12x", u"1.5", u"", u" ", u"--1", u"1 2", u"0x10"})
        EXPECT_EQ(DISP_E_TYPEMISMATCH, To(bad, VT_I4, &VARIANT::lVal, i4));
    EXPECT_EQ(DISP_E_OVERFLOW, To(u"2147483648", VT_I4, &VARIANT::lVal, i4));
    EXPECT_EQ(S_OK, To(u"-2147483648", VT_I4, &VARIANT::lVal, i4));
    EXPECT_EQ(INT32_MIN, i4);

    LONGLONG i8 = 0;
    EXPECT_EQ(S_OK, To(u"-9223372036854775808", VT_I8, &VARIANT::llVal, i8));
    EXPECT_EQ(INT64_MIN, i8);
    EXPECT_EQ(S_OK, To(u"9223372036854775807", VT_I8, &VARIANT::llVal, i8));
    EXPECT_EQ(INT64_MAX, i8);
    EXPECT_EQ(DISP_E_OVERFLOW, To(u"9223372036854775808", VT_I8, &VARIANT::llVal, i8));
    EXPECT_EQ(DISP_E_OVERFLOW, To(u"99999999999999999999999", VT_I8, &VARIANT::llVal, i8));

    ULONGLONG u8 = 0;
    EXPECT_EQ(S_OK, To(u"18446744073709551615", VT_UI8, &VARIANT::ullVal, u8));
    EXPECT_EQ(UINT64_MAX, u8);
    ULONG u4 = 0;
    EXPECT_EQ(DISP_E_OVERFLOW, To(u"-1", VT_UI4, &VARIANT::ulVal, u4));
    EXPECT_EQ(DISP_E_OVERFLOW, To(u"4294967296", VT_UI4, &VARIANT::ulVal, u4));
}

TEST(Variant, NumbersAndBooleansToText)
{
    EXPECT_EQ(u"-9223372036854775808", Text(CComVariant(static_cast<LONGLONG>(INT64_MIN))));
    EXPECT_EQ(u"18446744073709551615", Text(CComVariant(static_cast<ULONGLONG>(UINT64_MAX))));
    EXPECT_EQ(u"True", Text(CComVariant(true)));
    EXPECT_EQ(u"False", Text(CComVariant(false)));
    EXPECT_EQ(u"", Text(CComVariant()));
    // Floats: the shortest text that reads back to the same float, without exponent.
    for (float value : {0.1f, 1e-7f, 3.4e38f, -0.0f, 1.0f, 123.456f, std::numeric_limits<float>::denorm_min()})
    {
        std::u16string text = Text(CComVariant(value));
        EXPECT_EQ(std::u16string::npos, text.find_first_of(u"eE"));
        float back = 0;
        ASSERT_EQ(S_OK, To(text.c_str(), VT_R4, &VARIANT::fltVal, back));
        EXPECT_EQ(value, back);
        EXPECT_EQ(std::signbit(value), std::signbit(back));
    }
    EXPECT_EQ(u"0.1", Text(CComVariant(0.1f)));
    EXPECT_EQ(u"1", Text(CComVariant(1.0f)));
    float f = 0;
    EXPECT_EQ(DISP_E_OVERFLOW, To(u"1e39", VT_R4, &VARIANT::fltVal, f));
    EXPECT_EQ(DISP_E_TYPEMISMATCH, To(u"1,5", VT_R4, &VARIANT::fltVal, f));
}

TEST(Variant, NumericConversionsAndTheirLimits)
{
    CComVariant target;
    CComVariant big(static_cast<LONGLONG>(1) << 40);
    EXPECT_EQ(DISP_E_OVERFLOW, VariantChangeType(&target, &big, 0, VT_I4));
    CComVariant half(2.5);
    ASSERT_EQ(S_OK, VariantChangeType(&target, &half, 0, VT_I4));
    EXPECT_EQ(2, target.lVal); // half to even
    CComVariant huge(1e300);
    EXPECT_EQ(DISP_E_OVERFLOW, VariantChangeType(&target, &huge, 0, VT_I8));
    CComVariant null;
    null.vt = VT_NULL;
    EXPECT_EQ(DISP_E_TYPEMISMATCH, VariantChangeType(&target, &null, 0, VT_I4));
    EXPECT_EQ(DISP_E_TYPEMISMATCH, Change(CComVariant(LONG(1)), VT_NULL, target));
    CComVariant empty;
    ASSERT_EQ(S_OK, VariantChangeType(&target, &empty, 0, VT_I8));
    EXPECT_EQ(0, target.llVal);
    ASSERT_EQ(S_OK, VariantChangeType(&target, &empty, 0, VT_BOOL));
    EXPECT_EQ(VARIANT_FALSE, target.boolVal);

    // Booleans are -1 and 0 as numbers, and numbers other than 0 are true.
    ASSERT_EQ(S_OK, Change(CComVariant(true), VT_I4, target));
    EXPECT_EQ(-1, target.lVal);
    ASSERT_EQ(S_OK, Change(CComVariant(0.25f), VT_BOOL, target));
    EXPECT_EQ(VARIANT_TRUE, target.boolVal);
    ASSERT_EQ(S_OK, Change(CComVariant(ULONGLONG(0)), VT_BOOL, target));
    EXPECT_EQ(VARIANT_FALSE, target.boolVal);
    // Between integer types the range is checked, not truncated.
    EXPECT_EQ(DISP_E_OVERFLOW, Change(CComVariant(LONG(-1)), VT_UI8, target));
    EXPECT_EQ(DISP_E_OVERFLOW, Change(CComVariant(ULONGLONG(UINT64_MAX)), VT_I8, target));
    ASSERT_EQ(S_OK, Change(CComVariant(ULONG(UINT32_MAX)), VT_I8, target));
    EXPECT_EQ(4294967295, target.llVal);
    EXPECT_EQ(DISP_E_OVERFLOW, Change(CComVariant(1e39), VT_R4, target));
    EXPECT_EQ(DISP_E_OVERFLOW, Change(CComVariant(9223372036854775808.0), VT_I8, target));

    // In place: the source is replaced by its conversion.
    CComVariant inPlace(u"42");
    ASSERT_EQ(S_OK, VariantChangeType(&inPlace, &inPlace, 0, VT_I4));
    EXPECT_EQ(VT_I4, inPlace.vt);
    EXPECT_EQ(42, inPlace.lVal);
    // A failed conversion leaves the destination as it was.
    CComVariant kept(u"x");
    EXPECT_EQ(DISP_E_TYPEMISMATCH, VariantChangeType(&kept, &kept, 0, VT_I4));
    EXPECT_EQ(VT_BSTR, kept.vt);
}

TEST(Variant, CopiesOwnTheirStringsAndReferences)
{
    qmtest::CountedUnknown object;
    {
        CComVariant held(static_cast<IUnknown*>(&object));
        EXPECT_EQ(VT_UNKNOWN, held.vt);
        EXPECT_EQ(2u, object.count);
        CComVariant copy(held);
        EXPECT_EQ(3u, object.count);
        VARIANT raw;
        VariantInit(&raw);
        ASSERT_EQ(S_OK, copy.Detach(&raw));
        EXPECT_EQ(VT_EMPTY, copy.vt);
        EXPECT_EQ(3u, object.count);
        VariantClear(&raw);
        EXPECT_EQ(2u, object.count);
        // Assigning over a held reference releases it.
        copy = held;
        held = CComVariant(u"a");
        EXPECT_EQ(2u, object.count);
        CComVariant other;
        other = held;
        EXPECT_NE(held.bstrVal, other.bstrVal);
        EXPECT_EQ(u"a", qm::BstrView(other.bstrVal));
        CComVariant moved(std::move(other));
        EXPECT_EQ(VT_EMPTY, other.vt);
        EXPECT_EQ(u"a", qm::BstrView(moved.bstrVal));
    }
    EXPECT_EQ(1u, object.count);
}

TEST(Variant, InterfacesConvertByQuery)
{
    qmtest::CountedUnknown object;
    {
        CComVariant unknown(static_cast<IUnknown*>(&object));
        CComVariant dispatch;
        ASSERT_EQ(S_OK, VariantChangeType(&dispatch, &unknown, 0, VT_DISPATCH));
        EXPECT_EQ(VT_DISPATCH, dispatch.vt);
        EXPECT_EQ(static_cast<IDispatch*>(&object), dispatch.pdispVal);
        EXPECT_EQ(3u, object.count);
        // An object that does not answer the interface keeps the destination as it was.
        object.dispatch = false;
        EXPECT_EQ(E_NOINTERFACE, VariantChangeType(&dispatch, &unknown, 0, VT_DISPATCH));
        EXPECT_EQ(VT_DISPATCH, dispatch.vt);
        EXPECT_EQ(3u, object.count);
        CComVariant text;
        EXPECT_EQ(DISP_E_TYPEMISMATCH, VariantChangeType(&text, &unknown, 0, VT_BSTR));
        EXPECT_EQ(DISP_E_TYPEMISMATCH, Change(CComVariant(u"x"), VT_UNKNOWN, text));
        // A null reference converts to a null reference.
        CComVariant null(static_cast<IDispatch*>(nullptr));
        ASSERT_EQ(S_OK, VariantChangeType(&text, &null, 0, VT_UNKNOWN));
        EXPECT_EQ(VT_UNKNOWN, text.vt);
        EXPECT_EQ(nullptr, text.punkVal);
    }
    EXPECT_EQ(1u, object.count);
}
