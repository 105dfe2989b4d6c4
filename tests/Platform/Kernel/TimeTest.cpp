#include "qm/Platform/Kernel/Time.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace
{
// Sets the process's time zone for one test and puts the old one back.
class TimeZone
{
public:
    explicit TimeZone(const char* zone)
    {
        if (const char* old = std::getenv("TZ"))
        {
            m_old = old;
            m_hadOld = true;
        }
        setenv("TZ", zone, 1);
        tzset();
    }
    ~TimeZone()
    {
        if (m_hadOld)
            setenv("TZ", m_old.c_str(), 1);
        else
            unsetenv("TZ");
        tzset();
    }

private:
    std::string m_old;
    bool m_hadOld = false;
};

SYSTEMTIME Time(WORD year, WORD month, WORD day, WORD hour, WORD minute, WORD second, WORD ms)
{
    return SYSTEMTIME{.wYear = year, .wMonth = month, .wDayOfWeek = 0, .wDay = day, .wHour = hour,
                      .wMinute = minute, .wSecond = second, .wMilliseconds = ms};
}
} // namespace

TEST(Time, FileTimeAndSystemTimeRoundTrip)
{
    SYSTEMTIME time = Time(2020, 2, 29, 23, 59, 58, 999);
    FILETIME file;
    ASSERT_TRUE(SystemTimeToFileTime(&time, &file));
    SYSTEMTIME back;
    ASSERT_TRUE(FileTimeToSystemTime(&file, &back));
    EXPECT_EQ(2020, back.wYear);
    EXPECT_EQ(29, back.wDay);
    EXPECT_EQ(999, back.wMilliseconds);
    EXPECT_EQ(6, back.wDayOfWeek); // a Saturday
    // 1970-01-01 is 116444736000000000 ticks after 1601-01-01.
    SYSTEMTIME unix = Time(1970, 1, 1, 0, 0, 0, 0);
    ASSERT_TRUE(SystemTimeToFileTime(&unix, &file));
    EXPECT_EQ(116444736000000000LL, qm::FileTimeToInt64(file));
    SYSTEMTIME bad = Time(2021, 2, 29, 0, 0, 0, 0);
    EXPECT_FALSE(SystemTimeToFileTime(&bad, &file));
}

TEST(Time, DatesAreCalendarArithmeticWithTheOldNegativeRule)
{
    DATE date = 0;
    SYSTEMTIME time = Time(1899, 12, 30, 0, 0, 0, 0);
    ASSERT_TRUE(SystemTimeToVariantTime(&time, &date));
    EXPECT_EQ(0.0, date);
    time = Time(1899, 12, 29, 6, 0, 0, 0);
    ASSERT_TRUE(SystemTimeToVariantTime(&time, &date));
    EXPECT_EQ(-1.25, date);
    SYSTEMTIME back;
    ASSERT_TRUE(VariantTimeToSystemTime(-1.25, &back));
    EXPECT_EQ(29, back.wDay);
    EXPECT_EQ(6, back.wHour);
    ASSERT_TRUE(VariantTimeToSystemTime(43831.5, &back)); // 2020-01-01 noon
    EXPECT_EQ(2020, back.wYear);
    EXPECT_EQ(12, back.wHour);
    EXPECT_FALSE(VariantTimeToSystemTime(qm::kNoDate, &back));

    // A time that rounds to midnight starts the next day, on either side of the origin.
    auto day = [&](DATE value) {
        EXPECT_TRUE(VariantTimeToSystemTime(value, &back));
        return std::to_string(back.wYear) + "-" + std::to_string(back.wMonth) + "-" + std::to_string(back.wDay) +
               " " + std::to_string(back.wHour) + ":" + std::to_string(back.wMilliseconds);
    };
    EXPECT_EQ("1899-12-30 0:0", day(-1.9999999999));
    EXPECT_EQ("1899-12-29 0:0", day(-2.9999999999));
    EXPECT_EQ("1899-12-31 0:0", day(0.9999999999));
    EXPECT_EQ("1899-12-29 23:999", day(-1.99999999));
}

TEST(Time, LocalDatesInAFixedZone)
{
    TimeZone zone("CET-1CEST,M3.5.0,M10.5.0/3");
    // 2020-07-01 10:00 UTC is 12:00 local in summer time.
    SYSTEMTIME utc = Time(2020, 7, 1, 10, 0, 0, 0);
    FILETIME file;
    ASSERT_TRUE(SystemTimeToFileTime(&utc, &file));
    const DATE local = qm::FileTimeToDate(file);
    SYSTEMTIME shown;
    ASSERT_TRUE(VariantTimeToSystemTime(local, &shown));
    EXPECT_EQ(12, shown.wHour);
    EXPECT_EQ(qm::FileTimeToInt64(file), qm::FileTimeToInt64(qm::DateToFileTime(local)));
    // Winter: one hour.
    SYSTEMTIME winter = Time(2020, 1, 15, 10, 30, 0, 0);
    ASSERT_TRUE(SystemTimeToFileTime(&winter, &file));
    ASSERT_TRUE(VariantTimeToSystemTime(qm::FileTimeToDate(file), &shown));
    EXPECT_EQ(11, shown.wHour);
    EXPECT_EQ(qm::FileTimeToInt64(file), qm::FileTimeToInt64(qm::DateToFileTime(qm::FileTimeToDate(file))));
    // No time, no date.
    EXPECT_EQ(qm::kNoDate, qm::FileTimeToDate(FILETIME{}));
    EXPECT_EQ(0, qm::FileTimeToInt64(qm::DateToFileTime(qm::kNoDate)));
}
