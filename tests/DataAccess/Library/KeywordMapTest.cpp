// The keyword map of a clip: case rules, the dirty flag, and its CATEGORIES element.
#include "qm/Library/KeywordMap.h"

#include "Platform/Xml/XmlTestSupport.h"
#include "Support/LogCapture.h"
#include "qm/Logging.h"

#include <chrono>
#include <string>
#include <vector>

using namespace Quillmar::Library::Native;
using namespace qmtest;

namespace
{
using Values = std::vector<std::u16string>;

class KeywordMapTest : public testing::Test
{
protected:
    // An item node holding xml inside its LIBRARY_ITEM.
    ComPtr<IXMLDOMNode> Item(std::u16string_view inner = u"")
    {
        m_document = LoadXml(u"<LIBRARY_ITEM><NAME>clip</NAME>" + std::u16string(inner) + u"</LIBRARY_ITEM>");
        return Select(m_document.Get(), u"LIBRARY_ITEM");
    }

    // Flushes to a scratch node, which leaves the map clean.
    void Clean(KeywordMap& map)
    {
        auto scratch = LoadXml(u"<LIBRARY_ITEM/>");
        ASSERT_EQ(S_OK, map.Flush(Select(scratch.Get(), u"LIBRARY_ITEM").Get()));
        ASSERT_FALSE(map.IsDirty());
    }

    Values ValuesOf(const KeywordMap& map, const std::u16string& category)
    {
        Values values;
        for (const Keyword& keyword : map.GetKeywordsOfCategory(category))
            values.push_back(keyword.second);
        return values;
    }

    ComPtr<IXMLDOMDocument2> m_document;
    LogCapture m_log;
};
} // namespace

TEST_F(KeywordMapTest, CategoriesAndValuesIgnoreCaseAndKeepTheirSpelling)
{
    KeywordMap map;
    EXPECT_EQ(S_OK, map.AddKeyword({u"Équipe", u"Rouge"}));
    EXPECT_EQ(S_OK, map.AddKeyword({u"ÉQUIPE", u"bleu"}));
    EXPECT_EQ(S_OK, map.AddKeyword({u"équipe", u"ROUGE"}));
    EXPECT_EQ(std::vector<std::u16string>{u"Équipe"}, map.get_Categories());
    EXPECT_EQ((Values{u"bleu", u"ROUGE"}), ValuesOf(map, u"éQuIpE"));
    EXPECT_TRUE(map.HasKeyword(u"ÉQUIPE", u"rouge"));
    EXPECT_TRUE(map.HasKeyword(u"équipe", u""));
    EXPECT_FALSE(map.HasKeyword(u"équipe", u"vert"));
    EXPECT_EQ(u"Équipe", map.get_Keywords().front().first);

    // The order of categories ignores case, whatever the order of insertion; folded
    // code units decide, so "é" comes after every ASCII letter.
    for (const char16_t* category : {u"beta", u"ALPHA2", u"Gamma", u"alpha"})
        map.AddCategoryValue(category, u"v");
    EXPECT_EQ((std::vector<std::u16string>{u"alpha", u"ALPHA2", u"beta", u"Gamma", u"Équipe"}), map.get_Categories());

    // Duplicates inside one call collapse to the last spelling, at its place.
    EXPECT_EQ(S_OK, map.AddCategoryValues(u"Player", {u"x", u"Y", u"X", u"z"}));
    EXPECT_EQ((Values{u"Y", u"X", u"z"}), ValuesOf(map, u"player"));
    EXPECT_EQ(S_OK, map.AddCategoryValues(u"PLAYER", {u"y", u"w"}));
    EXPECT_EQ((Values{u"X", u"z", u"y", u"w"}), ValuesOf(map, u"player"));
    EXPECT_EQ(4u, map.GetValueCount(u"player"));
    EXPECT_EQ(u"z", map.GetValueAt(u"player", 1));
    EXPECT_EQ(u"w", map.GetValueAtIndex(u"Player", 3));
    EXPECT_EQ(u"", map.GetValueAt(u"player", 4));
    EXPECT_EQ(u"", map.GetValueAt(u"nobody", 0));
    EXPECT_EQ(0u, map.GetValueCount(u"nobody"));
}

TEST_F(KeywordMapTest, SettersReplaceTheWholeCategory)
{
    KeywordMap map;
    map.AddCategoryValues(u"Team", {u"a", u"b"});
    EXPECT_EQ(S_OK, map.SetCategoryValues(u"TEAM", {u"c", u"C"}));
    EXPECT_EQ((Values{u"C"}), ValuesOf(map, u"team"));
    EXPECT_EQ(std::vector<std::u16string>{u"TEAM"}, map.get_Categories());
    EXPECT_EQ(S_OK, map.SetCategoryValue(u"team", u"d"));
    EXPECT_EQ((Values{u"d"}), ValuesOf(map, u"team"));
    EXPECT_EQ(S_OK, map.SetKeyword({u"Team", u"e"}));
    EXPECT_EQ((Values{u"e"}), ValuesOf(map, u"team"));
    // An empty list leaves a category without values.
    EXPECT_EQ(S_OK, map.SetCategoryValues(u"Team", {}));
    EXPECT_TRUE(map.HasCategory(u"team"));
    EXPECT_FALSE(map.HasValues(u"team"));
    EXPECT_TRUE(map.get_HasKeywords());
    EXPECT_TRUE(map.get_Keywords().empty());
}

TEST_F(KeywordMapTest, WhichOperationsMarkTheMapDirty)
{
    KeywordMap map;
    EXPECT_FALSE(map.IsDirty());
    // Nothing to do: S_FALSE and still clean.
    EXPECT_EQ(S_FALSE, map.AddCategoryValue(u"", u"v"));
    EXPECT_EQ(S_FALSE, map.AddCategoryValue(u"c", u""));
    EXPECT_EQ(S_FALSE, map.AddKeyword({u"c", u""}));
    EXPECT_EQ(S_FALSE, map.RemoveCategory(u"c"));
    EXPECT_EQ(S_FALSE, map.RenameCategory(u"c", u"d"));
    EXPECT_EQ(S_FALSE, map.ReplaceKeyword({u"c", u"v"}, {u"c", u"w"}));
    EXPECT_FALSE(map.IsDirty());

    // RemoveKeyword marks the map even when nothing goes.
    EXPECT_EQ(S_OK, map.RemoveKeyword({u"c", u"v"}));
    EXPECT_TRUE(map.IsDirty());
    map.AddCategoryValues(u"Team", {u"a", u"b"});
    Clean(map);
    EXPECT_EQ(S_OK, map.RemoveKeyword({u"team", u"unknown"}));
    EXPECT_TRUE(map.IsDirty());
    EXPECT_EQ((Values{u"a", u"b"}), ValuesOf(map, u"team"));
    EXPECT_EQ(S_OK, map.RemoveKeyword({u"team", u"A"}));
    EXPECT_EQ((Values{u"b"}), ValuesOf(map, u"team"));
    // The last value takes its category along; an empty value the whole category.
    EXPECT_EQ(S_OK, map.RemoveKeyword({u"team", u"B"}));
    EXPECT_FALSE(map.HasCategory(u"team"));
    map.AddCategoryValues(u"Team", {u"a", u"b"});
    EXPECT_EQ(S_OK, map.RemoveKeyword({u"TEAM", u""}));
    EXPECT_FALSE(map.get_HasKeywords());

    // Adding an empty list marks too, and ClearKeywords marks an empty map.
    Clean(map);
    EXPECT_EQ(S_OK, map.AddCategoryValues(u"Team", {}));
    EXPECT_TRUE(map.IsDirty());
    Clean(map);
    EXPECT_EQ(S_OK, map.RemoveCategory(u"TEAM"));
    EXPECT_TRUE(map.IsDirty());
    Clean(map);
    EXPECT_EQ(S_OK, map.ClearKeywords());
    EXPECT_TRUE(map.IsDirty());
}

TEST_F(KeywordMapTest, BadArgumentsAreLoggedWithTheirConditions)
{
    KeywordMap map;
    EXPECT_EQ(E_INVALIDARG, map.SetCategoryValues(u"", {u"v"}));
    EXPECT_EQ(E_INVALIDARG, map.SetCategoryValue(u"", u"v"));
    EXPECT_EQ(E_INVALIDARG, map.SetCategoryValue(u"c", u""));
    EXPECT_EQ(E_INVALIDARG, map.SetKeyword({u"c", u""}));
    EXPECT_EQ(E_INVALIDARG, map.AddCategoryValues(u"", {}));
    EXPECT_EQ(E_INVALIDARG, map.RemoveCategory(u""));
    EXPECT_EQ(E_INVALIDARG, map.RemoveKeyword({u"", u"v"}));
    EXPECT_EQ(E_INVALIDARG, map.RenameCategory(u"", u"d"));
    EXPECT_EQ(E_UNEXPECTED, map.Read(nullptr));
    EXPECT_FALSE(map.IsDirty());
    EXPECT_EQ(S_OK, map.ClearKeywords());
    EXPECT_EQ(E_UNEXPECTED, map.Flush(nullptr));
    const std::vector<std::string> expected = {
        "QMCheckCondition: !category.empty()",      "QMCheckCondition: !category.empty()",
        "QMCheckCondition: !value.empty()",         "QMCheckCondition: keyword.IsValid()",
        "QMCheckCondition: !category.empty()",      "QMCheckCondition: !category.empty()",
        "QMCheckCondition: !keyword.first.empty()", "QMCheckCondition: !oldCategory.empty()",
        "QMCheckCondition: itemNode != nullptr",    "QMCheckCondition: itemNode != nullptr",
    };
    EXPECT_EQ(expected, m_log.Lines(1));
}

TEST_F(KeywordMapTest, RenameAndReplace)
{
    KeywordMap map;
    map.AddCategoryValues(u"Team", {u"a", u"b"});
    map.AddCategoryValues(u"Player", {u"b", u"c"});
    EXPECT_EQ(S_OK, map.RenameCategory(u"team", u"Squad"));
    EXPECT_EQ((std::vector<std::u16string>{u"Player", u"Squad"}), map.get_Categories());
    EXPECT_EQ((Values{u"a", u"b"}), ValuesOf(map, u"squad"));
    // A new spelling of the same category takes the new spelling.
    EXPECT_EQ(S_OK, map.RenameCategory(u"squad", u"SQUAD"));
    EXPECT_EQ((std::vector<std::u16string>{u"Player", u"SQUAD"}), map.get_Categories());
    EXPECT_EQ((Values{u"a", u"b"}), ValuesOf(map, u"squad"));
    // Into a category that exists: it keeps its values and gains the missing ones.
    EXPECT_EQ(S_OK, map.RenameCategory(u"Squad", u"PLAYER"));
    EXPECT_EQ(std::vector<std::u16string>{u"Player"}, map.get_Categories());
    EXPECT_EQ((Values{u"b", u"c", u"a"}), ValuesOf(map, u"player"));
    // An empty new name removes.
    EXPECT_EQ(S_OK, map.RenameCategory(u"player", u""));
    EXPECT_FALSE(map.get_HasKeywords());
    EXPECT_EQ(S_FALSE, map.RenameCategory(u"player", u""));

    map.AddCategoryValues(u"Team", {u"a", u"b", u"c"});
    EXPECT_EQ(S_FALSE, map.ReplaceKeyword({u"Team", u"x"}, {u"Team", u"y"}));
    // The new value goes to the end of the old category, whatever category it names; a
    // value occurs once, so one that is there moves there with the new spelling.
    EXPECT_EQ(S_OK, map.ReplaceKeyword({u"TEAM", u"A"}, {u"Other", u"C"}));
    EXPECT_EQ((Values{u"b", u"C"}), ValuesOf(map, u"team"));
    EXPECT_FALSE(map.HasCategory(u"Other"));
    EXPECT_EQ(S_OK, map.ReplaceKeyword({u"Team", u"b"}, {u"Team", u""}));
    EXPECT_EQ(S_OK, map.ReplaceKeyword({u"Team", u"c"}, {}));
    EXPECT_EQ(S_FALSE, map.ReplaceKeyword({u"Team", u"c"}, {}));
    EXPECT_TRUE(map.HasCategory(u"team"));
    EXPECT_FALSE(map.HasValues(u"team"));
}

TEST_F(KeywordMapTest, ValuesAsText)
{
    KeywordMap map;
    map.AddCategoryValues(u"Team", {u"a;b", u"say \"hi\"", u"c"});
    EXPECT_EQ(u"\"a;b\"; say \"\"hi\"\"; c", map.GetValuesAsString(u"team"));
    EXPECT_EQ(u"", map.GetValuesAsString(u"other"));

    char16_t buffer[8] = u"keep";
    EXPECT_EQ(S_OK, map.GetValuesIntoBuffer(u"other", buffer, 8));
    EXPECT_EQ(std::u16string(u"keep"), buffer);
    EXPECT_EQ(S_OK, map.GetValuesIntoBuffer(u"team", buffer, 8));
    EXPECT_EQ(std::u16string(u"\"a;b\"; "), buffer);
    map.SetCategoryValue(u"Clef", u"ab\U0001D11E");
    EXPECT_EQ(S_OK, map.GetValuesIntoBuffer(u"clef", buffer, 4));
    EXPECT_EQ(std::u16string(u"ab"), buffer);
    EXPECT_EQ(S_OK, map.GetValuesIntoBuffer(u"clef", buffer, 5));
    EXPECT_EQ(std::u16string(u"ab\U0001D11E"), buffer);
    EXPECT_EQ(S_OK, map.GetValuesIntoBuffer(u"clef", buffer, 0));
}

TEST_F(KeywordMapTest, CompareCategoryOrdersItemsByOneCategory)
{
    KeywordMap missing, empty, low, high, longer;
    empty.AddCategoryValues(u"Team", {});
    low.AddCategoryValues(u"team", {u"alpha", u"Beta"});
    high.AddCategoryValues(u"TEAM", {u"alpha", u"gamma"});
    longer.AddCategoryValues(u"Team", {u"ALPHA", u"beta", u"delta"});

    EXPECT_EQ(1, missing.CompareCategory(missing, u"Team"));
    EXPECT_EQ(-1, missing.CompareCategory(empty, u"Team"));
    EXPECT_EQ(-1, missing.CompareCategory(low, u"Team"));
    EXPECT_EQ(1, low.CompareCategory(missing, u"Team"));
    EXPECT_EQ(1, empty.CompareCategory(empty, u"Team"));
    EXPECT_EQ(-1, empty.CompareCategory(low, u"Team"));
    EXPECT_EQ(1, low.CompareCategory(empty, u"Team"));
    EXPECT_LT(low.CompareCategory(high, u"team"), 0);
    EXPECT_GT(high.CompareCategory(low, u"team"), 0);
    EXPECT_EQ(0, low.CompareCategory(longer, u"team"));
    EXPECT_EQ(0, longer.CompareCategory(low, u"team"));
}

TEST_F(KeywordMapTest, ReadSkipsElementsWithoutNameOrText)
{
    auto item = Item(u"<CATEGORIES>"
                     u"<CATEGORY name=\"Team\">Home</CATEGORY>"
                     u"<CATEGORY>no name</CATEGORY>"
                     u"<CATEGORY name=\"\">empty name</CATEGORY>"
                     u"<CATEGORY name=\"Team\"></CATEGORY>"
                     u"<CATEGORY name=\"Team\">   </CATEGORY>"
                     u"<OTHER name=\"Team\">other</OTHER>"
                     u"<CATEGORY name=\"TEAM\">away</CATEGORY>"
                     u"<CATEGORY name=\"team\">HOME</CATEGORY>"
                     u"</CATEGORIES>");
    KeywordMap map;
    map.AddCategoryValue(u"Stale", u"gone");
    EXPECT_EQ(S_OK, map.Read(item.Get()));
    EXPECT_FALSE(map.IsDirty());
    EXPECT_EQ(std::vector<std::u16string>{u"Team"}, map.get_Categories());
    EXPECT_EQ((Values{u"away", u"HOME"}), ValuesOf(map, u"team"));

    // Without CATEGORIES the map is emptied and clean.
    map.AddCategoryValue(u"Stale", u"gone");
    EXPECT_EQ(S_FALSE, map.Read(Item().Get()));
    EXPECT_FALSE(map.get_HasKeywords());
    EXPECT_FALSE(map.IsDirty());
    EXPECT_TRUE(m_log.Lines(1).empty());
}

TEST_F(KeywordMapTest, FlushRewritesTheCategoryElements)
{
    auto item = Item(u"<CATEGORIES><CATEGORY>nameless</CATEGORY><CATEGORY name=\"Old\">x</CATEGORY>"
                     u"<KEEP/></CATEGORIES><AFTER/>");
    KeywordMap map;
    ASSERT_EQ(S_OK, map.Read(item.Get()));
    // A clean map writes nothing.
    EXPECT_EQ(S_FALSE, map.Flush(item.Get()));
    EXPECT_NE(std::u16string::npos, XmlOf(item.Get()).find(u"nameless"));

    map.AddCategoryValues(u"Team", {u"b", u"a"});
    map.AddCategoryValue(u"Player", u"7 & <8>");
    EXPECT_EQ(S_OK, map.Flush(item.Get()));
    EXPECT_FALSE(map.IsDirty());
    EXPECT_EQ(u"<LIBRARY_ITEM><NAME>clip</NAME><CATEGORIES><KEEP/>"
              u"<CATEGORY name=\"Old\">x</CATEGORY>"
              u"<CATEGORY name=\"Player\">7 &amp; &lt;8&gt;</CATEGORY>"
              u"<CATEGORY name=\"Team\">b</CATEGORY><CATEGORY name=\"Team\">a</CATEGORY>"
              u"</CATEGORIES><AFTER/></LIBRARY_ITEM>",
              XmlOf(item.Get()));

    // An empty map leaves CATEGORIES in place, and a missing one is made at the end.
    map.ClearKeywords();
    EXPECT_EQ(S_OK, map.Flush(item.Get()));
    EXPECT_EQ(u"<LIBRARY_ITEM><NAME>clip</NAME><CATEGORIES><KEEP/></CATEGORIES><AFTER/></LIBRARY_ITEM>",
              XmlOf(item.Get()));
    auto bare = Item();
    map.ClearKeywords();
    EXPECT_EQ(S_OK, map.Flush(bare.Get()));
    EXPECT_EQ(u"<LIBRARY_ITEM><NAME>clip</NAME><CATEGORIES/></LIBRARY_ITEM>", XmlOf(bare.Get()));
}

TEST_F(KeywordMapTest, AFailedFlushKeepsTheMapDirty)
{
    auto item = Item();
    KeywordMap map;
    map.AddCategoryValue(u"Team", u"a");
    map.AddCategoryValue(u"Zone", u"bad\u0001text");
    EXPECT_EQ(E_INVALIDARG, map.Flush(item.Get()));
    EXPECT_TRUE(map.IsDirty());
    EXPECT_FALSE(m_log.Lines(1).empty());
    map.RemoveCategory(u"zone");
    EXPECT_EQ(S_OK, map.Flush(item.Get()));
    EXPECT_EQ(u"<LIBRARY_ITEM><NAME>clip</NAME><CATEGORIES><CATEGORY name=\"Team\">a</CATEGORY></CATEGORIES>"
              u"</LIBRARY_ITEM>",
              XmlOf(item.Get()));
}

TEST_F(KeywordMapTest, NonAsciiKeywordsSurviveFlushAndRead)
{
    KeywordMap written;
    written.AddCategoryValues(u"チーム", {u"東京", u"\U0001F3D2 hockey", u"Zürich"});
    written.AddCategoryValue(u"\U0001D11E", u"clé");
    ASSERT_EQ(S_OK, written.Flush(Item().Get()));

    // Through the saved text, as a sidecar travels.
    auto reloaded = LoadXml(XmlOf(m_document.Get()));
    KeywordMap read;
    ASSERT_EQ(S_OK, read.Read(Select(reloaded.Get(), u"LIBRARY_ITEM").Get()));
    EXPECT_EQ(written.get_Keywords(), read.get_Keywords());
    EXPECT_EQ((Values{u"東京", u"\U0001F3D2 hockey", u"Zürich"}), ValuesOf(read, u"チーム"));
    EXPECT_TRUE(read.HasKeyword(u"\U0001D11E", u"CLÉ"));
}

// A large category loads and grows in time in proportion to its values: 30,000 values take
// some tenths of a second, where a search of the category for each value took many seconds.
// The bound is generous, so that a busy machine or a sanitizer does not decide.
TEST_F(KeywordMapTest, ALargeCategoryLoadsAndGrowsInLinearTime)
{
    using Clock = std::chrono::steady_clock;
    constexpr std::size_t n = 30000;
    constexpr double kBoundSeconds = 3.0;
    const auto valueOf = [](std::size_t i) {
        const std::string digits = std::to_string(i);
        return u"Value " + std::u16string(digits.begin(), digits.end());
    };
    const auto seconds = [](auto run) {
        const auto start = Clock::now();
        run();
        return std::chrono::duration<double>(Clock::now() - start).count();
    };

    std::u16string xml = u"<CATEGORIES>";
    for (std::size_t i = 0; i < n; ++i)
        xml += u"<CATEGORY name=\"Team\">" + valueOf(i) + u"</CATEGORY>";
    const auto item = Item(xml + u"</CATEGORIES>");
    KeywordMap loaded;
    EXPECT_LT(seconds([&] { ASSERT_EQ(S_OK, loaded.Read(item.Get())); }), kBoundSeconds);
    EXPECT_EQ(n, loaded.GetValueCount(u"team"));

    KeywordMap grown;
    EXPECT_LT(seconds([&] {
                  // The second pass moves every value to the end, in another spelling.
                  for (int pass = 0; pass < 2; ++pass)
                      for (std::size_t i = 0; i < n; ++i)
                          grown.AddCategoryValue(u"Team", pass ? qm::ToLower(valueOf(i)) : valueOf(i));
              }),
              kBoundSeconds);
    ASSERT_EQ(n, grown.GetValueCount(u"TEAM"));
    EXPECT_EQ(u"value 0", grown.GetValueAt(u"team", 0));
    EXPECT_EQ(qm::ToLower(valueOf(n - 1)), grown.GetValueAt(u"team", n - 1));
}
