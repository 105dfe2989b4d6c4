#include "qm/Platform/Text/Utf8Conversion.h"

#include "Platform/Com/LastError.h"

#include <gtest/gtest.h>

TEST(Utf8Conversion, ConvertsBothWaysWithSurrogatePairs)
{
    const std::u16string text = u"a\u00e9\u20ac\U0001F600";
    const std::string utf8 = win32::Utf16ToUtf8(text);
    EXPECT_EQ("a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", utf8);
    EXPECT_EQ(text, win32::Utf8ToUtf16(utf8));
    EXPECT_EQ("", win32::Utf16ToUtf8(u""));
}

TEST(Utf8Conversion, UnpairedSurrogatesAreRefusedWithTheMessage)
{
    for (const std::u16string& bad : {std::u16string(1, char16_t(0xD800)), std::u16string(u"a") + char16_t(0xDC00),
                                      std::u16string(1, char16_t(0xD83D)) + u"x"})
    {
        try
        {
            win32::Utf16ToUtf8(bad);
            FAIL() << "no exception";
        }
        catch (const win32::Utf8ConversionException& error)
        {
            EXPECT_STREQ("Invalid UTF-16 sequence found in input string.", error.what());
            EXPECT_EQ(static_cast<std::uint32_t>(ERROR_NO_UNICODE_TRANSLATION), error.ErrorCode());
            EXPECT_EQ(win32::Utf8ConversionException::FromUtf16ToUtf8, error.Type());
        }
        std::string out = "kept?";
        SetLastError(0);
        EXPECT_EQ(E_INVALIDARG, qm::ToUtf8(bad, out));
        EXPECT_EQ("", out);
        EXPECT_EQ(static_cast<DWORD>(ERROR_NO_UNICODE_TRANSLATION), GetLastError());
        EXPECT_FALSE(qm::IsValidUtf16(bad));
    }
}

TEST(Utf8Conversion, MalformedUtf8IsRefused)
{
    // Overlong, an encoded surrogate, cut off, a stray continuation, beyond U+10FFFF.
    for (const char* bad : {"\xC0\xAF", "\xED\xA0\x80", "\xE2\x82", "\x80", "\xF4\x90\x80\x80"})
    {
        std::u16string out;
        EXPECT_EQ(E_INVALIDARG, qm::ToUtf16(bad, out)) << bad;
        EXPECT_THROW(win32::Utf8ToUtf16(bad), win32::Utf8ConversionException);
    }
}
