#include "Platform/Kernel/SideFilePath.h"

#include "Platform/Kernel/FileSystem.h"

#include <gtest/gtest.h>

namespace
{
std::size_t NameBytes(const std::u16string& path)
{
    std::string native;
    EXPECT_EQ(S_OK, qm::ToNativePath(path.substr(path.find_last_of(u'/') + 1), native));
    return native.size();
}
} // namespace

TEST(SideFilePath, NamesThatFitTakeTheSuffixAndLongOnesAreShortenedAlikeEachTime)
{
    EXPECT_EQ(u"/v/a.mp4.quilclip.temp", qm::SideFilePath(u"/v/a.mp4.quilclip", u".temp"));
    EXPECT_EQ(u"a.quilclip.backup", qm::SideFilePath(u"a.quilclip", u".backup"));

    // 255 bytes in all: the longest name a sidecar can have.
    const std::u16string longName = u"/v/" + std::u16string(242, u'x') + u".mp4.quilclip";
    const std::u16string temp = qm::SideFilePath(longName, u".temp");
    EXPECT_EQ(255u, NameBytes(longName));
    EXPECT_LE(NameBytes(temp), qm::kMaxFileNameBytes);
    EXPECT_TRUE(temp.starts_with(u"/v/xxxx"));
    EXPECT_TRUE(temp.ends_with(u".temp"));
    EXPECT_EQ(temp, qm::SideFilePath(longName, u".temp"));
    EXPECT_NE(qm::SideFilePath(longName, u".backup"), temp);

    // Two names that differ only past the cut still get side files of their own.
    std::u16string sibling = longName;
    sibling[sibling.size() - 15] = u'y';
    EXPECT_NE(qm::SideFilePath(sibling, u".temp"), temp);

    // The cut never splits a character: the name stays text.
    const std::u16string wide = u"/v/" + std::u16string(80, u'é') + std::u16string(30, u'\u20AC') + u".quilclip";
    const std::u16string shortened = qm::SideFilePath(wide, u".backup");
    EXPECT_LE(NameBytes(shortened), qm::kMaxFileNameBytes);
    EXPECT_TRUE(shortened.ends_with(u".backup"));
}
