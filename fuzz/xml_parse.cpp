// Parses any bytes; whatever parses is written, parsed again and must read the same.
// A crash, a leak, a sanitizer report or a difference is a finding.
#include "XmlTreeEvents.h"

#include "Platform/Xml/XmlDocument.h"
#include "Platform/Xml/XmlParser.h"
#include "Platform/Xml/XmlWriter.h"
#include "Platform/Xml/XPathQuery.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace
{
ComPtr<qm::xml::XmlDocument> Parse(const char* data, std::size_t size, const char* encoding)
{
    ComPtr<qm::xml::XmlDocument> document;
    qm::xml::XmlDocument::Create(document.GetAddressOf());
    qm::xml::XmlParser parser(*document.Get(), false, encoding);
    if (!parser.Feed(data, size, true))
        return nullptr;
    parser.Commit();
    return document;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    ComPtr<qm::xml::XmlDocument> first = Parse(reinterpret_cast<const char*>(data), size, nullptr);
    if (!first)
        return 0;
    const std::string written = qm::xml::XmlWriter::ToUtf8(*first.Get());
    ComPtr<qm::xml::XmlDocument> second = Parse(written.data(), written.size(), "UTF-8");
    if (!second)
    {
        std::fprintf(stderr, "written document does not parse:\n%s\n", written.c_str());
        std::abort();
    }
    if (qmfuzz::TreeEvents(*first.Get()) != qmfuzz::TreeEvents(*second.Get()))
    {
        std::fprintf(stderr, "written document reads differently:\n%s\n", written.c_str());
        std::abort();
    }
    // Walks that must hold on any tree: a deep clone and a search of every element.
    ComPtr<IXMLDOMNode> clone;
    first->cloneNode(VARIANT_TRUE, clone.GetAddressOf());
    qm::xml::XPathQuery query;
    if (SUCCEEDED(query.Compile(u"//*")))
    {
        std::vector<qm::xml::XmlNodeCore*> nodes;
        query.Select(*first.Get(), nodes, false);
    }
    return 0;
}
