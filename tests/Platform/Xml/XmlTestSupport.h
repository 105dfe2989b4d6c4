// Small helpers of the DOM tests: documents from text, text from nodes.
#pragma once

#include "qm/Platform/Com/Bstr.h"
#include "qm/Platform/Com/ComPtr.h"
#include "qm/Platform/Xml/XmlDom.h"

#include <gtest/gtest.h>

#include <string>

#define EXPECT_FAILED_HR(expr) EXPECT_LT((expr), 0)

namespace qmtest
{
inline ComPtr<IXMLDOMDocument2> NewDocument()
{
    ComPtr<IXMLDOMDocument2> document;
    EXPECT_EQ(S_OK, CreateXmlDocument(CLSID_DOMDocument60, document.GetAddressOf()));
    return document;
}

inline ComPtr<IXMLDOMDocument2> LoadXml(std::u16string_view xml)
{
    ComPtr<IXMLDOMDocument2> document = NewDocument();
    VARIANT_BOOL ok = VARIANT_FALSE;
    EXPECT_EQ(S_OK, document->loadXML(CComBSTR(xml), &ok));
    EXPECT_EQ(VARIANT_TRUE, ok);
    return document;
}

inline std::u16string XmlOf(IXMLDOMNode* node)
{
    CComBSTR xml;
    EXPECT_EQ(S_OK, node->get_xml(xml.GetAddressOf()));
    return std::u16string(qm::BstrView(xml));
}

inline std::u16string TextOf(IXMLDOMNode* node)
{
    CComBSTR text;
    EXPECT_EQ(S_OK, node->get_text(text.GetAddressOf()));
    return std::u16string(qm::BstrView(text));
}

inline ComPtr<IXMLDOMNode> Select(IXMLDOMNode* node, const char16_t* query)
{
    ComPtr<IXMLDOMNode> result;
    node->selectSingleNode(CComBSTR(query), result.GetAddressOf());
    return result;
}

inline ComPtr<IXMLDOMElement> Element(IXMLDOMNode* node)
{
    ComPtr<IXMLDOMElement> element;
    EXPECT_EQ(S_OK, node->QueryInterface(IID_IXMLDOMElement, reinterpret_cast<void**>(element.GetAddressOf())));
    return element;
}

inline IUnknown* Identity(IUnknown* node)
{
    ComPtr<IUnknown> unknown;
    node->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(unknown.GetAddressOf()));
    return unknown.Get();
}
} // namespace qmtest
