// Loading a clip's keywords when one category holds many values: our DOM's parse and the
// keyword map's read of the same sidecar, beside pugixml parsing those bytes in the same
// run. The figure that counts is the ratio printed at the end; it stays the same as the
// category grows only while the read is linear.
#include "Platform/Xml/XmlDocument.h"
#include "Platform/Xml/XmlParser.h"
#include "qm/Library/KeywordMap.h"

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

class RatioReporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs)
            if (!run.error_occurred && (run.run_type == Run::RT_Iteration || run.aggregate_name == "median"))
                m_times[run.run_name.str()] = run.GetAdjustedRealTime();
    }

    void PrintRatios()
    {
        std::printf("\nRatios (our load / pugixml's parse of the same sidecar):\n");
        for (int values : {kSmall, kLarge})
        {
            const std::string suffix = "_Load/" + std::to_string(values);
            std::printf("  one category of %6d values: %.2f\n", values, m_times["Ours" + suffix] / m_times["Pugixml" + suffix]);
        }
    }

private:
    std::map<std::string, double> m_times;
};
} // namespace

int main(int argc, char** argv)
{
    // Repeated, interleaved runs and their medians, as the machine's speed drifts; flags
    // given on the command line come after these and win.
    std::vector<char*> arguments(argv, argv + argc);
    char repetitions[] = "--benchmark_repetitions=9";
    char interleave[] = "--benchmark_enable_random_interleaving=true";
    char aggregates[] = "--benchmark_report_aggregates_only=true";
    arguments.insert(arguments.begin() + 1, {repetitions, interleave, aggregates});
    argc = static_cast<int>(arguments.size());
    argv = arguments.data();
    benchmark::Initialize(&argc, argv);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.PrintRatios();
    benchmark::Shutdown();
    return 0;
}
