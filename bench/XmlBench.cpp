// Parsing and writing with our DOM, beside pugixml and libxml2 building their trees from
// the same bytes in the same run. The figures that count are the ratios printed at the
// end: our time over pugixml's and over libxml2's.
#include "BenchDocuments.h"

#include "Platform/Xml/XmlDocument.h"
#include "Platform/Xml/XmlParser.h"
#include "Platform/Xml/XmlWriter.h"

#include "MedianReporter.h"

#include <benchmark/benchmark.h>
#include <expat.h>
#include <libxml/parser.h>
#include <pugixml.hpp>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace
{
const std::string& Document(int markers)
{
    static std::map<int, std::string> documents;
    auto [entry, inserted] = documents.try_emplace(markers);
    if (inserted)
        entry->second = qmbench::Sidecar(markers);
    return entry->second;
}

ComPtr<qm::xml::XmlDocument> NewDocument()
{
    ComPtr<qm::xml::XmlDocument> document;
    qm::xml::XmlDocument::Create(document.GetAddressOf());
    return document;
}

void Ours_Parse(benchmark::State& state)
{
    const std::string& xml = Document(static_cast<int>(state.range(0)));
    for (auto _ : state)
    {
        ComPtr<qm::xml::XmlDocument> document = NewDocument();
        qm::xml::XmlParser parser(*document.Get(), false, nullptr);
        if (!parser.Parse(xml.data(), xml.size()))
            state.SkipWithError("parse failed");
        parser.Commit();
        benchmark::DoNotOptimize(document.Get());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * xml.size()));
}

// The same tree built through expat, as documents the scanner leaves to it are.
void OursExpat_Parse(benchmark::State& state)
{
    const std::string& xml = Document(static_cast<int>(state.range(0)));
    for (auto _ : state)
    {
        ComPtr<qm::xml::XmlDocument> document = NewDocument();
        qm::xml::XmlParser parser(*document.Get(), false, nullptr);
        if (!parser.Feed(xml.data(), xml.size(), true))
            state.SkipWithError("parse failed");
        parser.Commit();
        benchmark::DoNotOptimize(document.Get());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * xml.size()));
}

// expat alone, building nothing: the floor under any tree built on it.
void Expat_Parse(benchmark::State& state)
{
    const std::string& xml = Document(static_cast<int>(state.range(0)));
    XML_Parser parser = XML_ParserCreate(nullptr);
    for (auto _ : state)
    {
        XML_ParserReset(parser, nullptr);
        XML_SetHashSalt(parser, 1);
        XML_SetElementHandler(parser, [](void*, const char*, const char**) {}, [](void*, const char*) {});
        XML_SetCharacterDataHandler(parser, [](void*, const char*, int) {});
        if (XML_Parse(parser, xml.data(), static_cast<int>(xml.size()), 1) != XML_STATUS_OK)
            state.SkipWithError("parse failed");
    }
    XML_ParserFree(parser);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * xml.size()));
}

void Pugixml_Parse(benchmark::State& state)
{
    const std::string& xml = Document(static_cast<int>(state.range(0)));
    for (auto _ : state)
    {
        pugi::xml_document document;
        if (!document.load_buffer(xml.data(), xml.size()))
            state.SkipWithError("parse failed");
        benchmark::DoNotOptimize(document.first_child());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * xml.size()));
}

void Libxml2_Parse(benchmark::State& state)
{
    const std::string& xml = Document(static_cast<int>(state.range(0)));
    for (auto _ : state)
    {
        xmlDocPtr document = xmlReadMemory(xml.data(), static_cast<int>(xml.size()), "bench.xml", nullptr, 0);
        if (document == nullptr)
            state.SkipWithError("parse failed");
        xmlFreeDoc(document);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * xml.size()));
}

void Ours_Serialize(benchmark::State& state)
{
    const std::string& xml = Document(static_cast<int>(state.range(0)));
    ComPtr<qm::xml::XmlDocument> document = NewDocument();
    qm::xml::XmlParser parser(*document.Get(), false, nullptr);
    parser.Parse(xml.data(), xml.size());
    parser.Commit();
    for (auto _ : state)
    {
        std::string out = qm::xml::XmlWriter::ToUtf8(*document.Get());
        benchmark::DoNotOptimize(out.data());
    }
}

struct StringWriter : pugi::xml_writer
{
    std::string out;
    void write(const void* data, size_t size) override { out.append(static_cast<const char*>(data), size); }
};

void Pugixml_Serialize(benchmark::State& state)
{
    const std::string& xml = Document(static_cast<int>(state.range(0)));
    pugi::xml_document document;
    document.load_buffer(xml.data(), xml.size());
    for (auto _ : state)
    {
        StringWriter writer;
        document.save(writer, "", pugi::format_raw | pugi::format_no_declaration);
        benchmark::DoNotOptimize(writer.out.data());
    }
}

void Libxml2_Serialize(benchmark::State& state)
{
    const std::string& xml = Document(static_cast<int>(state.range(0)));
    xmlDocPtr document = xmlReadMemory(xml.data(), static_cast<int>(xml.size()), "bench.xml", nullptr, 0);
    for (auto _ : state)
    {
        xmlChar* out = nullptr;
        int size = 0;
        xmlDocDumpMemory(document, &out, &size);
        benchmark::DoNotOptimize(out);
        xmlFree(out);
    }
    xmlFreeDoc(document);
}

// 3 markers: a sidecar of about 2 KB; 1800: a document of about 1 MB.
constexpr int kSidecar = 3;
constexpr int kLarge = 1800;

BENCHMARK(Ours_Parse)->Arg(kSidecar)->Arg(kLarge);
BENCHMARK(OursExpat_Parse)->Arg(kSidecar)->Arg(kLarge);
BENCHMARK(Expat_Parse)->Arg(kSidecar)->Arg(kLarge);
BENCHMARK(Pugixml_Parse)->Arg(kSidecar)->Arg(kLarge);
BENCHMARK(Libxml2_Parse)->Arg(kSidecar)->Arg(kLarge);
BENCHMARK(Ours_Serialize)->Arg(kSidecar)->Arg(kLarge);
BENCHMARK(Pugixml_Serialize)->Arg(kSidecar)->Arg(kLarge);
BENCHMARK(Libxml2_Serialize)->Arg(kSidecar)->Arg(kLarge);

// Collects each run's time per iteration, to print the ratios at the end.
class RatioReporter : public qmbench::MedianReporter
{
public:
    void PrintRatios() const
    {
        std::printf("\nRatios (our time / other's time; below 1 is faster):\n");
        for (const char* operation : {"Parse", "Serialize"})
            for (int size : {kSidecar, kLarge})
            {
                const std::string suffix = std::string("_") + operation + "/" + std::to_string(size);
                const double ours = Time("Ours" + suffix);
                std::printf("  %-9s %-8s  ours/pugixml %.2f   ours/libxml2 %.2f\n", operation,
                            size == kSidecar ? "2 KB" : "1 MB", ours / Time("Pugixml" + suffix),
                            ours / Time("Libxml2" + suffix));
            }
        for (int size : {kSidecar, kLarge})
        {
            const std::string suffix = "_Parse/" + std::to_string(size);
            std::printf("  our tree through expat, %s: ours/pugixml %.2f, ours/libxml2 %.2f\n",
                        size == kSidecar ? "2 KB" : "1 MB", Time("OursExpat" + suffix) / Time("Pugixml" + suffix),
                        Time("OursExpat" + suffix) / Time("Libxml2" + suffix));
            std::printf("  expat alone, %s: %.2f of pugixml, %.2f of libxml2, %.2f of ours\n",
                        size == kSidecar ? "2 KB" : "1 MB", Time("Expat" + suffix) / Time("Pugixml" + suffix),
                        Time("Expat" + suffix) / Time("Libxml2" + suffix), Time("Expat" + suffix) / Time("Ours" + suffix));
        }
    }

};
} // namespace

int main(int argc, char** argv)
{
    RatioReporter reporter;
    std::printf("Documents: sidecar %zu bytes, large %zu bytes\n", Document(kSidecar).size(), Document(kLarge).size());
    qmbench::RunInterleaved(argc, argv, "--benchmark_repetitions=15", reporter);
    reporter.PrintRatios();
    benchmark::Shutdown();
    return 0;
}
