// Identity and lifetime of DOM nodes: the same node is the same object, a held node keeps
// its tree and document alive, and what nobody holds is freed at once.
#include "Platform/Xml/XmlNodeCore.h"

#include "Platform/Xml/XmlTestSupport.h"
#include "Support/FailingAllocator.h"

#include <thread>

using namespace qmtest;
using qm::xml::XmlNodeCore;

namespace
{
const char16_t* const kTree = u"<root><a><b/><c>text</c></a><d/></root>";

// Counts of live nodes are compared with the count before a test's documents existed.
class NodeLifetime : public testing::Test
{
protected:
    long Alive() const { return XmlNodeCore::LiveNodes() - m_before; }

private:
    long m_before = XmlNodeCore::LiveNodes();
};
} // namespace

TEST(XmlNodeIdentity, SameNodeIsSameObjectThroughEveryRoute)
{
    auto document = LoadXml(kTree);
    auto a1 = Select(document.Get(), u"root/a");
    auto a2 = Select(document.Get(), u"//a");
    ComPtr<IXMLDOMNode> root;
    ASSERT_EQ(S_OK, document->get_firstChild(root.GetAddressOf()));
    ComPtr<IXMLDOMNode> a3;
    ASSERT_EQ(S_OK, root->get_firstChild(a3.GetAddressOf()));
    EXPECT_EQ(Identity(a1.Get()), Identity(a2.Get()));
    EXPECT_EQ(Identity(a1.Get()), Identity(a3.Get()));
    EXPECT_EQ(Identity(a1.Get()), Identity(Element(a1.Get()).Get()));

    // Still the same object after it moved to another parent and another document.
    auto d = Select(document.Get(), u"root/d");
    ASSERT_EQ(S_OK, d->appendChild(a1.Get(), nullptr));
    EXPECT_EQ(Identity(a1.Get()), Identity(Select(document.Get(), u"root/d/a").Get()));
    auto other = LoadXml(u"<other/>");
    auto otherRoot = Select(other.Get(), u"other");
    ASSERT_EQ(S_OK, otherRoot->appendChild(a1.Get(), nullptr));
    EXPECT_EQ(Identity(a1.Get()), Identity(Select(other.Get(), u"other/a").Get()));
    ComPtr<IXMLDOMDocument> owner;
    ASSERT_EQ(S_OK, a1->get_ownerDocument(owner.GetAddressOf()));
    EXPECT_EQ(Identity(owner.Get()), Identity(other.Get()));
    EXPECT_EQ(nullptr, Select(document.Get(), u"//a").Get());
}

TEST_F(NodeLifetime, HeldNodeKeepsItsTreeAndDocumentAlive)
{
    ComPtr<IXMLDOMNode> c;
    {
        auto document = LoadXml(kTree);
        c = Select(document.Get(), u"//c");
    }
    // The document was released first: the node still reaches its whole tree.
    ComPtr<IXMLDOMNode> parent;
    ASSERT_EQ(S_OK, c->get_parentNode(parent.GetAddressOf()));
    ComPtr<IXMLDOMDocument> owner;
    ASSERT_EQ(S_OK, c->get_ownerDocument(owner.GetAddressOf()));
    EXPECT_EQ(u"<root><a><b/><c>text</c></a><d/></root>", XmlOf(owner.Get()));
    EXPECT_EQ(u"text", TextOf(c.Get()));
    parent.Reset();
    owner.Reset();
    EXPECT_GT(Alive(), 0);
    c.Reset();
    EXPECT_EQ(0, Alive());
}

TEST_F(NodeLifetime, RemovedSubtreeIsFreedAtOnceUnlessHeld)
{
    auto document = LoadXml(kTree);
    const long full = Alive();
    auto root = Select(document.Get(), u"root");
    {
        auto a = Select(document.Get(), u"root/a");
        ASSERT_EQ(S_OK, root->removeChild(a.Get(), nullptr));
        // a, b, c and c's text are held through a.
        EXPECT_EQ(full, Alive());
        EXPECT_EQ(u"<a><b/><c>text</c></a>", XmlOf(a.Get()));
    }
    EXPECT_EQ(full - 4, Alive());

    // Removed and handed out: alive until the last holder lets go.
    ComPtr<IXMLDOMNode> d = Select(document.Get(), u"root/d");
    ASSERT_TRUE(d);
    ComPtr<IXMLDOMNode> removed;
    ASSERT_EQ(S_OK, root->removeChild(d.Get(), removed.GetAddressOf()));
    EXPECT_EQ(Identity(d.Get()), Identity(removed.Get()));
    removed.Reset();
    EXPECT_EQ(full - 4, Alive());
    d.Reset();
    EXPECT_EQ(full - 5, Alive());

    // A held document keeps its tree after removals.
    EXPECT_EQ(u"<root/>", XmlOf(document.Get()));
}

TEST_F(NodeLifetime, EveryReleaseOrderFreesEverything)
{
    const int kNodes = 3;
    // Release the document, the nodes and the moved node in each order.
    const int orders[6][3] = {{0, 1, 2}, {0, 2, 1}, {1, 0, 2}, {1, 2, 0}, {2, 0, 1}, {2, 1, 0}};
    for (const auto& order : orders)
    {
        ComPtr<IUnknown> held[kNodes];
        {
            auto first = LoadXml(kTree);
            auto second = LoadXml(u"<x><y/></x>");
            auto b = Select(first.Get(), u"//b");
            auto y = Select(second.Get(), u"//y");
            // b moves into the second document; y's tree and the first document stay.
            ASSERT_EQ(S_OK, y->appendChild(b.Get(), nullptr));
            held[0] = first.Get();
            held[1] = y.Get();
            held[2] = b.Get();
        }
        for (int index : order)
            held[index].Reset();
        EXPECT_EQ(0, Alive());
    }
}

TEST_F(NodeLifetime, CloneIsParentlessWithTheSameOwner)
{
    auto document = LoadXml(kTree);
    auto a = Select(document.Get(), u"root/a");
    ComPtr<IXMLDOMNode> deep;
    ASSERT_EQ(S_OK, a->cloneNode(VARIANT_TRUE, deep.GetAddressOf()));
    ComPtr<IXMLDOMNode> parent;
    EXPECT_EQ(S_FALSE, deep->get_parentNode(parent.GetAddressOf()));
    EXPECT_EQ(nullptr, parent.Get());
    ComPtr<IXMLDOMDocument> owner;
    ASSERT_EQ(S_OK, deep->get_ownerDocument(owner.GetAddressOf()));
    EXPECT_EQ(Identity(document.Get()), Identity(owner.Get()));
    EXPECT_EQ(XmlOf(a.Get()), XmlOf(deep.Get()));
    EXPECT_NE(Identity(a.Get()), Identity(deep.Get()));

    ComPtr<IXMLDOMNode> shallow;
    ASSERT_EQ(S_OK, a->cloneNode(VARIANT_FALSE, shallow.GetAddressOf()));
    EXPECT_EQ(u"<a/>", XmlOf(shallow.Get()));

    // The clone of a whole document is a document of its own.
    ComPtr<IXMLDOMNode> copy;
    ASSERT_EQ(S_OK, document->cloneNode(VARIANT_TRUE, copy.GetAddressOf()));
    EXPECT_EQ(XmlOf(document.Get()), XmlOf(copy.Get()));
    EXPECT_NE(nullptr, Select(copy.Get(), u"//c").Get());
    owner.Reset();
    document.Reset();
    a.Reset();
    deep.Reset();
    shallow.Reset();
    EXPECT_GT(Alive(), 0);
    copy.Reset();
    EXPECT_EQ(0, Alive());
}

TEST_F(NodeLifetime, CloneThatRunsOutOfMemoryFreesWhatItMade)
{
    auto document = LoadXml(u"<root a='1'><x><y>text</y><!--c--></x><z b='2'/></root>");
    auto root = Select(document.Get(), u"root");
    const long alive = Alive();
    for (IXMLDOMNode* source : {static_cast<IXMLDOMNode*>(document.Get()), root.Get()})
    {
        HRESULT hr = E_OUTOFMEMORY;
        for (long allowed = 0; hr == E_OUTOFMEMORY; ++allowed)
        {
            ComPtr<IXMLDOMNode> copy;
            qmtest::FailingAllocator::AllowOnThisThread(allowed);
            hr = source->cloneNode(VARIANT_TRUE, copy.GetAddressOf());
            qmtest::FailingAllocator::AllowOnThisThread(-1);
            if (hr == E_OUTOFMEMORY)
            {
                EXPECT_EQ(alive, Alive()) << "after " << allowed << " allocations";
            }
        }
        EXPECT_EQ(S_OK, hr);
    }
    EXPECT_EQ(alive, Alive());
}

TEST_F(NodeLifetime, AttributeNodesLiveWithTheirElement)
{
    auto document = LoadXml(u"<r a='1' b='2'/>");
    auto r = Element(Select(document.Get(), u"r").Get());
    ComPtr<IXMLDOMAttribute> a;
    ASSERT_EQ(S_OK, r->getAttributeNode(CComBSTR(u"a"), a.GetAddressOf()));
    ComPtr<IXMLDOMAttribute> again;
    ASSERT_EQ(S_OK, r->getAttributeNode(CComBSTR(u"a"), again.GetAddressOf()));
    EXPECT_EQ(Identity(a.Get()), Identity(again.Get()));
    // The node and the element agree on the value, in both directions.
    ASSERT_EQ(S_OK, a->put_value(CComVariant(u"changed")));
    CComVariant value;
    ASSERT_EQ(S_OK, r->getAttribute(CComBSTR(u"a"), &value));
    EXPECT_EQ(u"changed", qm::BstrView(value.bstrVal));
    ASSERT_EQ(S_OK, r->setAttribute(CComBSTR(u"a"), CComVariant(u"again")));
    CComVariant nodeValue;
    ASSERT_EQ(S_OK, a->get_value(&nodeValue));
    EXPECT_EQ(u"again", qm::BstrView(nodeValue.bstrVal));
    // Removed while held: the node keeps its value and the document.
    ASSERT_EQ(S_OK, r->removeAttribute(CComBSTR(u"a")));
    EXPECT_EQ(u"<r b=\"2\"/>", XmlOf(r.Get()));
    r.Reset();
    document.Reset();
    again.Reset();
    CComVariant kept;
    ASSERT_EQ(S_OK, a->get_value(&kept));
    EXPECT_EQ(u"again", qm::BstrView(kept.bstrVal));
    a.Reset();
    EXPECT_EQ(0, Alive());
}

TEST_F(NodeLifetime, ParsedNodesKeepWhatTheirParseReadAfterItIsGone)
{
    ComPtr<IXMLDOMNode> item;
    ComPtr<IXMLDOMAttribute> kind;
    ComPtr<IXMLDOMAttribute> at;
    auto target = LoadXml(u"<target/>");
    {
        auto document = LoadXml(u"<r><item kind='marker' at='12'>Attack &amp; defence</item><other>x</other></r>");
        item = Select(document.Get(), u"//item");
        ASSERT_EQ(S_OK, Element(item.Get())->getAttributeNode(CComBSTR(u"kind"), kind.GetAddressOf()));
        ASSERT_EQ(S_OK, Element(item.Get())->getAttributeNode(CComBSTR(u"at"), at.GetAddressOf()));
        ASSERT_EQ(S_OK, Select(target.Get(), u"target")->appendChild(Select(document.Get(), u"//other").Get(), nullptr));
        // A reload replaces the tree the held nodes came from.
        VARIANT_BOOL ok = VARIANT_FALSE;
        ASSERT_EQ(S_OK, document->loadXML(CComBSTR(u"<fresh/>"), &ok));
    }
    EXPECT_EQ(u"<item kind=\"marker\" at=\"12\">Attack &amp; defence</item>", XmlOf(item.Get()));
    EXPECT_EQ(u"<target><other>x</other></target>", XmlOf(target.Get()));

    // The attributes the parse read are edited in place, and grow beyond what it read.
    auto element = Element(item.Get());
    ASSERT_EQ(S_OK, element->removeAttribute(CComBSTR(u"at")));
    for (const char16_t* name : {u"a1", u"a2", u"a3", u"a4", u"a5"})
        ASSERT_EQ(S_OK, element->setAttribute(CComBSTR(name), CComVariant(name)));
    ASSERT_EQ(S_OK, element->setAttribute(CComBSTR(u"kind"), CComVariant(u"event")));
    EXPECT_EQ(u"<item kind=\"event\" a1=\"a1\" a2=\"a2\" a3=\"a3\" a4=\"a4\" a5=\"a5\">Attack &amp; defence</item>",
              XmlOf(item.Get()));
    CComVariant value;
    ASSERT_EQ(S_OK, kind->get_value(&value));
    EXPECT_EQ(u"event", qm::BstrView(value.bstrVal));

    item.Reset();
    element.Reset();
    kind.Reset();
    target.Reset();
    // The removed attribute's node outlives every node of the parse that read it.
    CComBSTR name;
    ASSERT_EQ(S_OK, at->get_name(name.GetAddressOf()));
    CComVariant atValue;
    ASSERT_EQ(S_OK, at->get_value(&atValue));
    EXPECT_EQ(u"at=12", std::u16string(qm::BstrView(name)) + u"=" + std::u16string(qm::BstrView(atValue.bstrVal)));
    at.Reset();
    EXPECT_EQ(0, Alive());
}

TEST_F(NodeLifetime, NodesOfOneParseMayDieOnDifferentThreads)
{
    for (int round = 0; round < 50; ++round)
    {
        auto source = LoadXml(u"<r><a>one</a><b>two</b></r>");
        auto target = LoadXml(u"<t/>");
        ASSERT_EQ(S_OK, Select(target.Get(), u"t")->appendChild(Select(source.Get(), u"//a").Get(), nullptr));
        // Both trees hold nodes of the first parse; each goes on its own thread.
        std::thread other([held = std::move(target)]() mutable { held.Reset(); });
        source.Reset();
        other.join();
    }
    EXPECT_EQ(0, Alive());
}

TEST(XmlNodeTree, MissingRelativesAreSFalseWithNull)
{
    auto document = LoadXml(u"<r><only/></r>");
    auto only = Select(document.Get(), u"r/only");
    ComPtr<IXMLDOMNode> node;
    EXPECT_EQ(S_FALSE, only->get_firstChild(node.GetAddressOf()));
    EXPECT_EQ(nullptr, node.Get());
    EXPECT_EQ(S_FALSE, only->get_lastChild(node.GetAddressOf()));
    EXPECT_EQ(S_FALSE, only->get_nextSibling(node.GetAddressOf()));
    EXPECT_EQ(S_FALSE, only->get_previousSibling(node.GetAddressOf()));
    EXPECT_EQ(nullptr, node.Get());
    EXPECT_EQ(S_FALSE, only->selectSingleNode(CComBSTR(u"missing"), node.GetAddressOf()));
    EXPECT_EQ(nullptr, node.Get());
    EXPECT_EQ(S_FALSE, document->get_parentNode(node.GetAddressOf()));
    VARIANT_BOOL has = VARIANT_TRUE;
    EXPECT_EQ(S_FALSE, only->hasChildNodes(&has));
    EXPECT_EQ(VARIANT_FALSE, has);
    ComPtr<IXMLDOMDocument> owner;
    EXPECT_EQ(S_FALSE, document->get_ownerDocument(owner.GetAddressOf()));

    // The parent of the root element is the document.
    auto r = Select(document.Get(), u"r");
    ASSERT_EQ(S_OK, r->get_parentNode(node.GetAddressOf()));
    EXPECT_EQ(Identity(document.Get()), Identity(node.Get()));
    ComPtr<IXMLDOMNamedNodeMap> attributes;
    ComPtr<IXMLDOMNode> text;
    ASSERT_EQ(S_OK, r->put_text(CComBSTR(u"x")));
    ASSERT_EQ(S_OK, r->get_firstChild(text.GetAddressOf()));
    EXPECT_EQ(S_FALSE, text->get_attributes(attributes.GetAddressOf()));
    EXPECT_EQ(nullptr, attributes.Get());

    auto element = Element(r.Get());
    CComVariant missing;
    EXPECT_EQ(S_FALSE, element->getAttribute(CComBSTR(u"none"), &missing));
    EXPECT_EQ(VT_NULL, missing.vt);
    EXPECT_EQ(S_OK, element->removeAttribute(CComBSTR(u"none")));
}

TEST(XmlNodeTree, InsertionRulesAndRefusals)
{
    auto document = LoadXml(u"<r><a/><b/></r>");
    auto r = Select(document.Get(), u"r");
    auto a = Select(document.Get(), u"r/a");
    auto b = Select(document.Get(), u"r/b");
    ComPtr<IXMLDOMElement> c;
    ASSERT_EQ(S_OK, document->createElement(CComBSTR(u"c"), c.GetAddressOf()));

    // An empty reference appends; a node reference inserts before it.
    CComVariant none;
    ASSERT_EQ(S_OK, r->insertBefore(c.Get(), none, nullptr));
    EXPECT_EQ(u"<r><a/><b/><c/></r>", XmlOf(r.Get()));
    CComVariant beforeA(static_cast<IUnknown*>(a.Get()));
    ASSERT_EQ(S_OK, r->insertBefore(c.Get(), beforeA, nullptr));
    EXPECT_EQ(u"<r><c/><a/><b/></r>", XmlOf(r.Get()));
    ComPtr<IXMLDOMNode> old;
    ASSERT_EQ(S_OK, r->replaceChild(c.Get(), b.Get(), old.GetAddressOf()));
    EXPECT_EQ(u"<r><a/><c/></r>", XmlOf(r.Get()));
    EXPECT_EQ(Identity(b.Get()), Identity(old.Get()));

    // A node cannot go below itself, a reference must be a child, a document has one root.
    EXPECT_FAILED_HR(a->appendChild(r.Get(), nullptr));
    EXPECT_FAILED_HR(r->appendChild(r.Get(), nullptr));
    CComVariant notAChild(static_cast<IUnknown*>(b.Get()));
    EXPECT_FAILED_HR(r->insertBefore(a.Get(), notAChild, nullptr));
    EXPECT_FAILED_HR(document->appendChild(b.Get(), nullptr));
    EXPECT_FAILED_HR(r->removeChild(b.Get(), nullptr));
    EXPECT_FAILED_HR(r->appendChild(nullptr, nullptr));
    EXPECT_EQ(u"<r><a/><c/></r>", XmlOf(r.Get()));
}

TEST(XmlNodeTree, DeepTreesDoNotRecurse)
{
    // Far deeper than any parse allows: built by hand, then cloned, written, searched
    // and destroyed.
    auto document = NewDocument();
    ComPtr<IXMLDOMElement> root;
    ASSERT_EQ(S_OK, document->createElement(CComBSTR(u"n"), root.GetAddressOf()));
    ASSERT_EQ(S_OK, document->appendChild(root.Get(), nullptr));
    ComPtr<IXMLDOMNode> current = root.Get();
    for (int i = 0; i < 200000; ++i)
    {
        ComPtr<IXMLDOMElement> child;
        ASSERT_EQ(S_OK, document->createElement(CComBSTR(u"n"), child.GetAddressOf()));
        ASSERT_EQ(S_OK, current->appendChild(child.Get(), nullptr));
        current = child.Get();
    }
    current.Reset();
    ComPtr<IXMLDOMNode> clone;
    ASSERT_EQ(S_OK, root->cloneNode(VARIANT_TRUE, clone.GetAddressOf()));
    ComPtr<IXMLDOMNodeList> all;
    ASSERT_EQ(S_OK, document->selectNodes(CComBSTR(u"//n"), all.GetAddressOf()));
    LONG length = 0;
    ASSERT_EQ(S_OK, all->get_length(&length));
    EXPECT_EQ(200001, length);
    EXPECT_EQ(200000u * 7 + 4, XmlOf(clone.Get()).size());
}
