// The XPath subset: each supported form, document order, and refusals.
#include "Platform/Xml/XPathQuery.h"

#include "Platform/Xml/XmlTestSupport.h"

#include <vector>

using namespace qmtest;

namespace
{
const char16_t* const kDocument =
    u"<LIBRARY_ITEM id='1'><NAME>clip</NAME>"
    u"<LIBRARY_ITEM id='2' _tag='true'><LIBRARY_ITEM id='3' _tag='true'/></LIBRARY_ITEM>"
    u"<LIBRARY_ITEM id='4' _tag='false'/><Library.MDProperties id='5'/>"
    u"<AudioMatrix><Output id='6'/><Output id='7'/></AudioMatrix>"
    u"<Categories><Category id='8'><Category id='9'/></Category></Categories></LIBRARY_ITEM>";

// The ids of what the query selects, in the order given.
std::vector<std::u16string> Ids(IXMLDOMNode* context, const char16_t* query)
{
    ComPtr<IXMLDOMNodeList> list;
    EXPECT_EQ(S_OK, context->selectNodes(CComBSTR(query), list.GetAddressOf()));
    std::vector<std::u16string> ids;
    ComPtr<IXMLDOMNode> node;
    while (list && list->nextNode(node.ReleaseAndGetAddressOf()) == S_OK)
    {
        CComVariant id;
        Element(node.Get())->getAttribute(CComBSTR(u"id"), &id);
        ids.emplace_back(id.vt == VT_BSTR ? qm::BstrView(id.bstrVal) : u"?");
    }
    return ids;
}

using Ids_t = std::vector<std::u16string>;
} // namespace

TEST(XPathQuery, SupportedForms)
{
    auto document = LoadXml(kDocument);
    auto root = Select(document.Get(), u"LIBRARY_ITEM");
    EXPECT_EQ(Ids_t({u"2", u"4"}), Ids(root.Get(), u"LIBRARY_ITEM"));
    EXPECT_EQ(Ids_t({u"5"}), Ids(root.Get(), u"Library.MDProperties"));
    EXPECT_EQ(Ids_t({u"6", u"7"}), Ids(root.Get(), u"AudioMatrix/Output"));
    EXPECT_EQ(Ids_t({u"8", u"9"}), Ids(root.Get(), u"//Category"));
    EXPECT_EQ(Ids_t({u"2", u"3"}), Ids(document.Get(), u"//LIBRARY_ITEM/LIBRARY_ITEM[@_tag='true']"));
    EXPECT_EQ(Ids_t({u"2", u"3", u"4"}), Ids(root.Get(), u"//LIBRARY_ITEM/LIBRARY_ITEM[@_tag]"));
    EXPECT_EQ(Ids_t({u"4"}), Ids(root.Get(), u"LIBRARY_ITEM[@_tag=\"false\"]"));
    EXPECT_EQ(Ids_t({u"1"}), Ids(document.Get(), u"/LIBRARY_ITEM"));
    EXPECT_EQ(Ids_t({u"9"}), Ids(root.Get(), u"Categories//Category[@id='9']"));
    EXPECT_EQ(Ids_t({u"6", u"7"}), Ids(root.Get(), u"*/Output"));
    EXPECT_EQ(Ids_t({u"1"}), Ids(Select(root.Get(), u"NAME").Get(), u".."));
    EXPECT_EQ(Ids_t(), Ids(root.Get(), u"Missing/Output"));

    // "//" searches the whole tree of the node, from wherever it is asked.
    auto deep = Select(root.Get(), u"AudioMatrix/Output");
    EXPECT_EQ(Ids_t({u"8", u"9"}), Ids(deep.Get(), u"//Category"));
    // Nested matches come once each, in document order.
    EXPECT_EQ(Ids_t({u"1", u"2", u"3", u"4"}), Ids(document.Get(), u"//LIBRARY_ITEM"));
    EXPECT_EQ(Ids_t({u"2", u"3", u"4"}), Ids(document.Get(), u"//LIBRARY_ITEM//LIBRARY_ITEM"));
    EXPECT_EQ(Ids_t({u"1"}), Ids(root.Get(), u"LIBRARY_ITEM/.."));
}

TEST(XPathQuery, SelectedListStaysValidWhileItsNodesAreRemoved)
{
    auto document = LoadXml(kDocument);
    ComPtr<IXMLDOMNodeList> list;
    ASSERT_EQ(S_OK, document->selectNodes(CComBSTR(u"//Category"), list.GetAddressOf()));
    LONG length = 0;
    ASSERT_EQ(S_OK, list->get_length(&length));
    ASSERT_EQ(2, length);
    ComPtr<IXMLDOMNode> node, parent;
    while (list->nextNode(node.ReleaseAndGetAddressOf()) == S_OK)
    {
        node->get_parentNode(parent.ReleaseAndGetAddressOf());
        ASSERT_EQ(S_OK, parent->removeChild(node.Get(), nullptr));
    }
    EXPECT_EQ(nullptr, node.Get());
    EXPECT_EQ(S_FALSE, list->nextNode(node.GetAddressOf()));
    EXPECT_EQ(u"<Categories/>", XmlOf(Select(document.Get(), u"//Categories").Get()));
    ComPtr<IXMLDOMNode> item;
    ASSERT_EQ(S_OK, list->get_item(1, item.GetAddressOf()));
    EXPECT_EQ(S_FALSE, list->get_item(2, item.ReleaseAndGetAddressOf()));
    EXPECT_EQ(nullptr, item.Get());
}

TEST(XPathQuery, UnsupportedExpressionsAreRefused)
{
    auto document = LoadXml(kDocument);
    for (const char16_t* query : {u"", u"a/", u"a[1]", u"a[@b=c]", u"a[@b='c'", u"text()", u"a|b", u"@id",
                                  u"count(a)", u"a[b]", u"a//", u"///a", u"a[@b!='c']", u".[@id='1']",
                                  u"LIBRARY_ITEM/..[@id]", u"LIBRARY_ITEM/.[@id='none']"})
    {
        ComPtr<IXMLDOMNode> node;
        EXPECT_EQ(E_INVALIDARG, document->selectSingleNode(CComBSTR(query), node.GetAddressOf()))
            << std::string(query, query + std::char_traits<char16_t>::length(query));
        ComPtr<IXMLDOMNodeList> list;
        EXPECT_EQ(E_INVALIDARG, document->selectNodes(CComBSTR(query), list.GetAddressOf()));
    }
}
