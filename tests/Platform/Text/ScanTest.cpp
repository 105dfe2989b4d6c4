#include "Platform/Text/Scan.h"

#include <gtest/gtest.h>

#include <cstdint>

TEST(Scan, LeadingNumbersAreTakenLeniently)
{
    std::int64_t value = 99;
    EXPECT_TRUE(qm::ScanInt64(u"12x", value));
    EXPECT_EQ(12, value);
    EXPECT_TRUE(qm::ScanInt64(u"  -9223372036854775808", value));
    EXPECT_EQ(INT64_MIN, value);
    EXPECT_TRUE(qm::ScanInt64(u"+5", value));
    EXPECT_EQ(5, value);
    value = 99;
    for (const char16_t* none : {u"x12", u"", u" ", u"-", u"9223372036854775808"})
    {
        EXPECT_FALSE(qm::ScanInt64(none, value));
        EXPECT_EQ(99, value);
    }
}

TEST(Scan, WidthsAndLiteralsOfTheTimeFormats)
{
    int y = 0, mo = 0, d = 0, h = 0, mi = 0, s = 0, ms = 0;
    const char16_t* compact = u"%04d%02d%02dT%02d%02d%02d%03d";
    EXPECT_EQ(7, qm::ScanW(u"20200102T030405678", compact, &y, &mo, &d, &h, &mi, &s, &ms));
    EXPECT_EQ(2020, y);
    EXPECT_EQ(5, s);
    EXPECT_EQ(678, ms);
    EXPECT_EQ(5, qm::ScanW(u"20200102T0304", compact, &y, &mo, &d, &h, &mi, &s, &ms));
    EXPECT_EQ(-1, qm::ScanW(u"", compact, &y));
    EXPECT_EQ(0, qm::ScanW(u"x", u"%d", &y));
    EXPECT_EQ(4, qm::ScanW(u"01:02.003_0004", u"%02d:%02d.%03d_%04d", &h, &mi, &s, &ms));
    EXPECT_EQ(4, ms);
    unsigned u = 0;
    EXPECT_EQ(1, qm::ScanW(u"  42%", u"%u%%", &u));
    EXPECT_EQ(42u, u);
    EXPECT_EQ(0, qm::ScanW(u"-1", u"%u", &u));
    EXPECT_EQ(0, qm::ScanW(u"99999999999", u"%d", &y));
}
