#include "DataAccess/Library/ClipTestSupport.h"

#include "qm/Library/CategoryManager.h"
#include "qm/Library/LibraryItemQuery.h"

#include <gtest/gtest.h>

namespace
{
class LibraryItemQueryTest : public qmtest::ClipTest
{
protected:
    void SetUp() override
    {
        ClipTest::SetUp();
        ASSERT_EQ(m_factory->CreateQuery(m_query.GetAddressOf()), S_OK);
        m_goal = ClipWith("match.mp4", u"Great GOAL", u"", {{u"Team", u"b"}, {u"Play", u"Corner"}});
        m_team = ClipWith("équipe.mp4", u"ÉQUIPE A", u"a comment", {{u"team", u"A"}});
        m_goals = ClipWith("other.mp4", u"", u"", {{u"Goals", u"x"}});
    }

    ComPtr<ILibraryItem> ClipWith(const std::string& name, const wstring& title, const wstring& comment,
                                  const std::vector<Keyword>& keywords)
    {
        ComPtr<ILibraryItem> item = Clip(name);
        Marker(item.Get())->put_Title(title);
        Marker(item.Get())->put_Comment(comment);
        for (const Keyword& keyword : keywords)
            item->AddKeyword(keyword);
        return item;
    }

    // Which of the three clips match, as "g t s" letters.
    std::string Matches()
    {
        std::string result;
        for (const auto& [letter, item] : {std::pair{'g', m_goal.Get()}, {'t', m_team.Get()}, {'s', m_goals.Get()}})
            if (m_query->Match(item))
                result += letter;
        return result;
    }

    ComPtr<ILibraryItemQuery> m_query;
    ComPtr<ILibraryItem> m_goal, m_team, m_goals;
};

TEST_F(LibraryItemQueryTest, CategoriesJoinByAndTheirValuesByOrIgnoringCase)
{
    EXPECT_EQ(Matches(), "gts");
    EXPECT_FALSE(m_query->Match(nullptr));
    m_query->AddKeyword({u"TEAM", u"a"});
    m_query->AddKeyword({u"team", u"B"});
    EXPECT_EQ(Matches(), "gt");
    m_query->AddKeyword({u"Play", u""});
    EXPECT_EQ(Matches(), "g");
    EXPECT_TRUE(m_query->RemoveKeyword({u"play", u""}));
    EXPECT_TRUE(m_query->RemoveKeyword({u"Team", u"a"}));
    EXPECT_EQ(Matches(), "g");
    EXPECT_FALSE(m_query->RemoveKeyword({u"Team", u"z"}));
    EXPECT_TRUE(m_query->RemoveKeyword({u"Team", u"b"}));
    EXPECT_FALSE(m_query->HasCategory(u"Team")); // the last value took its category with it
    EXPECT_EQ(Matches(), "gts");
}

TEST_F(LibraryItemQueryTest, AnEmptyValueMakesACategoryOfAnyValue)
{
    m_query->AddKeyword({u"Team", u"A"});
    m_query->AddKeyword({u"Team", u""});
    EXPECT_FALSE(m_query->HasKeyword({u"Team", u"A"}));
    EXPECT_TRUE(m_query->HasKeyword({u"team", u""}));
    EXPECT_EQ(Matches(), "gt");
    m_query->AddKeyword({u"Team", u"A"});
    EXPECT_TRUE(m_query->HasKeyword({u"Team", u"a"}));
    EXPECT_FALSE(m_query->HasKeyword({u"Team", u""}));
}

TEST_F(LibraryItemQueryTest, TextSearchesNameTitleCommentAndKeywordsAsOnePhrase)
{
    const std::vector<std::pair<wstring, std::string>> cases = {
        {u"goal", "gs"},       // the title "Great GOAL", the category "Goals"
        {u"équipe", "t"},      // non-ASCII, other case, in the title and the file name
        {u"COMMENT", "t"},
        {u"corner", "g"},      // a keyword's value
        {u"great goal", "g"},  // a phrase, not words
        {u"goal great", ""},
        {u"match.mp4", ""},    // the name has no extension
        {u"MATCH", "g"},
    };
    for (const auto& [text, expected] : cases)
    {
        SCOPED_TRACE(std::string(text.begin(), text.end()));
        m_query->put_SearchText(text);
        EXPECT_EQ(m_query->get_SearchText(), text);
        EXPECT_EQ(Matches(), expected);
    }
    // Criteria and text join by AND.
    m_query->put_SearchText(u"goal");
    m_query->AddKeyword({u"Goals", u""});
    EXPECT_EQ(Matches(), "s");
    m_query->Clear();
    EXPECT_EQ(Matches(), "gts");
}

TEST_F(LibraryItemQueryTest, CloneCopiesAndRenameMergesIntoAnExistingCategory)
{
    m_query->AddKeyword({u"Team", u"b"});
    m_query->AddKeyword({u"Play", u"Corner"});
    m_query->put_SearchText(u"great");
    ComPtr<ILibraryItemQuery> clone;
    ASSERT_EQ(m_query->Clone(clone.GetAddressOf()), S_OK);
    m_query->Clear();
    EXPECT_EQ(clone->get_SearchText(), u"great");
    EXPECT_TRUE(clone->Match(m_goal.Get()));
    EXPECT_FALSE(clone->Match(m_team.Get()));

    EXPECT_TRUE(clone->RenameCategory(u"PLAY", u"team"));
    EXPECT_FALSE(clone->HasCategory(u"Play"));
    EXPECT_TRUE(clone->HasKeyword({u"Team", u"b"}));
    EXPECT_FALSE(clone->HasKeyword({u"Team", u"Corner"}));
    EXPECT_FALSE(clone->RenameCategory(u"Unknown", u"X"));
    clone->RemoveCategory(u"TEAM");
    EXPECT_FALSE(clone->HasCategory(u"Team"));
}

TEST_F(LibraryItemQueryTest, PruneKeepsOnlyWhatTheVocabularyKnows)
{
    ComPtr<ICategoryManager> vocabulary;
    ASSERT_EQ(CreateCategoryManager(vocabulary.GetAddressOf()), S_OK);
    vocabulary->AddKeyword({u"Team", u"A"});
    vocabulary->AddCategory(u"Play");
    m_query->AddKeyword({u"team", u"a"});
    m_query->AddKeyword({u"Team", u"Gone"});
    m_query->AddKeyword({u"Play", u"Corner"}); // no value left: the category goes
    m_query->AddKeyword({u"Unknown", u""});
    m_query->AddKeyword({u"PLAY", u""});
    m_query->RemoveKeyword({u"Play", u""});
    m_query->AddKeyword({u"Play", u"Corner"});
    ASSERT_EQ(m_query->PruneAgainstCategories(vocabulary.Get()), S_OK);
    EXPECT_TRUE(m_query->HasKeyword({u"Team", u"A"}));
    EXPECT_FALSE(m_query->HasKeyword({u"Team", u"Gone"}));
    EXPECT_FALSE(m_query->HasCategory(u"Play"));
    EXPECT_FALSE(m_query->HasCategory(u"Unknown"));

    m_query->AddKeyword({u"Play", u""});
    ASSERT_EQ(m_query->PruneAgainstCategories(vocabulary.Get()), S_OK);
    EXPECT_TRUE(m_query->HasKeyword({u"Play", u""})); // any value stays while the category does
    EXPECT_EQ(m_query->PruneAgainstCategories(nullptr), E_INVALIDARG);
}
} // namespace
