// The one-line text form of a category's values, written and read back.
#include "DataAccess/Library/ValueList.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace Quillmar::Library::Native;

namespace
{
using Values = std::vector<std::u16string>;
}

TEST(ValueList, FormatQuotesSemicolonsAndDoublesQuotes)
{
    EXPECT_EQ(u"", FormatValueList({}));
    EXPECT_EQ(u"one", FormatValueList({u"one"}));
    EXPECT_EQ(u"a; \"b;c\"; say \"\"hi\"\"; \"x\"\"y;z\"", FormatValueList({u"a", u"b;c", u"say \"hi\"", u"x\"y;z"}));
}

TEST(ValueList, AwkwardValuesRoundTrip)
{
    const std::vector<Values> lists = {
        {u"a;b", u";", u"; leading semicolon", u"trailing;"},
        {u"say \"hi\"", u"\"quoted\"", u"\"", u"\"\"", u"\"x;"},
        {u"inner  blanks", u"trailing blank ", u"東京", u"\U0001D11E clef", u"tab\tinside"},
    };
    for (const Values& values : lists)
        EXPECT_EQ(values, ParseValueList(FormatValueList(values))) << testing::PrintToString(values);
}

TEST(ValueList, ParseSkipsBlanksAndEmptyValues)
{
    EXPECT_EQ(Values{}, ParseValueList(u""));
    EXPECT_EQ(Values{}, ParseValueList(u" ;; ; "));
    EXPECT_EQ((Values{u"a", u"b"}), ParseValueList(u"a;;b"));
    EXPECT_EQ((Values{u"a", u"b"}), ParseValueList(u"a; ;b;"));
    // Blanks before a value are skipped, Unicode ones too; blanks after it are kept.
    EXPECT_EQ((Values{u"a ", u"b"}), ParseValueList(u"  a ;\u3000\u00A0\tb"));
    EXPECT_EQ((Values{u"one two"}), ParseValueList(u"one two"));
    EXPECT_EQ((Values{u"a", u"b"}), ParseValueList(u"  a;  b"));
}

TEST(ValueList, ParseFollowsTheQuoteRules)
{
    // A doubled quote outside quotes stands for one; a single one opens a quoted value.
    EXPECT_EQ((Values{u"\"a\""}), ParseValueList(u"\"\"a\"\""));
    EXPECT_EQ((Values{u"a;b", u"c"}), ParseValueList(u"\"a;b\"; c"));
    // Inside quotes the next quote ends the value, and what follows starts a new one.
    EXPECT_EQ((Values{u"a", u"b;c"}), ParseValueList(u"\"a\"\"b;c\""));
    EXPECT_EQ((Values{u"a", u"b"}), ParseValueList(u"\"a\"b"));
    // An open quote at the end keeps what it holds.
    EXPECT_EQ((Values{u"ab;c"}), ParseValueList(u"\"ab;c"));
    EXPECT_EQ((Values{u"\""}), ParseValueList(u"\"\"\""));
    // So the written form loses blanks that lead a value, and splits a value holding both a
    // quote and a semicolon after the quote.
    EXPECT_EQ((Values{u"lead"}), ParseValueList(FormatValueList({u"  lead"})));
    EXPECT_EQ((Values{u"x", u"y;z"}), ParseValueList(FormatValueList({u"x\"y;z"})));
}
