// The names a thread's parses share: found by their text only, within bounds of count
// and of probing whatever the hashes.
#include "Platform/Xml/XmlNameCache.h"

#include <gtest/gtest.h>

#include <string>

using qm::xml::XmlNameCache;

namespace
{
std::u16string Named(const std::string& text) { return std::u16string(text.begin(), text.end()); }
} // namespace

TEST(XmlNameCache, FindsANameByItsTextAlone)
{
    XmlNameCache cache;
    const std::string names[] = {"LIBRARY_ITEM", "LIBRARY_ITEM_CUE", "a", "Library.MDProperties", "LIBRARY_ITEN"};
    for (const std::string& name : names)
        cache.Add(name, XmlNameCache::Hash(name), Named(name));
    for (const std::string& name : names)
    {
        XmlNameCache::Entry* found = cache.Find(name, XmlNameCache::Hash(name));
        ASSERT_TRUE(found) << name;
        EXPECT_EQ(Named(name), found->text);
    }
    EXPECT_FALSE(cache.Find("LIBRARY", XmlNameCache::Hash("LIBRARY")));
    // Equal hashes do not make equal names.
    EXPECT_FALSE(cache.Find("other", XmlNameCache::Hash("a")));
    EXPECT_NE(XmlNameCache::Hash("LIBRARY_ITEM_CUE"), XmlNameCache::Hash("LIBRARY_ITEM_CUF"));
}

TEST(XmlNameCache, NamesThatShareAHashOrComeInThousandsStayWithinBounds)
{
    XmlNameCache colliding;
    for (int i = 0; i < 1000; ++i)
        colliding.Add("n" + std::to_string(i), 7, Named("n" + std::to_string(i)));
    // The first few are kept; the rest are not remembered, and a lookup of any of them
    // probes a bounded stretch of the table.
    EXPECT_TRUE(colliding.Find("n0", 7));
    EXPECT_FALSE(colliding.Find("n999", 7));

    XmlNameCache many;
    for (std::size_t i = 0; i < 2 * XmlNameCache::kMaxNames; ++i)
    {
        const std::string name = "name" + std::to_string(i);
        many.Add(name, XmlNameCache::Hash(name), Named(name));
    }
    EXPECT_TRUE(many.Find("name0", XmlNameCache::Hash("name0")));
    const std::string late = "name" + std::to_string(2 * XmlNameCache::kMaxNames - 1);
    EXPECT_FALSE(many.Find(late, XmlNameCache::Hash(late)));
}
