// A library as hosts have them: clips in nested folders, each a small media file and a
// sidecar of about 2 KB (a title, a comment, four keywords in two categories, three
// markers) written by the library itself. Each figure is a ratio against a floor taken
// in the same run on the same files:
//   scan     the repository's scan / (walk + read + pugixml parse of every sidecar)
//   memory   what the process holds per unloaded clip after a scan
//   query    QueryLibraryItems with a text and two keyword criteria / a plain loop doing
//            the same case-folded comparisons on the same strings
// QM_BENCH_LARGE=1 adds a run of 100,000 clips and the ratio of its scan to the 10,000's.
#include "qm/Library/LibraryItemFactory.h"
#include "qm/Platform/Text/CaseFolding.h"

#include <pugixml.hpp>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <string>
#include <vector>

#include <malloc.h>
#include <stdlib.h>
#include <unistd.h>

namespace
{
namespace fs = std::filesystem;
using Quillmar::Library::Native::ILibraryItemFactoryEx;
using Quillmar::Library::Native::ILibraryRepositoryRaw;
using Clock = std::chrono::steady_clock;

constexpr int kRepetitions = 5;
constexpr int kClipsPerFolder = 100;
constexpr int kFoldersPerGroup = 10;

ComPtr<ILibraryItemFactory> NewFactory()
{
    ComPtr<ILibraryItemFactory> factory;
    if (CreateLibraryItemFactory(factory.GetAddressOf()) != S_OK)
        std::abort();
    return factory;
}

void Terminate(ILibraryItemFactory* factory)
{
    ComPtr<ILibraryItemFactoryEx> ex;
    factory->QueryInterface(Quillmar::Library::Native::IID_ILibraryItemFactoryEx, reinterpret_cast<void**>(ex.GetAddressOf()));
    ex->Terminate();
}

// One clip saved by the library: the template every clip of the library copies.
std::string TemplateSidecar(const fs::path& folder)
{
    std::ofstream(folder / "template.mp4") << "media";
    const ComPtr<ILibraryItemFactory> factory = NewFactory();
    ComPtr<ILibraryItem> item;
    factory->GetLibraryItem((folder / "template.mp4").u16string().c_str(), item.GetAddressOf());
    ComPtr<ILibraryItemMarker> clip;
    item.As(&clip);
    clip->put_Title(u"Match day, second half");
    clip->put_Comment(u"The home team presses high after the break; note the switch of play on the left.");
    for (const Keyword& keyword : {Keyword(u"Team", u"Home"), Keyword(u"Team", u"Away"), Keyword(u"Phase", u"Attack"),
                                   Keyword(u"Phase", u"Transition")})
        item->AddKeyword(keyword);
    for (int i = 0; i < 3; ++i)
    {
        ComPtr<ILibraryItemMarker> marker;
        clip->CreateMarker(0, marker.GetAddressOf());
        marker->put_Title(u"Marker " + std::u16string(1, u'A' + i));
        marker->put_CueIn(10000000LL * (i + 1));
        marker->put_CueOut(10000000LL * (i + 2));
    }
    item->Save();
    std::ifstream in(folder / "template.mp4.quilclip", std::ios::binary);
    const std::string sidecar((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    Terminate(factory.Get());
    fs::remove(folder / "template.mp4");
    fs::remove(folder / "template.mp4.quilclip");
    return sidecar;
}

void Generate(const fs::path& root, int clips, const std::string& sidecar)
{
    for (int i = 0; i < clips; ++i)
    {
        const int folder = i / kClipsPerFolder;
        const fs::path dir = root / ("group" + std::to_string(folder / kFoldersPerGroup)) / ("folder" + std::to_string(folder));
        if (i % kClipsPerFolder == 0)
            fs::create_directories(dir);
        const std::string name = "clip" + std::to_string(i) + ".mp4";
        std::ofstream(dir / name) << "media";
        std::ofstream(dir / (name + ".quilclip"), std::ios::binary) << sidecar;
    }
}

// The floor: the walk, the read and the parse that any scan must make.
double Floor(const fs::path& root)
{
    const auto start = Clock::now();
    std::size_t parsed = 0;
    std::vector<char> bytes;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root))
    {
        if (!entry.is_regular_file() || entry.path().extension() != ".mp4")
            continue;
        std::ifstream in(entry.path().string() + ".quilclip", std::ios::binary);
        bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
        pugi::xml_document document;
        parsed += static_cast<bool>(document.load_buffer(bytes.data(), bytes.size()));
    }
    if (parsed == 0)
        std::abort();
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// The host's callback. The queue's thread lets its reference go after the waiter has
// woken, so it lives on the heap.
class Waiter final : public Standard::IAsyncCallback
{
public:
    explicit Waiter(ILibraryRepositoryRaw* repository) : m_repository(repository) {}
    HRESULT QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG AddRef() override { return ++m_count; }
    ULONG Release() override
    {
        const ULONG count = --m_count;
        if (count == 0)
            delete this;
        return count;
    }
    HRESULT Invoke(Standard::IAsyncResult* result) override
    {
        m_repository->EndUpdate(result);
        m_done.set_value(result->get_Status());
        return S_OK;
    }
    HRESULT Wait() { return m_done.get_future().get(); }

private:
    std::atomic<ULONG> m_count{1};
    ILibraryRepositoryRaw* m_repository;
    std::promise<HRESULT> m_done;
};

struct Scanned
{
    ComPtr<ILibraryItemFactory> factory;
    ComPtr<ILibraryRepository> repository;
    double seconds = 0;
    std::size_t items = 0;
};

Scanned Scan(const fs::path& root)
{
    Scanned result;
    result.factory = NewFactory();
    result.factory->CreateRepository(result.repository.GetAddressOf());
    ComPtr<ILibraryRepositoryCollection> folders;
    ComPtr<ILibraryRepositoryRaw> raw;
    result.repository.As(&folders);
    result.repository.As(&raw);
    folders->SetDirectories({root.u16string()});
    ComPtr<Waiter> waiter;
    waiter.Attach(new Waiter(raw.Get()));
    const auto start = Clock::now();
    raw->BeginUpdate(waiter.Get(), nullptr);
    if (waiter->Wait() != S_OK)
        std::abort();
    result.seconds = std::chrono::duration<double>(Clock::now() - start).count();
    ComPtr<ILibraryItemCollection> items;
    result.repository->GetLibraryItems(items.GetAddressOf());
    result.items = items->get_Items().size();
    return result;
}

void Release(Scanned& scanned)
{
    scanned.repository.Reset();
    Terminate(scanned.factory.Get());
    scanned.factory.Reset();
}

double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// Scan and floor, interleaved, as the machine's speed drifts.
std::pair<double, double> ScanFigure(const fs::path& root)
{
    std::vector<double> scans, floors;
    for (int i = 0; i < kRepetitions; ++i)
    {
        floors.push_back(Floor(root));
        Scanned scanned = Scan(root);
        scans.push_back(scanned.seconds);
        Release(scanned);
    }
    return {Median(scans), Median(floors)};
}

std::size_t ResidentBytes()
{
    std::ifstream statm("/proc/self/statm");
    std::size_t size = 0, resident = 0;
    statm >> size >> resident;
    return resident * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

std::size_t HeapBytes()
{
    ::malloc_trim(0);
    return mallinfo2().uordblks;
}

void MemoryFigure(const fs::path& root, int clips)
{
    const std::size_t heapBefore = HeapBytes();
    const std::size_t residentBefore = ResidentBytes();
    Scanned scanned = Scan(root);
    const double heap = static_cast<double>(HeapBytes() - heapBefore) / clips;
    const double resident = static_cast<double>(ResidentBytes()) - static_cast<double>(residentBefore);
    std::printf("memory  %.0f bytes of heap per unloaded clip (%.0f resident; target at most 2048)\n", heap,
                resident / clips);
    Release(scanned);
}

// The strings a query compares, taken out of the clips once, for the floor.
struct ClipTexts
{
    std::vector<std::u16string> texts;
    std::vector<Keyword> keywords;
};

void QueryFigure(const fs::path& root)
{
    Scanned scanned = Scan(root);
    ComPtr<ILibraryItemCollection> items;
    scanned.repository->GetLibraryItems(items.GetAddressOf());
    std::vector<ClipTexts> clips;
    for (ILibraryItem* item : items->get_Items())
    {
        ComPtr<ILibraryItemMarker> marker;
        item->QueryInterface(IID_ILibraryItemMarker, reinterpret_cast<void**>(marker.GetAddressOf()));
        clips.push_back({{item->get_Name(), marker->get_Title(), marker->get_Comment()}, item->get_Keywords()});
    }
    ComPtr<ILibraryItemQuery> query;
    scanned.factory->CreateQuery(query.GetAddressOf());
    query->AddKeyword({u"team", u"HOME"});
    query->AddKeyword({u"PHASE", u""});
    query->put_SearchText(u"Switch Of Play");
    const std::u16string needle = qm::FoldCase(u"Switch Of Play");

    std::vector<double> ours, floors;
    std::size_t matched = 0, floorMatched = 0;
    for (int i = 0; i < kRepetitions; ++i)
    {
        auto start = Clock::now();
        ComPtr<ILibraryItemCollection> result;
        scanned.repository->QueryLibraryItems(query.Get(), result.GetAddressOf());
        matched = result->get_Items().size();
        ours.push_back(std::chrono::duration<double>(Clock::now() - start).count());

        start = Clock::now();
        floorMatched = 0;
        std::u16string folded;
        for (const ClipTexts& clip : clips)
        {
            const auto has = [&](const char16_t* category, const char16_t* value) {
                return std::any_of(clip.keywords.begin(), clip.keywords.end(), [&](const Keyword& k) {
                    return qm::EqualsNoCase(k.first, category) && (value == nullptr || qm::EqualsNoCase(k.second, value));
                });
            };
            if (!has(u"team", u"HOME") || !has(u"PHASE", nullptr))
                continue;
            bool hit = false;
            for (const std::u16string& text : clip.texts)
            {
                qm::FoldCaseInto(text, folded);
                hit = hit || folded.find(needle) != std::u16string::npos;
            }
            floorMatched += hit;
        }
        floors.push_back(std::chrono::duration<double>(Clock::now() - start).count());
    }
    if (matched != floorMatched || matched != clips.size())
        std::printf("query   matched %zu, the floor %zu, of %zu\n", matched, floorMatched, clips.size());
    const double ourTime = Median(ours), floorTime = Median(floors);
    std::printf("query   %.2f (%.1f ms over %zu clips against %.1f ms; target at most 2)\n", ourTime / floorTime,
                ourTime * 1e3, clips.size(), floorTime * 1e3);
    Release(scanned);
}
} // namespace

int main()
{
    const char* large = std::getenv("QM_BENCH_LARGE");
    std::string pattern = (fs::temp_directory_path() / "qm-bench-library-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr)
        return 1;
    const fs::path work = pattern;
    const std::string sidecar = TemplateSidecar(work);
    std::printf("sidecar %zu bytes\n", sidecar.size());
    const int clips = 10000;
    Generate(work / "small", clips, sidecar);

    const auto [scan, floor] = ScanFigure(work / "small");
    std::printf("scan    %.2f (%.0f ms for %d clips, %.1f us a clip, against %.0f ms; target at most 3)\n", scan / floor,
                scan * 1e3, clips, scan * 1e6 / clips, floor * 1e3);
    MemoryFigure(work / "small", clips);
    QueryFigure(work / "small");
    if (large != nullptr && *large == '1')
    {
        Generate(work / "large", 10 * clips, sidecar);
        const auto [largeScan, largeFloor] = ScanFigure(work / "large");
        std::printf("growth  %.2f (%.0f ms for %d clips against %.0f ms for %d; target at most 11; floor %.0f ms)\n",
                    largeScan / scan, largeScan * 1e3, 10 * clips, scan * 1e3, clips, largeFloor * 1e3);
        MemoryFigure(work / "large", 10 * clips);
        QueryFigure(work / "large");
    }
    std::error_code ignored;
    fs::remove_all(work, ignored);
    return 0;
}
