#include "qm/Platform/Com/Bstr.h"

#include <gtest/gtest.h>

TEST(Bstr, LengthComesFromThePrefixSoEmbeddedNulsCount)
{
    const char16_t text[] = {u'a', u'\0', u'b', u'\0'};
    BSTR withNul = SysAllocStringLen(text, 3);
    ASSERT_NE(nullptr, withNul);
    EXPECT_EQ(3u, SysStringLen(withNul));
    EXPECT_EQ(6u, SysStringByteLen(withNul));
    EXPECT_EQ(u'\0', withNul[3]);
    EXPECT_EQ(std::u16string_view(text, 3), qm::BstrView(withNul));
    // SysAllocString stops at the first NUL.
    BSTR cut = SysAllocString(withNul);
    EXPECT_EQ(1u, SysStringLen(cut));
    SysFreeString(withNul);
    SysFreeString(cut);

    // Null is length 0 and frees safely; an empty string is not null.
    EXPECT_EQ(0u, SysStringLen(nullptr));
    SysFreeString(nullptr);
    BSTR empty = SysAllocString(u"");
    ASSERT_NE(nullptr, empty);
    EXPECT_EQ(0u, SysStringLen(empty));
    SysFreeString(empty);
    EXPECT_EQ(nullptr, SysAllocString(nullptr));

    // No source: a zeroed string of the length asked.
    BSTR zeroed = SysAllocStringLen(nullptr, 4);
    EXPECT_EQ(std::u16string(4, u'\0'), qm::BstrView(zeroed));
    SysFreeString(zeroed);

    BSTR odd = SysAllocStringByteLen("abc", 3);
    EXPECT_EQ(3u, SysStringByteLen(odd));
    EXPECT_EQ(1u, SysStringLen(odd));
    SysFreeString(odd);
}

TEST(Bstr, HolderOwnsExactlyOneString)
{
    CComBSTR a(u"text");
    CComBSTR b = a;
    EXPECT_NE(a.m_str, b.m_str);
    EXPECT_EQ(a.View(), b.View());
    CComBSTR c = std::move(a);
    EXPECT_EQ(nullptr, a.m_str);
    EXPECT_EQ(u"text", c.View());

    BSTR copy = nullptr;
    ASSERT_EQ(S_OK, c.CopyTo(&copy));
    EXPECT_NE(copy, c.m_str);
    CComBSTR adopted;
    adopted.Attach(copy);
    EXPECT_EQ(u"text", adopted.View());
    BSTR detached = adopted.Detach();
    EXPECT_TRUE(adopted.IsNull());
    SysFreeString(detached);

    CComBSTR null;
    BSTR out = reinterpret_cast<BSTR>(1);
    EXPECT_EQ(S_OK, null.CopyTo(&out));
    EXPECT_EQ(nullptr, out);
    EXPECT_EQ(E_POINTER, null.CopyTo(nullptr));
    // An out-parameter slot frees what was held before.
    *c.ReleaseAndGetAddressOf() = SysAllocString(u"again");
    EXPECT_EQ(u"again", c.View());
}

TEST(Bstr, ReallocationAndAssignmentKeepNullApartFromEmpty)
{
    BSTR text = SysAllocString(u"first");
    ASSERT_EQ(TRUE, SysReAllocString(&text, u"second one"));
    EXPECT_EQ(u"second one", qm::BstrView(text));
    // Reallocating from the string's own characters reads them before they go.
    ASSERT_EQ(TRUE, SysReAllocString(&text, text + 7));
    EXPECT_EQ(u"one", qm::BstrView(text));
    ASSERT_EQ(TRUE, SysReAllocString(&text, nullptr));
    EXPECT_EQ(nullptr, text);
    EXPECT_EQ(FALSE, SysReAllocString(nullptr, u"x"));

    CComBSTR holder;
    EXPECT_TRUE(holder.IsNull());
    holder = u"";
    EXPECT_FALSE(holder.IsNull());
    EXPECT_EQ(0u, holder.Length());
    holder = std::u16string_view(u"a\0b", 3);
    EXPECT_EQ(3u, holder.Length());
    BSTR copy = holder.Copy();
    EXPECT_EQ(3u, SysStringLen(copy));
    SysFreeString(copy);
    holder = static_cast<const OLECHAR*>(nullptr);
    EXPECT_TRUE(holder.IsNull());
    EXPECT_EQ(nullptr, holder.Copy());
}
