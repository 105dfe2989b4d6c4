#include "Platform/Text/NumberText.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>

using qm::ParseInt32;
using qm::ParseInt64;
using qm::ParseUInt32;
using qm::ParseUInt64;

TEST(NumberText, IntegersAllowBlanksAndOneSignOnly)
{
    std::int32_t i4 = 7;
    EXPECT_EQ(S_OK, ParseInt32(u" -12 ", i4));
    EXPECT_EQ(-12, i4);
    EXPECT_EQ(S_OK, ParseInt32(u"\t+0042\r\n", i4));
    EXPECT_EQ(42, i4);
    // White space is Unicode white space: no-break and ideographic spaces too.
    EXPECT_EQ(S_OK, ParseInt32(u"\u00A05\u3000", i4));
    EXPECT_EQ(5, i4);

    for (const char16_t* bad :
         {u"", u" ", u"+", u"-", u"12x", u"1.5", u"1 2", u"--1", u"+-1", u"- 1", u"0x10", u"1e3", u"\uFF11"})
    {
        i4 = 7;
        EXPECT_EQ(DISP_E_TYPEMISMATCH, ParseInt32(bad, i4)) << "length " << std::u16string(bad).size();
        EXPECT_EQ(7, i4);
    }
    // The whole view counts: an embedded NUL is not an end.
    EXPECT_EQ(DISP_E_TYPEMISMATCH, ParseInt32(std::u16string_view(u"1\0" u"2", 3), i4));
    // Text that is no number is a mismatch even when its digits would overflow.
    std::int64_t i8 = 0;
    EXPECT_EQ(DISP_E_TYPEMISMATCH, ParseInt64(u"99999999999999999999x", i8));
}

TEST(NumberText, IntegerLimitsAndOverflow)
{
    std::int32_t i4 = 7;
    EXPECT_EQ(S_OK, ParseInt32(u"-2147483648", i4));
    EXPECT_EQ(INT32_MIN, i4);
    EXPECT_EQ(S_OK, ParseInt32(u"2147483647", i4));
    EXPECT_EQ(INT32_MAX, i4);
    EXPECT_EQ(DISP_E_OVERFLOW, ParseInt32(u"2147483648", i4));
    EXPECT_EQ(DISP_E_OVERFLOW, ParseInt32(u"-2147483649", i4));
    EXPECT_EQ(INT32_MAX, i4);

    std::int64_t i8 = 0;
    EXPECT_EQ(S_OK, ParseInt64(u"-9223372036854775808", i8));
    EXPECT_EQ(INT64_MIN, i8);
    EXPECT_EQ(S_OK, ParseInt64(u"9223372036854775807", i8));
    EXPECT_EQ(INT64_MAX, i8);
    EXPECT_EQ(DISP_E_OVERFLOW, ParseInt64(u"9223372036854775808", i8));
    EXPECT_EQ(DISP_E_OVERFLOW, ParseInt64(u"-9223372036854775809", i8));
    EXPECT_EQ(DISP_E_OVERFLOW, ParseInt64(u"18446744073709551616", i8));
    EXPECT_EQ(INT64_MAX, i8);

    std::uint64_t u8 = 0;
    EXPECT_EQ(S_OK, ParseUInt64(u"18446744073709551615", u8));
    EXPECT_EQ(UINT64_MAX, u8);
    EXPECT_EQ(DISP_E_OVERFLOW, ParseUInt64(u"18446744073709551616", u8));
    std::uint32_t u4 = 9;
    EXPECT_EQ(S_OK, ParseUInt32(u"-0", u4));
    EXPECT_EQ(0u, u4);
    EXPECT_EQ(DISP_E_OVERFLOW, ParseUInt32(u"-1", u4));
    EXPECT_EQ(DISP_E_OVERFLOW, ParseUInt32(u"4294967296", u4));
    EXPECT_EQ(S_OK, ParseUInt32(u"4294967295", u4));
    EXPECT_EQ(UINT32_MAX, u4);

    EXPECT_EQ(u"-9223372036854775808", qm::FormatInt64(INT64_MIN));
    EXPECT_EQ(u"18446744073709551615", qm::FormatUInt64(UINT64_MAX));
    EXPECT_EQ(u"0", qm::FormatInt64(0));
}

TEST(NumberText, FloatsAreWrittenInShortestPlainDecimal)
{
    EXPECT_EQ(u"0.1", qm::FormatFloat(0.1f));
    EXPECT_EQ(u"0.0000001", qm::FormatFloat(1e-7f));
    EXPECT_EQ(u"340000000000000000000000000000000000000", qm::FormatFloat(3.4e38f));
    EXPECT_EQ(u"-0", qm::FormatFloat(-0.0f));
    EXPECT_EQ(u"1", qm::FormatFloat(1.0f));
    EXPECT_EQ(u"123.456", qm::FormatFloat(123.456f));
    EXPECT_EQ(u"10000000000", qm::FormatFloat(1e10f));
    EXPECT_EQ(u"-2.5", qm::FormatFloat(-2.5f));
    EXPECT_EQ(u"0.1", qm::FormatDouble(0.1));
    EXPECT_EQ(u"0.30000000000000004", qm::FormatDouble(0.1 + 0.2));
    EXPECT_EQ(u"NaN", qm::FormatFloat(std::numeric_limits<float>::quiet_NaN()));
    EXPECT_EQ(u"-INF", qm::FormatDouble(-std::numeric_limits<double>::infinity()));
}

TEST(NumberText, EveryFloatReadsBackFromItsText)
{
    // A spread of bit patterns over all finite floats of both signs, and the edges.
    std::vector<float> values = {std::numeric_limits<float>::denorm_min(), std::numeric_limits<float>::min(),
                                 std::numeric_limits<float>::max(), -std::numeric_limits<float>::max(), 0.0f, -0.0f};
    for (std::uint64_t bits = 1; bits < 0x100000000ull; bits += 65521)
        values.push_back(std::bit_cast<float>(static_cast<std::uint32_t>(bits)));
    for (float value : values)
    {
        if (!std::isfinite(value))
            continue;
        const std::u16string text = qm::FormatFloat(value);
        ASSERT_EQ(std::u16string::npos, text.find_first_not_of(u"-0123456789.")) << value;
        float back = 1;
        ASSERT_EQ(S_OK, qm::ParseFloat(text, back)) << value;
        ASSERT_EQ(std::bit_cast<std::uint32_t>(value), std::bit_cast<std::uint32_t>(back)) << value;
    }
    for (double value : {std::numeric_limits<double>::denorm_min(), std::numeric_limits<double>::max(), 1e300,
                         -123456.789e-200, 0.1})
    {
        double back = 0;
        ASSERT_EQ(S_OK, qm::ParseDouble(qm::FormatDouble(value), back));
        EXPECT_EQ(value, back);
    }
}

TEST(NumberText, FloatReadingIsStrict)
{
    float f = 0;
    EXPECT_EQ(S_OK, qm::ParseFloat(u" -2.5E-1 ", f));
    EXPECT_EQ(-0.25f, f);
    EXPECT_EQ(S_OK, qm::ParseFloat(u".5", f));
    EXPECT_EQ(0.5f, f);
    EXPECT_EQ(S_OK, qm::ParseFloat(u"+5.", f));
    EXPECT_EQ(5.0f, f);
    EXPECT_EQ(S_OK, qm::ParseFloat(u"nan", f));
    EXPECT_TRUE(std::isnan(f));
    EXPECT_EQ(S_OK, qm::ParseFloat(u"-Inf", f));
    EXPECT_EQ(-std::numeric_limits<float>::infinity(), f);

    for (const char16_t* bad : {u"", u"-", u"1,5", u"0x10", u"infinity", u"1e", u"e5", u".", u"1.5.2", u"+-1",
                                u"1 .5", u"nan(1)", u"\uFF11"})
    {
        f = 3;
        EXPECT_EQ(DISP_E_TYPEMISMATCH, qm::ParseFloat(bad, f));
        EXPECT_EQ(3.0f, f);
    }

    // Too large is an overflow; too small to hold is zero, with its sign.
    EXPECT_EQ(DISP_E_OVERFLOW, qm::ParseFloat(u"1e39", f));
    EXPECT_EQ(DISP_E_OVERFLOW, qm::ParseFloat(u"-340282356779733661637539395458142568448", f));
    EXPECT_EQ(3.0f, f);
    EXPECT_EQ(S_OK, qm::ParseFloat(u"1e-50", f));
    EXPECT_EQ(0.0f, f);
    double d = 1;
    EXPECT_EQ(DISP_E_OVERFLOW, qm::ParseDouble(u"1e309", d));
    EXPECT_EQ(DISP_E_OVERFLOW, qm::ParseDouble(u"0.001e99999999999", d));
    EXPECT_EQ(S_OK, qm::ParseDouble(u"-1e-400", d));
    EXPECT_EQ(0.0, d);
    EXPECT_TRUE(std::signbit(d));
    d = 1;
    EXPECT_EQ(S_OK, qm::ParseDouble(u"1000e-99999999999", d));
    EXPECT_EQ(0.0, d);
    d = 1;
    EXPECT_EQ(S_OK, qm::ParseDouble(u"0." + std::u16string(400, u'0') + u"1", d));
    EXPECT_EQ(0.0, d);
    EXPECT_EQ(DISP_E_OVERFLOW, qm::ParseDouble(u"1" + std::u16string(400, u'0') + u".5e-80", d));
}

TEST(NumberText, Booleans)
{
    bool value = false;
    for (const char16_t* yes : {u"True", u"true", u"TRUE", u" true ", u"-1", u"1", u"2.5", u"1e3"})
    {
        value = false;
        ASSERT_EQ(S_OK, qm::ParseBool(yes, value));
        EXPECT_TRUE(value);
    }
    for (const char16_t* no : {u"False", u"fALSE", u"0", u" -0.0 "})
    {
        value = true;
        ASSERT_EQ(S_OK, qm::ParseBool(no, value));
        EXPECT_FALSE(value);
    }
    for (const char16_t* bad : {u"", u"yes", u"t", u"truex", u"true false", u"NaN", u"inf"})
    {
        value = true;
        EXPECT_EQ(DISP_E_TYPEMISMATCH, qm::ParseBool(bad, value));
        EXPECT_TRUE(value);
    }
    EXPECT_EQ(u"True", qm::FormatBool(true));
    EXPECT_EQ(u"False", qm::FormatBool(false));
}
