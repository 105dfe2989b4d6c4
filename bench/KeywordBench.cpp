// Loading a clip's keywords when one category holds many values: our DOM's parse and the
// keyword map's read of the same sidecar, beside pugixml parsing those bytes in the same
// run. The figure that counts is the ratio printed at the end; it stays the same as the
// category grows only while the read is linear.
#include "Platform/Xml/XmlDocument.h"
#include "Platform/Xml/XmlParser.h"
#include "qm/Library/KeywordMap.h"

#include "MedianReporter.h"

#include <benchmark/benchmark.h>
#include <pugixml.hpp>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace
{
const std::string& Sidecar(int values)
{
    static std::map<int, std::string> sidecars;
    auto [entry, inserted] = sidecars.try_emplace(values);
    if (inserted)
    {
        std::string& xml = entry->second;
        xml = "<LIBRARY_ITEM><NAME>clip</NAME><CATEGORIES>";
        for (int i = 0; i < values; ++i)
            xml += "<CATEGORY name=\"Player\">Player " + std::to_string(i) + "</CATEGORY>";
        xml += "</CATEGORIES></LIBRARY_ITEM>";
    }
    return entry->second;
}

void Ours_Load(benchmark::State& state)
{
    const std::string& xml = Sidecar(static_cast<int>(state.range(0)));
    for (auto _ : state)
    {
        ComPtr<qm::xml::XmlDocument> document;
        qm::xml::XmlDocument::Create(document.GetAddressOf());
        qm::xml::XmlParser parser(*document.Get(), false, nullptr);
        if (!parser.Parse(xml.data(), xml.size()))
            state.SkipWithError("parse failed");
        parser.Commit();
        ComPtr<IXMLDOMNode> item;
        document->selectSingleNode(CComBSTR(u"LIBRARY_ITEM"), item.GetAddressOf());
        Quillmar::Library::Native::KeywordMap keywords;
        if (keywords.Read(item.Get()) != S_OK)
            state.SkipWithError("read failed");
        benchmark::DoNotOptimize(keywords.IsDirty());
    }
}

void Pugixml_Load(benchmark::State& state)
{
    const std::string& xml = Sidecar(static_cast<int>(state.range(0)));
    for (auto _ : state)
    {
        pugi::xml_document document;
        if (!document.load_buffer(xml.data(), xml.size()))
            state.SkipWithError("parse failed");
        benchmark::DoNotOptimize(document.first_child());
    }
}

constexpr int kSmall = 1000;
constexpr int kLarge = 20000;

BENCHMARK(Ours_Load)->Arg(kSmall)->Arg(kLarge)->Unit(benchmark::kMillisecond);
BENCHMARK(Pugixml_Load)->Arg(kSmall)->Arg(kLarge)->Unit(benchmark::kMillisecond);

class RatioReporter : public qmbench::MedianReporter
{
public:
    void PrintRatios() const
    {
        std::printf("\nRatios (our load / pugixml's parse of the same sidecar):\n");
        for (int values : {kSmall, kLarge})
        {
            const std::string suffix = "_Load/" + std::to_string(values);
            std::printf("  one category of %6d values: %.2f\n", values, Time("Ours" + suffix) / Time("Pugixml" + suffix));
        }
    }
};
} // namespace

int main(int argc, char** argv)
{
    RatioReporter reporter;
    qmbench::RunInterleaved(argc, argv, "--benchmark_repetitions=9", reporter);
    reporter.PrintRatios();
    benchmark::Shutdown();
    return 0;
}
