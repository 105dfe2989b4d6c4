#include "Platform/Text/Base64.h"

#include "Platform/Com/LastError.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

TEST(Base64, RoundTripsAndWritesLinesOf64)
{
    for (std::size_t size = 0; size <= 200; ++size)
    {
        std::vector<BYTE> data(size);
        for (std::size_t i = 0; i < size; ++i)
            data[i] = static_cast<BYTE>(i * 37 + 11);
        const std::u16string text = qm::Base64Encode(data.data(), data.size());
        std::size_t start = 0;
        while (start < text.size())
        {
            const std::size_t end = text.find(u"\r\n", start);
            ASSERT_NE(std::u16string::npos, end);
            EXPECT_LE(end - start, 64u);
            if (end + 2 < text.size())
            {
                EXPECT_EQ(64u, end - start);
            }
            start = end + 2;
        }
        std::vector<BYTE> back;
        ASSERT_EQ(S_OK, qm::Base64Decode(text, back));
        EXPECT_EQ(data, back);
    }
    EXPECT_EQ(u"TWFu\r\n", qm::Base64Encode("Man", 3));
    EXPECT_EQ(u"TQ==\r\n", qm::Base64Encode("M", 1));
}

TEST(Base64, ReadingSkipsWhiteSpaceAndRefusesTheRest)
{
    std::vector<BYTE> data;
    ASSERT_EQ(S_OK, qm::Base64Decode(u" TW\tFu\r\nTQ==\n", data));
    EXPECT_EQ(std::vector<BYTE>({'M', 'a', 'n', 'M'}), data);
    for (const char16_t* bad : {u"TWF", u"TW=u", u"TQ==TWFu", u"T*Fu", u"=QQQ", u"TQ=", u"TQ===="})
    {
        SetLastError(0);
        EXPECT_EQ(E_INVALIDARG, qm::Base64Decode(bad, data));
        EXPECT_EQ(static_cast<DWORD>(ERROR_INVALID_DATA), GetLastError());
    }
}

TEST(Base64, TwoCallSizeProtocol)
{
    const BYTE bytes[] = {1, 2, 3, 4, 5};
    DWORD size = 0;
    ASSERT_TRUE(CryptBinaryToStringW(bytes, 5, CRYPT_STRING_BASE64, nullptr, &size));
    EXPECT_EQ(11u, size); // "AQIDBAU=\r\n" and its NUL
    std::u16string text(size, u'\0');
    DWORD small = 4;
    EXPECT_FALSE(CryptBinaryToStringW(bytes, 5, CRYPT_STRING_BASE64, text.data(), &small));
    EXPECT_EQ(static_cast<DWORD>(ERROR_MORE_DATA), GetLastError());
    ASSERT_TRUE(CryptBinaryToStringW(bytes, 5, CRYPT_STRING_BASE64, text.data(), &size));
    EXPECT_EQ(10u, size);
    EXPECT_FALSE(CryptBinaryToStringW(bytes, 5, 0x4, nullptr, &size));
    EXPECT_EQ(static_cast<DWORD>(ERROR_INVALID_PARAMETER), GetLastError());

    DWORD length = 0;
    ASSERT_TRUE(CryptStringToBinaryW(text.c_str(), 0, CRYPT_STRING_BASE64, nullptr, &length, nullptr, nullptr));
    EXPECT_EQ(5u, length);
    BYTE back[5] = {};
    ASSERT_TRUE(CryptStringToBinaryW(text.c_str(), 0, CRYPT_STRING_BASE64, back, &length, nullptr, nullptr));
    EXPECT_EQ(0, std::memcmp(bytes, back, 5));
    EXPECT_FALSE(CryptStringToBinaryW(u"@@@@", 0, CRYPT_STRING_BASE64, nullptr, &length, nullptr, nullptr));
    EXPECT_EQ(static_cast<DWORD>(ERROR_INVALID_DATA), GetLastError());
}
