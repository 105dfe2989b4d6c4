#include "qm/Platform/Com/Guid.h"

#include <gtest/gtest.h>

#include <set>

TEST(Guid, TextFormIsBracedUpperCase38Characters)
{
    constexpr GUID id = qm::ParseGuid("{88d96a05-F192-11D4-a65f-0040963251E5}");
    char16_t buffer[39];
    EXPECT_EQ(39, StringFromGUID2(id, buffer, 39));
    EXPECT_EQ(u"{88D96A05-F192-11D4-A65F-0040963251E5}", std::u16string(buffer));
    EXPECT_EQ(0, StringFromGUID2(id, buffer, 38));
    EXPECT_EQ(u"{00000000-0000-0000-0000-000000000000}", qm::GuidToString(GUID_NULL));

    GUID read{};
    ASSERT_TRUE(qm::GuidFromString(u"{88d96a05-f192-11d4-a65f-0040963251e5}", read));
    EXPECT_EQ(id, read);
    for (const char16_t* bad : {u"88D96A05-F192-11D4-A65F-0040963251E5", u"{88D96A05-F192-11D4-A65F-0040963251E}",
                                u"{88D96A05-F192-11D4-A65F-0040963251EG}", u"{88D96A05+F192-11D4-A65F-0040963251E5}"})
        EXPECT_FALSE(qm::GuidFromString(bad, read));
    EXPECT_EQ(id, read);
}

TEST(Guid, NewGuidsAreRandomVersion4AndDistinct)
{
    std::set<std::u16string> seen;
    for (int i = 0; i < 20000; ++i)
    {
        GUID id;
        ASSERT_EQ(S_OK, CoCreateGuid(&id));
        EXPECT_EQ(0x4000, id.Data3 & 0xF000);
        EXPECT_EQ(0x80, id.Data4[0] & 0xC0);
        seen.insert(qm::GuidToString(id));
    }
    EXPECT_EQ(20000u, seen.size());
    EXPECT_EQ(E_INVALIDARG, CoCreateGuid(nullptr));
}
