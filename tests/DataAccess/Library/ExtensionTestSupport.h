// What the tests of clip extensions share: a clip's element to load from and save into, a
// stand-in clip, and the reports made meanwhile.
#pragma once

#include "DataAccess/Library/StubLibraryItem.h"
#include "Platform/Xml/XmlTestSupport.h"
#include "Support/LogCapture.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>

namespace qmtest
{
class ExtensionTest : public ::testing::Test
{
protected:
    // The clip's element starts with <NAME>name</NAME>; an empty name leaves it out.
    explicit ExtensionTest(std::u16string name = u"c") : m_name(std::move(name)) {}

    // The LIBRARY_ITEM element of a new document: the name, then those children. The
    // fixture keeps the document of the latest one.
    ComPtr<IXMLDOMNode> ClipNode(std::u16string_view children = {})
    {
        std::u16string xml = u"<LIBRARY_ITEM>";
        if (!m_name.empty())
            xml += u"<NAME>" + m_name + u"</NAME>";
        xml.append(children);
        xml += u"</LIBRARY_ITEM>";
        m_document = LoadXml(xml);
        ComPtr<IXMLDOMElement> root;
        EXPECT_EQ(S_OK, m_document->get_documentElement(root.GetAddressOf()));
        return root;
    }

    LogCapture m_log;
    ComPtr<StubLibraryItem> m_item = qm::MakeObject<StubLibraryItem>(u"/media/c.mp4");

private:
    std::u16string m_name;
    ComPtr<IXMLDOMDocument2> m_document;
};
} // namespace qmtest
