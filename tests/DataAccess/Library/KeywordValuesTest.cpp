// The values of one keyword category: order, case, and places after many moves and removals.
#include "qm/Library/KeywordValues.h"

#include "qm/Platform/Text/CaseFolding.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

using Quillmar::Library::Native::KeywordValues;

namespace
{
using Values = std::vector<std::u16string>;

Values ByPlace(const KeywordValues& values)
{
    Values out;
    for (std::size_t i = 0; i < values.size(); ++i)
        out.push_back(*values.At(i));
    return out;
}
} // namespace

TEST(KeywordValuesTest, AValueOccursOnceAndMovesToTheEndWithItsNewSpelling)
{
    KeywordValues values;
    values.Append(u"Rouge");
    values.Append(u"bleu");
    values.Append(u"ROUGE");
    EXPECT_EQ((Values{u"bleu", u"ROUGE"}), values.ToVector());
    EXPECT_EQ((Values{u"bleu", u"ROUGE"}), ByPlace(values));
    EXPECT_TRUE(values.Holds(u"rouge"));
    EXPECT_EQ(nullptr, values.At(2));
    EXPECT_FALSE(values.Remove(u"vert"));
    EXPECT_TRUE(values.Remove(u"BLEU"));
    EXPECT_FALSE(values.Holds(u"bleu"));
    EXPECT_TRUE(values.Remove(u"rouge"));
    EXPECT_TRUE(values.empty());
    EXPECT_EQ(nullptr, values.At(0));
}

// Against a plain list that does the same by linear search: every place, through the
// gaps that moves and removals leave and the compactions that close them.
TEST(KeywordValuesTest, PlacesStayRightThroughMovesRemovalsAndCompactions)
{
    std::mt19937 random(7);
    KeywordValues values;
    Values model;
    const auto indexOf = [&](const std::u16string& value) {
        return std::find_if(model.begin(), model.end(), [&](const auto& v) { return qm::EqualsNoCase(v, value); });
    };
    for (int step = 0; step < 4000; ++step)
    {
        std::u16string value = u"v" + std::u16string(1, static_cast<char16_t>(u'a' + random() % 26)) +
                               std::u16string(1, static_cast<char16_t>(u'A' + random() % 8));
        if (random() % 3 == 0)
        {
            const bool held = indexOf(value) != model.end();
            if (held)
                model.erase(indexOf(value));
            ASSERT_EQ(held, values.Remove(value));
        }
        else
        {
            if (const auto it = indexOf(value); it != model.end())
                model.erase(it);
            model.push_back(value);
            values.Append(value);
        }
        ASSERT_EQ(model.size(), values.size());
        if (step % 97 == 0)
        {
            ASSERT_EQ(model, ByPlace(values)) << step;
        }
    }
    EXPECT_EQ(model, ByPlace(values));
    EXPECT_EQ(model, values.ToVector());
}
