// The conversions of variants that reading XML attributes and properties relies on.
#include "qm/Platform/Com/Variant.h"

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
    CComVariant empty;
    ASSERT_EQ(S_OK, VariantChangeType(&target, &empty, 0, VT_I8));
    EXPECT_EQ(0, target.llVal);

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
    struct Counted : IUnknown
    {
        ULONG count = 1;
        HRESULT QueryInterface(REFIID riid, void** ppv) override
        {
            *ppv = riid == IID_IUnknown ? this : nullptr;
            return *ppv ? (AddRef(), S_OK) : E_NOINTERFACE;
        }
        ULONG AddRef() override { return ++count; }
        ULONG Release() override { return --count; }
    } object;
    {
        CComVariant held(static_cast<IUnknown*>(&object));
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
        CComVariant text(u"a"), other;
        other = text;
        EXPECT_NE(text.bstrVal, other.bstrVal);
    }
    EXPECT_EQ(1u, object.count);
}
