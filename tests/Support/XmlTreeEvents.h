// A document as the sequence a reader sees: elements with their attributes, comments,
// processing instructions, and each run of adjacent text and CDATA as one text. Two
// documents that read the same give the same sequence, however their text is split.
// Exact events keep each text and CDATA node apart, for trees that must be the same.
#pragma once

#include "Platform/Xml/XmlCharacterData.h"
#include "Platform/Xml/XmlElement.h"

#include <string>
#include <vector>

namespace qmtest
{
inline std::vector<std::u16string> TreeEvents(const qm::xml::XmlNodeCore& root, bool exact = false)
{
    using namespace qm::xml;
    std::vector<std::u16string> events;
    std::u16string text;
    auto flushText = [&] {
        if (!text.empty())
            events.push_back(u"T" + text);
        text.clear();
    };
    const XmlNodeCore* node = root.FirstChild();
    while (node)
    {
        switch (node->Type())
        {
        case NODE_TEXT:
        case NODE_CDATA_SECTION:
            if (exact)
                events.push_back((node->Type() == NODE_TEXT ? u"T" : u"D") + std::u16string(*node->ValuePtr()));
            else
                text += *node->ValuePtr();
            break;
        case NODE_ELEMENT: {
            flushText();
            const auto& element = static_cast<const XmlElement&>(*node);
            std::u16string start = u"<" + std::u16string(element.Name());
            for (const auto& attribute : element.Attributes())
                start += u" " + std::u16string(attribute.name) + u"=" + std::u16string(attribute.Value()) + u"\x1F";
            events.push_back(start);
            break;
        }
        case NODE_COMMENT:
            flushText();
            events.push_back(u"C" + std::u16string(*node->ValuePtr()));
            break;
        case NODE_PROCESSING_INSTRUCTION:
            flushText();
            events.push_back(u"P" + std::u16string(node->NodeName()) + u" " + std::u16string(*node->ValuePtr()));
            break;
        default:
            break;
        }
        if (node->FirstChild())
        {
            node = node->FirstChild();
            continue;
        }
        // Close every element that ends here.
        while (node != &root && node->NextSibling() == nullptr)
        {
            if (node->Type() == NODE_ELEMENT)
            {
                flushText();
                events.push_back(u">");
            }
            node = node->Parent();
        }
        if (node == &root)
            break;
        if (node->Type() == NODE_ELEMENT)
        {
            flushText();
            events.push_back(u">");
        }
        node = node->NextSibling();
    }
    flushText();
    return events;
}
} // namespace qmtest
