#include "Utilities/TimeFormats.h"

#include "qm/Platform/Kernel/Time.h"

#include <gtest/gtest.h>

using namespace quillmar::Library::Model::Utility;

TEST(TimeFormats, AbsoluteTimesReadInEveryWrittenForm)
{
    SYSTEMTIME time{2020, 1, 0, 2, 3, 4, 5, 678};
    FILETIME file;
    ASSERT_TRUE(SystemTimeToFileTime(&time, &file));
    EXPECT_EQ(u"2020.01.02T03:04:05.678", FormatFileTime(file));

    for (const char16_t* text : {u"2020.01.02T03:04:05.678", u"20200102T030405678", u" 2020-01-02T03:04:05.678\r\n"})
    {
        FILETIME read{};
        ASSERT_EQ(S_OK, ParseFileTime(text, &read));
        EXPECT_EQ(file, read);
    }
    FILETIME noMilliseconds{};
    ASSERT_EQ(S_OK, ParseFileTime(u"20200102T030405", &noMilliseconds));
    EXPECT_EQ(qm::FileTimeToInt64(file) - 6780000, qm::FileTimeToInt64(noMilliseconds));

    FILETIME unchanged{1, 2};
    EXPECT_EQ(E_FAIL, ParseFileTime(u"20200102T0304", &unchanged));
    EXPECT_EQ(E_FAIL, ParseFileTime(u"not a time", &unchanged));
    EXPECT_EQ((FILETIME{1, 2}), unchanged);
}
