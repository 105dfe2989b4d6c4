#include "Platform/Text/Format.h"

#include <gtest/gtest.h>

#include <cstdint>

TEST(Format, ConversionsTheSystemUses)
{
    EXPECT_EQ(u"Failed to read file 'a.xml', reason: bad, line 3, pos 7",
              qm::FormatW(u"Failed to read file '%s', reason: %s, line %d, pos %d", u"a.xml", u"bad", 3, 7));
    EXPECT_EQ(u"-12 4294967295 ff 8000ffff 0x80004005", qm::FormatW(u"%d %u %x %08x 0x%08x", -12, 4294967295u, 255,
                                                                   0x8000FFFFu, 0x80004005u));
    EXPECT_EQ(u"-9223372036854775808", qm::FormatW(u"%I64d", INT64_MIN));
    EXPECT_EQ(u"9223372036854775807 18446744073709551615", qm::FormatW(u"%lld %I64u", INT64_MAX, UINT64_MAX));
    EXPECT_EQ(u"2020.01.02T03:04:05.006", qm::FormatW(u"%04d.%02d.%02dT%02d:%02d:%02d.%03d", 2020, 1, 2, 3, 4, 5, 6));
    EXPECT_EQ(u"-01:02:03.004_0005", qm::FormatW(u"-%02d:%02d:%02d.%03d_%04d", 1, 2, 3, 4, 5));
    EXPECT_EQ(u"7 -0007", qm::FormatW(u"%1d %05d", 7, -7));
    EXPECT_EQ(u"3.141593 2.50", qm::FormatW(u"%f %.2f", 3.1415926, 2.5));
    EXPECT_EQ(u"100% (null) [ab   ] [   ab] x", qm::FormatW(u"%d%% %s [%-5s] [%5s] %c", 100, nullptr, u"ab", u"ab", u'x'));
    // A lone % at the end stays; an unknown conversion refuses the format rather than
    // reading the arguments after it at the wrong place.
    EXPECT_EQ(u"50 %", qm::FormatW(u"%d %", 50));
    EXPECT_EQ(u"", qm::FormatW(u"%q then %s", 1, u"text"));
    EXPECT_EQ(u"", qm::FormatW(u"%d %p", 1, nullptr));
}
