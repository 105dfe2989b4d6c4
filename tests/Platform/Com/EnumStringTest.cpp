#include "qm/Platform/Com/EnumString.h"

#include "qm/Platform/Com/ComPtr.h"
#include "qm/Platform/Com/CoTaskMem.h"

#include <gtest/gtest.h>

namespace
{
// Takes the strings a Next call handed out, freeing them.
std::vector<std::u16string> Take(LPOLESTR* strings, ULONG count)
{
    std::vector<std::u16string> result;
    for (ULONG i = 0; i < count; ++i)
    {
        result.emplace_back(strings[i]);
        CoTaskMemFree(strings[i]);
    }
    return result;
}
} // namespace

TEST(EnumString, NextSkipResetAndTheEnd)
{
    ComPtr<IEnumString> strings;
    ASSERT_EQ(S_OK, qm::CreateEnumString({u"a", u"", u"c", u"d"}, strings.GetAddressOf()));
    LPOLESTR out[3] = {};
    ULONG fetched = 99;
    ASSERT_EQ(S_OK, strings->Next(2, out, &fetched));
    ASSERT_EQ(2u, fetched);
    EXPECT_EQ((std::vector<std::u16string>{u"a", u""}), Take(out, fetched));
    // One at a time needs no count.
    ASSERT_EQ(S_OK, strings->Next(1, out, nullptr));
    EXPECT_EQ(u"c", Take(out, 1)[0]);
    ASSERT_EQ(S_FALSE, strings->Next(3, out, &fetched));
    EXPECT_EQ((std::vector<std::u16string>{u"d"}), Take(out, fetched));
    EXPECT_EQ(S_FALSE, strings->Next(1, out, &fetched));
    EXPECT_EQ(0u, fetched);

    ASSERT_EQ(S_OK, strings->Reset());
    EXPECT_EQ(S_OK, strings->Skip(3));
    EXPECT_EQ(S_FALSE, strings->Skip(2));
    EXPECT_EQ(S_FALSE, strings->Next(1, out, &fetched));

    EXPECT_EQ(E_INVALIDARG, strings->Next(2, out, nullptr));
    EXPECT_EQ(E_POINTER, strings->Next(1, nullptr, &fetched));
    EXPECT_EQ(E_POINTER, qm::CreateEnumString({}, nullptr));
}

TEST(EnumString, ClonesKeepTheirOwnPositionAndOutliveTheOriginal)
{
    ComPtr<IEnumString> original;
    ASSERT_EQ(S_OK, qm::CreateEnumString({u"x", u"y"}, original.GetAddressOf()));
    ASSERT_EQ(S_OK, original->Skip(1));
    ComPtr<IEnumString> clone;
    ASSERT_EQ(S_OK, original->Clone(clone.GetAddressOf()));
    original.Reset();
    LPOLESTR out[2] = {};
    ULONG fetched = 0;
    ASSERT_EQ(S_FALSE, clone->Next(2, out, &fetched));
    EXPECT_EQ((std::vector<std::u16string>{u"y"}), Take(out, fetched));
    ASSERT_EQ(S_OK, clone->Reset());
    ASSERT_EQ(S_OK, clone->Next(2, out, &fetched));
    EXPECT_EQ((std::vector<std::u16string>{u"x", u"y"}), Take(out, fetched));

    // An empty enumerator yields nothing.
    ComPtr<IEnumString> empty;
    ASSERT_EQ(S_OK, qm::CreateEnumString({}, empty.GetAddressOf()));
    EXPECT_EQ(S_FALSE, empty->Next(1, out, &fetched));
    EXPECT_EQ(0u, fetched);
    ComPtr<IUnknown> unknown;
    EXPECT_EQ(S_OK, empty.As(&unknown));
}
