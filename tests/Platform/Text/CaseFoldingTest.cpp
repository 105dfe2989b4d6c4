#include "qm/Platform/Text/CaseFolding.h"

#include <gtest/gtest.h>

#include <map>

TEST(CaseFolding, OneRuleForAllScripts)
{
    EXPECT_TRUE(qm::EqualsNoCase(u"\u00c9quipe", u"\u00c9QUIPE"));
    EXPECT_TRUE(qm::EqualsNoCase(u"\u00e9quipe", u"\u00c9QUIPE"));
    EXPECT_TRUE(qm::EqualsNoCase(u"\u0394\u03b5\u03bb\u03c4\u03b1", u"\u0394\u0395\u039b\u03a4\u0391"));
    EXPECT_TRUE(qm::EqualsNoCase(u"\U00010400", u"\U00010428")); // Deseret, outside the BMP
    // Simple folding maps one code point to one: no expansion of the sharp s.
    EXPECT_FALSE(qm::EqualsNoCase(u"stra\u00dfe", u"STRASSE"));
    EXPECT_FALSE(qm::EqualsNoCase(u"abc", u"abcd"));
    EXPECT_LT(qm::CompareNoCase(u"abc", u"ABCD"), 0);
    EXPECT_GT(qm::CompareNoCase(u"b", u"A"), 0);
    EXPECT_EQ(u"\u00e9quipe", qm::FoldCase(u"\u00c9QUIPE"));
    EXPECT_EQ(u"\u00c9QUIPE", qm::ToUpper(u"\u00e9quipe"));
    EXPECT_EQ(u"\u00e9quipe", qm::ToLower(u"\u00c9QUIPE"));
}

TEST(CaseFolding, MapKeyedByFoldedTextMergesAndOrders)
{
    std::map<std::u16string, int, qm::NoCaseLess> keywords;
    keywords[u"\u00c9quipe"] = 1;
    keywords[u"\u00c9QUIPE"] += 1;
    keywords[u"attack"] = 3;
    keywords[u"Zone"] = 4;
    ASSERT_EQ(3u, keywords.size());
    EXPECT_EQ(2, keywords[u"\u00e9quipe"]);
    // Ordered by folded code units: attack, zone, équipe (U+00E9 after 'z').
    auto it = keywords.begin();
    EXPECT_EQ(u"attack", it->first);
    EXPECT_EQ(u"Zone", (++it)->first);
    EXPECT_EQ(u"\u00c9quipe", (++it)->first);
    EXPECT_NE(keywords.end(), keywords.find(std::u16string_view(u"ZONE")));
}

TEST(CaseFolding, SubstringSearchIgnoresCase)
{
    EXPECT_EQ(4u, qm::FindNoCase(u"The \u00c9quipe wins", u"\u00e9QUIPE"));
    EXPECT_EQ(0u, qm::FindNoCase(u"abc", u""));
    EXPECT_EQ(std::u16string_view::npos, qm::FindNoCase(u"abc", u"abcd"));
    EXPECT_EQ(std::u16string_view::npos, qm::FindNoCase(u"", u"a"));
    EXPECT_EQ(2u, qm::FindNoCase(u"aaab", u"AB"));
    EXPECT_TRUE(qm::IsSpace(0x3000));
    EXPECT_FALSE(qm::IsSpace(u'x'));
}
