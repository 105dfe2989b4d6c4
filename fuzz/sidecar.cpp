// Takes any bytes as the sidecar of a clip. Whatever loads is read through every
// interface of the clip, its markers and its extensions, then edited, saved and loaded
// again by a new factory: the edits and what was read before must come back.
// A crash, a leak, a sanitizer report or a difference is a finding.
#include "qm/Library/LibraryItemFactory.h"
#include "qm/Library/MetadataExtensions.h"
#include "qm/Logging.h"
#include "qm/MetadataCore.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace
{
namespace fs = std::filesystem;
using Quillmar::Library::Native::ILibraryItemFactoryEx;
using Quillmar::Library::Native::ILibraryItemNT;

constexpr std::int32_t kMarkerTypes = 4;
// Markers may hold markers; the walk stops at this depth.
constexpr int kMaxMarkerDepth = 3;
// The most data blob names tried per input.
constexpr std::size_t kMaxBlobNames = 4;

const Keyword kAddedKeyword{u"Équipe", u"Straße 東京 ✓"};
const wstring kAddedTitle = u"Marqueur ajouté ✓";
const wstring kEditedColor = u"Color3";

// A folder of this process with the media file; the sidecar beside it changes per input.
class ClipFolder
{
public:
    ClipFolder()
    {
        std::string pattern = (fs::temp_directory_path() / "qm-fuzz-sidecar-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr)
        {
            std::perror("mkdtemp");
            std::abort();
        }
        m_dir = pattern;
        std::ofstream(m_dir / "clip.mp4", std::ios::binary) << "media";
    }
    ~ClipFolder()
    {
        std::error_code ignored;
        fs::remove_all(m_dir, ignored);
    }
    ClipFolder(const ClipFolder&) = delete;
    ClipFolder& operator=(const ClipFolder&) = delete;

    // Removes what an earlier input left (sidecar, temporary, backup) and writes the new sidecar.
    void Reset(const std::uint8_t* data, std::size_t size) const
    {
        for (const auto& entry : fs::directory_iterator(m_dir))
            if (entry.path().filename() != "clip.mp4")
                fs::remove_all(entry.path());
        std::ofstream(m_dir / "clip.mp4.quilclip", std::ios::binary)
            .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    }

    wstring MediaPath() const
    {
        const std::string path = (m_dir / "clip.mp4").string();
        return wstring(path.begin(), path.end());
    }

private:
    fs::path m_dir;
};

std::string Printable(wstring_view text)
{
    std::string out;
    for (const char16_t c : text)
    {
        if (c >= 0x20 && c < 0x7F)
            out += static_cast<char>(c);
        else
        {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04X", static_cast<unsigned>(c));
            out += escaped;
        }
    }
    return out;
}

[[noreturn]] void Fail(const char* what, wstring_view detail = {})
{
    std::fprintf(stderr, "sidecar round trip: %s %s\n", what, Printable(detail).c_str());
    std::abort();
}

void Check(bool condition, const char* what, wstring_view detail = {})
{
    if (!condition)
        Fail(what, detail);
}

template <typename T>
ComPtr<T> Query(IUnknown* object)
{
    ComPtr<T> result;
    if (object)
        object->QueryInterface(QmIidOf(static_cast<T*>(nullptr)), reinterpret_cast<void**>(result.GetAddressOf()));
    return result;
}

template <typename T>
ComPtr<T> Extension(ILibraryItem* item, REFGUID type)
{
    ComPtr<T> result;
    item->GetExtension(type, QmIidOf(static_cast<T*>(nullptr)), reinterpret_cast<void**>(result.GetAddressOf()));
    return result;
}

// Names of data blobs as the input spells them (Id="..."), plain ASCII only.
std::vector<wstring> BlobNamesOf(const std::uint8_t* data, std::size_t size)
{
    static constexpr std::string_view kKey = "Id=\"";
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    std::vector<wstring> names{u"KeyPositions"};
    for (std::size_t at = text.find(kKey); at != std::string_view::npos && names.size() < kMaxBlobNames;
         at = text.find(kKey, at + 1))
    {
        const std::size_t start = at + kKey.size();
        const std::size_t end = text.find('"', start);
        if (end == std::string_view::npos || end == start || end - start > 64)
            continue;
        const std::string_view name = text.substr(start, end - start);
        bool ascii = true;
        for (const char c : name)
            ascii = ascii && c > 0x1F && c < 0x7F;
        if (ascii)
            names.emplace_back(name.begin(), name.end());
    }
    return names;
}

void ReadFileProperties(ILibraryItem* item)
{
    item->get_Name();
    item->get_MediaPath();
    item->get_SidecarPath();
    item->get_ItemKind();
    item->get_IsReadOnly();
    item->get_Color();
    item->get_SynchronizationHandicap();
    std::uint64_t size = 0;
    item->get_MediaSize(&size);
    item->get_SidecarSize(&size);
    DATE date = 0;
    item->get_MediaWriteTime(&date);
    item->get_SidecarWriteTime(&date);
    item->get_MediaCreationTime(&date);
    if (auto native = Query<ILibraryItemNT>(item))
    {
        FILETIME firstFrame{};
        native->get_FirstFrameAbsoluteTime(&firstFrame);
        native->get_PathOverridden();
    }
    if (auto video = Query<ILibraryItemVideo>(item))
    {
        REFERENCE_TIME thumbnail = 0;
        video->get_ThumbnailTime(&thumbnail);
    }
}

void ReadMarkerRole(ILibraryItem* item)
{
    auto marker = Query<ILibraryItemMarker>(item);
    if (!marker)
        return;
    std::int32_t root = 0;
    marker->get_IsRootItem(&root);
    REFERENCE_TIME cue = 0;
    marker->get_CueIn(&cue);
    marker->get_CueOut(&cue);
    marker->get_Title();
    marker->get_Comment();
    marker->get_ID();
    marker->get_IsSynchMarker();
    marker->get_AudioAnnotationPath();
    ComPtr<ILibraryItemMarker> synch;
    marker->GetSynchMarker(synch.GetAddressOf());
}

void ReadKeywords(ILibraryItem* item, ILibraryItemFactory* factory)
{
    item->get_Keywords();
    item->get_HasKeywords();
    for (const wstring& category : item->get_Categories())
    {
        const wstring joined = item->GetValuesAsString(category);
        factory->ParseValueList(joined.c_str());
        item->GetKeywordsOfCategory(category);
        item->HasValues(category);
        std::array<WCHAR, 8> buffer{};
        item->GetValuesIntoBuffer(category, buffer.data(), buffer.size());
        const std::uint64_t count = item->GetValueCount(category);
        item->GetValueAt(category, 0);
        item->GetValueAtIndex(category, count);
    }
}

void ReadProperties(ILibraryItem* item)
{
    if (auto properties = Extension<IMDProperties>(item, MDTYPE_Properties))
    {
        properties->get_Title();
        properties->get_Comment();
        properties->GetProperty(u"Title");
    }
}

void ReadDataBlobs(ILibraryItem* item, const std::vector<wstring>& names)
{
    auto blob = Extension<IMDDataBlob>(item, MDTYPE_DataBlob);
    if (!blob)
        return;
    for (const wstring& name : names)
    {
        CComBSTR value;
        blob->GetData(name.c_str(), value.GetAddressOf());
    }
}

void ReadMediaSourceInfo(ILibraryItem* item)
{
    if (auto info = Extension<IMDMediaSourceInfo>(item, MDTYPE_MediaSourceInfo))
    {
        info->get_AspectRatio();
        info->get_InterlaceFlags();
        info->get_Rotation();
        info->get_FlipVertical();
        info->get_FlipHorizontal();
        info->get_VideoStreamRate();
    }
}

void ReadAudioMatrix(ILibraryItem* item)
{
    if (auto matrix = Extension<IMDAudioMatrix>(item, MDTYPE_AudioMatrix))
    {
        matrix->get_OutputCount();
        matrix->GetMatrix();
        matrix->GetGain(0, 0);
    }
}

void ReadDataSource(ILibraryItem* item)
{
    auto source = Extension<IMDDataSource>(item, MDTYPE_DataSource);
    ComPtr<qm_mdc::IDataSourceUnitMgrCtrl> manager;
    if (!source || source->QueryManager(qm_mdc::IID_IDataSourceUnitMgrCtrl,
                                        reinterpret_cast<void**>(manager.GetAddressOf())) != S_OK)
        return;
    LONG units = 0;
    manager->GetUnitCount(&units);
    REFERENCE_TIME range = 0;
    manager->GetRangeStart(&range);
    manager->GetRangeEnd(&range);
    ComPtr<IUnknown> unit;
    manager->GetUnit(0, IID_IUnknown, reinterpret_cast<void**>(unit.GetAddressOf()));
}

void ReadLinks(ILibraryItem* item)
{
    auto links = Extension<IMDLibraryItemLink>(item, MDTYPE_LibraryItemLink);
    if (!links)
        return;
    for (const wstring& id : links->GetLinkIds())
    {
        links->GetLinkedPaths(id);
        links->GetLinkName(id);
        links->HasLink(id);
        std::int64_t offset = 0;
        links->GetSynchronizationOffset(id, &offset);
    }
}

void ReadOverlayDrawing(ILibraryItem* item)
{
    if (auto drawing = Extension<IMDOverlayDrawing>(item, MDTYPE_OverlayDrawing))
    {
        CComBSTR text;
        drawing->get_Drawing(text.GetAddressOf());
    }
}

void ReadExtensions(ILibraryItem* item, const std::vector<wstring>& blobNames)
{
    ReadProperties(item);
    ReadDataBlobs(item, blobNames);
    ReadMediaSourceInfo(item);
    ReadAudioMatrix(item);
    ReadDataSource(item);
    ReadLinks(item);
    ReadOverlayDrawing(item);
}

void ReadItem(ILibraryItem* item, ILibraryItemFactory* factory, const std::vector<wstring>& blobNames, int depth);

void ReadMarkers(ILibraryItem* item, ILibraryItemFactory* factory, const std::vector<wstring>& blobNames, int depth)
{
    auto manager = Query<ILibraryItemMarker>(item);
    if (!manager || depth >= kMaxMarkerDepth)
        return;
    for (std::int32_t type = 0; type < kMarkerTypes; ++type)
    {
        manager->HasMarkers(type);
        manager->GetMarkerCount(type);
        for (const auto& marker : manager->GetMarkers(type))
            ReadItem(marker.Get(), factory, blobNames, depth + 1);
    }
}

void ReadItem(ILibraryItem* item, ILibraryItemFactory* factory, const std::vector<wstring>& blobNames, int depth)
{
    ReadFileProperties(item);
    ReadMarkerRole(item);
    ReadKeywords(item, factory);
    ReadExtensions(item, blobNames);
    ReadMarkers(item, factory, blobNames, depth);
}

// What a save and a new load must keep.
struct Snapshot
{
    std::vector<Keyword> keywords;
    std::array<std::int64_t, kMarkerTypes> markerCounts{};
    std::array<std::vector<wstring>, kMarkerTypes> titles;
    REFERENCE_TIME synchronizationHandicap = 0;
    // The wall-clock time of the first frame, 0 where the clip does not know it.
    std::uint64_t firstFrameTime = 0;
};

std::uint64_t FirstFrameTime(ILibraryItem* item)
{
    FILETIME time{};
    auto native = Query<ILibraryItemNT>(item);
    if (!native || native->get_FirstFrameAbsoluteTime(&time) != S_OK)
        return 0;
    return (static_cast<std::uint64_t>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
}

Snapshot TakeSnapshot(ILibraryItem* item)
{
    Snapshot snapshot;
    snapshot.keywords = item->get_Keywords();
    snapshot.synchronizationHandicap = item->get_SynchronizationHandicap();
    snapshot.firstFrameTime = FirstFrameTime(item);
    auto manager = Query<ILibraryItemMarker>(item);
    for (std::int32_t type = 0; type < kMarkerTypes; ++type)
    {
        snapshot.markerCounts[type] = manager->GetMarkerCount(type);
        for (const auto& marker : manager->GetMarkers(type))
            snapshot.titles[type].push_back(Query<ILibraryItemMarker>(marker.Get())->get_Title());
    }
    return snapshot;
}

// The edits made before the save; a field stays empty where the edit was refused.
struct Edits
{
    bool colorSet = false;
    bool keywordAdded = false;
    bool keywordWasNew = false;
    std::int32_t markerType = -1;
    wstring markerId;
    REFERENCE_TIME cueIn = 0;
    REFERENCE_TIME cueOut = 0;
};

Edits Edit(ILibraryItem* item, std::size_t inputSize)
{
    Edits edits;
    edits.colorSet = item->put_Color(kEditedColor) == S_OK;
    edits.keywordWasNew = !item->HasKeyword(kAddedKeyword.first, kAddedKeyword.second);
    edits.keywordAdded = item->AddKeyword(kAddedKeyword) == S_OK;

    auto manager = Query<ILibraryItemMarker>(item);
    const auto type = static_cast<std::int32_t>(inputSize % kMarkerTypes);
    ComPtr<ILibraryItemMarker> marker;
    if (manager->CreateMarker(type, marker.GetAddressOf()) != S_OK)
        return edits;
    edits.cueIn = 10'000'000 + static_cast<REFERENCE_TIME>(inputSize);
    edits.cueOut = edits.cueIn + 5'000'000;
    if (marker->SetCuePoints(edits.cueIn, edits.cueOut) != S_OK || marker->put_Title(kAddedTitle) != S_OK)
        Fail("a new marker refused its cue points or title");
    edits.markerType = type;
    edits.markerId = marker->get_ID();
    return edits;
}

void CheckKeywords(ILibraryItem* item, const Snapshot& before, const Edits& edits)
{
    for (const Keyword& keyword : before.keywords)
        Check(item->HasKeyword(keyword.first, keyword.second), "keyword lost:", keyword.first + u"=" + keyword.second);
    if (!edits.keywordAdded)
        return;
    Check(item->HasKeyword(kAddedKeyword.first, kAddedKeyword.second), "added keyword lost");
    const std::size_t expected = before.keywords.size() + (edits.keywordWasNew ? 1 : 0);
    Check(item->get_Keywords().size() == expected, "keyword count changed");
}

void CheckNewMarker(ILibraryItemMarker* marker, const Edits& edits)
{
    REFERENCE_TIME in = 0;
    REFERENCE_TIME out = 0;
    Check(marker->get_CueIn(&in) == S_OK && in == edits.cueIn, "new marker cue in differs");
    Check(marker->get_CueOut(&out) == S_OK && out == edits.cueOut, "new marker cue out differs");
    Check(marker->get_ID() == edits.markerId, "new marker ID differs:", marker->get_ID());
}

void CheckMarkers(ILibraryItem* item, const Snapshot& before, const Edits& edits)
{
    auto manager = Query<ILibraryItemMarker>(item);
    const Snapshot after = TakeSnapshot(item);
    for (std::int32_t type = 0; type < kMarkerTypes; ++type)
    {
        if (before.markerCounts[type] < 0)
            continue;
        std::vector<wstring> expected = before.titles[type];
        if (type == edits.markerType)
            expected.push_back(kAddedTitle);
        Check(after.markerCounts[type] == static_cast<std::int64_t>(expected.size()), "marker count differs");
        for (std::size_t i = 0; i < expected.size(); ++i)
            Check(after.titles[type][i] == expected[i], "marker title differs:", after.titles[type][i]);
        if (type == edits.markerType)
        {
            ComPtr<ILibraryItemMarker> added;
            manager->GetMarker(type, after.markerCounts[type] - 1, added.GetAddressOf());
            Check(added != nullptr, "new marker missing");
            CheckNewMarker(added.Get(), edits);
        }
    }
}

void CheckReloaded(ILibraryItem* item, const Snapshot& before, const Edits& edits)
{
    if (edits.colorSet)
        Check(item->get_Color() == kEditedColor, "colour differs:", item->get_Color());
    Check(item->get_SynchronizationHandicap() == before.synchronizationHandicap, "synchronisation offset differs");
    Check(FirstFrameTime(item) == before.firstFrameTime, "first frame time differs");
    CheckKeywords(item, before, edits);
    CheckMarkers(item, before, edits);
}

ComPtr<ILibraryItemFactory> NewFactory()
{
    ComPtr<ILibraryItemFactory> factory;
    if (CreateLibraryItemFactory(factory.GetAddressOf()) != S_OK || !factory)
        Fail("no factory");
    return factory;
}

void Terminate(ILibraryItemFactory* factory)
{
    if (auto ex = Query<ILibraryItemFactoryEx>(factory))
        ex->Terminate();
}

// Loads the saved file with a fresh factory and compares.
void Reload(const wstring& mediaPath, const Snapshot& before, const Edits& edits,
            const std::vector<wstring>& blobNames)
{
    ComPtr<ILibraryItemFactory> factory = NewFactory();
    {
        ComPtr<ILibraryItem> item;
        const HRESULT hr = factory->GetLibraryItem(mediaPath.c_str(), item.GetAddressOf());
        Check(hr == S_OK && item != nullptr, "the saved sidecar does not load");
        CheckReloaded(item.Get(), before, edits);
        ReadItem(item.Get(), factory.Get(), blobNames, 0);
    }
    Terminate(factory.Get());
}

void RunOne(const wstring& mediaPath, const std::uint8_t* data, std::size_t size)
{
    const std::vector<wstring> blobNames = BlobNamesOf(data, size);
    ComPtr<ILibraryItemFactory> factory = NewFactory();
    Snapshot before;
    Edits edits;
    bool saved = false;
    {
        ComPtr<ILibraryItem> item;
        if (SUCCEEDED(factory->GetLibraryItem(mediaPath.c_str(), item.GetAddressOf())) && item)
        {
            ReadItem(item.Get(), factory.Get(), blobNames, 0);
            before = TakeSnapshot(item.Get());
            edits = Edit(item.Get(), size);
            saved = item->Save() == S_OK;
        }
    }
    Terminate(factory.Get());
    factory = nullptr;
    if (saved)
        Reload(mediaPath, before, edits, blobNames);
}

const ClipFolder& Folder()
{
    static const ClipFolder folder;
    return folder;
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    qm_log::SetReportLevel(0);
    Folder();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const ClipFolder& folder = Folder();
    folder.Reset(data, size);
    RunOne(folder.MediaPath(), data, size);
    return 0;
}
