#include "qm/Platform/Com/PropVariant.h"

#include "Platform/Com/CountedUnknown.h"
#include "qm/Platform/Com/CoTaskMem.h"

#include <gtest/gtest.h>

namespace
{
std::u16string TextOf(const PROPVARIANT& value)
{
    LPWSTR text = nullptr;
    EXPECT_EQ(S_OK, PropVariantToStringAlloc(value, &text));
    std::u16string result = text ? text : u"<null>";
    CoTaskMemFree(text);
    return result;
}
} // namespace

TEST(PropVariant, CopiesOwnTheirValuesAndClearFreesThem)
{
    PROPVARIANT text;
    ASSERT_EQ(S_OK, InitPropVariantFromString(u"value", &text));
    EXPECT_EQ(VT_LPWSTR, text.vt);
    PROPVARIANT copy;
    PropVariantInit(&copy);
    ASSERT_EQ(S_OK, PropVariantCopy(&copy, &text));
    EXPECT_NE(text.pwszVal, copy.pwszVal);
    EXPECT_EQ(u"value", TextOf(copy));

    // A destination that holds a value gives it up; copying onto itself keeps it.
    PROPVARIANT bstr;
    PropVariantInit(&bstr);
    bstr.vt = VT_BSTR;
    bstr.bstrVal = SysAllocStringLen(u"a\0b", 3);
    ASSERT_EQ(S_OK, PropVariantCopy(&copy, &bstr));
    EXPECT_EQ(VT_BSTR, copy.vt);
    EXPECT_NE(bstr.bstrVal, copy.bstrVal);
    EXPECT_EQ(3u, SysStringLen(copy.bstrVal));
    EXPECT_EQ(S_OK, PropVariantCopy(&copy, &copy));
    EXPECT_EQ(3u, SysStringLen(copy.bstrVal));

    qmtest::CountedUnknown object;
    PROPVARIANT unknown;
    PropVariantInit(&unknown);
    unknown.vt = VT_UNKNOWN;
    unknown.punkVal = &object;
    ASSERT_EQ(S_OK, PropVariantCopy(&copy, &unknown));
    EXPECT_EQ(2u, object.count);
    PropVariantClear(&copy);
    EXPECT_EQ(1u, object.count);
    EXPECT_EQ(VT_EMPTY, copy.vt);

    PropVariantClear(&text);
    PropVariantClear(&bstr);
    EXPECT_EQ(E_INVALIDARG, PropVariantCopy(nullptr, &text));
    EXPECT_EQ(S_OK, PropVariantClear(nullptr));
    PROPVARIANT out;
    EXPECT_EQ(E_INVALIDARG, InitPropVariantFromString(nullptr, &out));
    EXPECT_EQ(VT_EMPTY, out.vt);
}

TEST(PropVariant, ValuesAsText)
{
    PROPVARIANT value;
    PropVariantInit(&value);
    EXPECT_EQ(u"", TextOf(value));
    value.vt = VT_I8;
    value.hVal = INT64_MIN;
    EXPECT_EQ(u"-9223372036854775808", TextOf(value));
    value.vt = VT_UI8;
    value.uhVal = UINT64_MAX;
    EXPECT_EQ(u"18446744073709551615", TextOf(value));
    value.vt = VT_UI4;
    value.ulVal = 4000000000u;
    EXPECT_EQ(u"4000000000", TextOf(value));
    value.vt = VT_BOOL;
    value.boolVal = VARIANT_TRUE;
    EXPECT_EQ(u"True", TextOf(value));
    value.vt = VT_R4;
    value.fltVal = 0.1f;
    EXPECT_EQ(u"0.1", TextOf(value));

    value.vt = VT_LPWSTR;
    value.pwszVal = nullptr;
    EXPECT_EQ(u"", TextOf(value));
    value.vt = VT_FILETIME;
    LPWSTR text = reinterpret_cast<LPWSTR>(1);
    EXPECT_EQ(DISP_E_TYPEMISMATCH, PropVariantToStringAlloc(value, &text));
    EXPECT_EQ(nullptr, text);
    EXPECT_EQ(E_POINTER, PropVariantToStringAlloc(value, nullptr));
}
