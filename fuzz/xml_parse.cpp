// Parses any bytes; whatever parses is written, parsed again and must read the same.
// Both routes of the parser must agree: the scanner and expat accept the same inputs
// and build the same trees from them. A crash, a leak, a sanitizer report or a
// difference is a finding.
#include "Support/XmlTreeEvents.h"

#include "Platform/Xml/XmlDocument.h"
#include "Platform/Xml/XmlParser.h"
#include "Platform/Xml/XmlWriter.h"
#include "Platform/Xml/XPathQuery.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace
{
enum class Route
{
    Best,
    ExpatOnly,
};

ComPtr<qm::xml::XmlDocument> Parse(const char* data, std::size_t size, const char* encoding, bool preserveWhiteSpace,
                                   Route route)
{
    ComPtr<qm::xml::XmlDocument> document;
    qm::xml::XmlDocument::Create(document.GetAddressOf());
    qm::xml::XmlParser parser(*document.Get(), preserveWhiteSpace, encoding);
    const bool parsed = route == Route::Best ? parser.Parse(data, size) : parser.Feed(data, size, true);
    if (!parsed)
        return nullptr;
    parser.Commit();
    return document;
}

[[noreturn]] void Finding(const char* what, const char* data, std::size_t size)
{
    std::fprintf(stderr, "%s:\n%s\n", what, std::string(data, size).c_str());
    std::abort();
}

void CompareRoutes(const char* data, std::size_t size, const char* encoding, bool preserveWhiteSpace)
{
    ComPtr<qm::xml::XmlDocument> best = Parse(data, size, encoding, preserveWhiteSpace, Route::Best);
    ComPtr<qm::xml::XmlDocument> expat = Parse(data, size, encoding, preserveWhiteSpace, Route::ExpatOnly);
    if (!best != !expat)
        Finding(best ? "only the scanner accepts" : "only expat accepts", data, size);
    if (best && qmtest::TreeEvents(*best.Get(), true) != qmtest::TreeEvents(*expat.Get(), true))
        Finding("the routes build different trees", data, size);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    const auto* data = reinterpret_cast<const char*>(bytes);
    CompareRoutes(data, size, nullptr, false);
    CompareRoutes(data, size, "UTF-8", true);
    ComPtr<qm::xml::XmlDocument> first = Parse(data, size, nullptr, false, Route::Best);
    if (!first)
        return 0;
    const std::string written = qm::xml::XmlWriter::ToUtf8(*first.Get());
    ComPtr<qm::xml::XmlDocument> second = Parse(written.data(), written.size(), "UTF-8", false, Route::Best);
    if (!second)
        Finding("written document does not parse", written.data(), written.size());
    if (qmtest::TreeEvents(*first.Get()) != qmtest::TreeEvents(*second.Get()))
        Finding("written document reads differently", written.data(), written.size());
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
