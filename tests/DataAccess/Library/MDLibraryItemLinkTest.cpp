// Links between clips: the map of references, locations stored relative to the clip
// where one file system holds both, and the linked clips placed by their Index.
#include "DataAccess/Library/MDLibraryItemLink.h"

#include "DataAccess/Library/ExtensionTestSupport.h"
#include "Support/FaultInjectingFileSystem.h"
#include "Support/TempDir.h"
#include "qm/Library/LibraryItemFactory.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

using namespace Quillmar::Library::Native;
using namespace qmtest;

namespace
{
// An item that takes the media path it is given.
class PathTakingItem final : public StubLibraryItem
{
public:
    QM_IUNKNOWN_IMPL(PathTakingItem, ILibraryItem)
    HRESULT put_MediaPath(const wstring& path, bool) override
    {
        m_path = path;
        return S_OK;
    }
};

// Makes stub items; a path holding "broken" cannot be opened. The rest is not needed here.
class TestFactory final : public Standard::CComObjectRootEx<Standard::CComMultiThreadModel>, public ILibraryItemFactory
{
public:
    QM_IUNKNOWN_IMPL(TestFactory, ILibraryItemFactory)

    HRESULT CreateLibraryItem(ILibraryItem** pp) override { return qm::CreateObject<PathTakingItem>(pp); }
    HRESULT GetLibraryItem(LPCWSTR path, ILibraryItem** pp) override
    {
        if (wstring_view(path).find(u"broken") != wstring_view::npos)
            return E_ACCESSDENIED;
        return qm::CreateObject<StubLibraryItem>(pp, wstring(path));
    }
    HRESULT GetLibraryItemEx(LPCWSTR, bool, ILibraryItem**) override { return E_NOTIMPL; }
    HRESULT GetLibraryItemFromNode(IXMLDOMNode*, ILibraryItem**) override { return E_NOTIMPL; }
    std::int32_t GetItemKindOfPath(LPCWSTR) override { return -1; }
    std::int32_t GetItemKindOfExtension(LPCWSTR) override { return -1; }
    HRESULT CreateRepository(ILibraryRepository**) override { return E_NOTIMPL; }
    HRESULT CreateCollectionFrom(const std::vector<ILibraryItem*>&, ILibraryItemCollection**) override
    {
        return E_NOTIMPL;
    }
    HRESULT CreateCollection(ILibraryItemCollection**) override { return E_NOTIMPL; }
    HRESULT CreateExtensionObject(REFGUID, REFIID, void**) override { return E_NOTIMPL; }
    HRESULT ReleaseIndexes() override { return E_NOTIMPL; }
    HRESULT StopIndexing() override { return E_NOTIMPL; }
    HRESULT RemoveItemFromSourceCache(ILibraryItem*) override { return E_NOTIMPL; }
    HRESULT RemoveItemsFromSourceCache(const std::vector<ILibraryItem*>&) override { return E_NOTIMPL; }
    HRESULT DeleteItem(ILibraryItem*, bool) override { return E_NOTIMPL; }
    HRESULT RenameItem(ILibraryItem*, LPCWSTR) override { return E_NOTIMPL; }
    HRESULT DeleteItems(const std::vector<ILibraryItem*>&, bool, std::vector<ILibraryItem*>&) override
    {
        return E_NOTIMPL;
    }
    HRESULT RemoveFromCache(const wstring&, bool) override { return E_NOTIMPL; }
    HRESULT GetIndexFilePath(LPCWSTR, WCHAR*, size_t) override { return E_NOTIMPL; }
    HRESULT GetItemsFromShellItems(IShellItemArray*, ILibraryItemCollection**, std::int32_t) override
    {
        return E_NOTIMPL;
    }
    HRESULT GetLibraryItemFromShellItem(IShellItem*, ILibraryItem**, std::int32_t) override { return E_NOTIMPL; }
    HRESULT CreateDocumentObject(LPCWSTR, IDocument**) override { return E_NOTIMPL; }
    HRESULT GetDocument(ILibraryItem*, IDocument**) override { return E_NOTIMPL; }
    HRESULT GetDocumentFromShellItem(IShellItem*, IDocument**) override { return E_NOTIMPL; }
    HRESULT GetDocumentFromPath(LPCWSTR, IDocument**) override { return E_NOTIMPL; }
    HRESULT DeleteDocument(IDocument*, bool, bool, std::vector<ILibraryItem*>&) override { return E_NOTIMPL; }
    HRESULT CreateDeviceTrack(IDeviceTrack**) override { return E_NOTIMPL; }
    HRESULT CreateQuery(ILibraryItemQuery**) override { return E_NOTIMPL; }
    std::vector<wstring> ParseValueList(LPCWSTR) override { return {}; }
    HRESULT CreateNewItemFile(const wstring&, ILibraryItem**) override { return E_NOTIMPL; }
};

// Answers everything but the private identifier, as another implementation would.
class ForeignLink : public CMDLibraryItemLink
{
public:
    HRESULT QueryInterface(REFIID riid, void** ppv) override
    {
        *ppv = nullptr;
        return riid == ClassId ? E_NOINTERFACE : CMDLibraryItemLink::QueryInterface(riid, ppv);
    }
};

class MDLibraryItemLinkTest : public ExtensionTest
{
protected:
    // Its clips have no name element, so that the tests see where a save puts the container.
    MDLibraryItemLinkTest() : ExtensionTest(u"") {}

    static ComPtr<StubLibraryItem> Item(wstring path) { return qm::MakeObject<StubLibraryItem>(std::move(path)); }

    // The extension's element after a save from a clip at mediaPath.
    std::u16string Saved(CMDLibraryItemLink* link, const wstring& mediaPath)
    {
        auto clip = ClipNode();
        EXPECT_EQ(S_OK, link->Save(clip.Get(), Item(mediaPath).Get()));
        return XmlOf(Select(clip.Get(), u"Library.MDLibraryItemLink").Get());
    }
    ComPtr<CMDLibraryItemLink> Loaded(std::u16string_view content, const wstring& mediaPath)
    {
        auto link = qm::MakeObject<CMDLibraryItemLink>();
        EXPECT_EQ(S_OK, link->Load(ClipNode(content).Get(), Item(mediaPath).Get()));
        return link;
    }
    static std::vector<wstring> PathsOf(const std::vector<ComPtr<ILibraryItem>>& items)
    {
        std::vector<wstring> paths;
        for (const auto& item : items)
            paths.push_back(item ? item->get_MediaPath() : u"(null)");
        return paths;
    }

    ComPtr<CMDLibraryItemLink> m_link = qm::MakeObject<CMDLibraryItemLink>();
    ComPtr<TestFactory> m_factory = qm::MakeObject<TestFactory>();
};
} // namespace

TEST_F(MDLibraryItemLinkTest, ReferencesAreMadeByTheirSettersAndGoWithTheirLastPath)
{
    EXPECT_FALSE(m_link->CanUnload());
    EXPECT_EQ(E_NOTIMPL, m_link->Clone(nullptr, 1));
    EXPECT_EQ(S_OK, m_link->AddLinkedPath(u"NOTEBOOK", u"/v/a.mp4", std::nullopt));
    EXPECT_EQ(S_OK, m_link->AddLinkedItem(u"NOTEBOOK", Item(u"/v/b.mp4").Get(), 1));
    EXPECT_EQ(S_OK, m_link->AddLinkedPath(u"NOTEBOOK", u"/v/a.mp4", 2));
    EXPECT_EQ(S_OK, m_link->SetLinkName(u"AudioAnnotation", u"Voice"));
    EXPECT_EQ(E_INVALIDARG, m_link->AddLinkedItem(u"X", nullptr, std::nullopt));
    EXPECT_TRUE(m_link->IsDirty());
    EXPECT_EQ((std::vector<wstring>{u"AudioAnnotation", u"NOTEBOOK"}), m_link->GetLinkIds());
    EXPECT_EQ(u"Voice", m_link->GetLinkName(u"AudioAnnotation"));

    std::int64_t offset = 7;
    EXPECT_EQ(E_FAIL, m_link->GetSynchronizationOffset(u"missing", &offset));
    EXPECT_EQ(S_OK, m_link->GetSynchronizationOffset(u"NOTEBOOK", &offset));
    EXPECT_EQ(0, offset);

    EXPECT_EQ(S_FALSE, m_link->RemoveLinkedPath(u"missing", u"/v/a.mp4"));
    EXPECT_EQ(S_OK, m_link->RemoveLinkedPath(u"NOTEBOOK", u"/v/a.mp4"));
    EXPECT_EQ((std::vector<wstring>{u"/v/b.mp4"}), m_link->GetLinkedPaths(u"NOTEBOOK"));
    EXPECT_EQ(S_OK, m_link->RemoveLinkedItem(u"NOTEBOOK", Item(u"/v/b.mp4").Get()));
    EXPECT_FALSE(m_link->HasLink(u"NOTEBOOK"));
    EXPECT_TRUE(m_link->GetLinkedPaths(u"NOTEBOOK").empty());

    EXPECT_EQ(S_FALSE, m_link->RemoveLink(u"missing"));
    EXPECT_EQ(S_OK, m_link->RemoveLink(u""));
    EXPECT_TRUE(m_link->GetLinkIds().empty());
    // An empty map still writes its container, in place of the old one.
    auto clip = ClipNode(u"<Library.MDLibraryItemLink><Reference Id=\"old\"/></Library.MDLibraryItemLink><NAME/>");
    EXPECT_EQ(S_OK, m_link->Save(clip.Get(), Item(u"/v/c.mp4").Get()));
    EXPECT_EQ(u"<LIBRARY_ITEM><NAME/><Library.MDLibraryItemLink/></LIBRARY_ITEM>", XmlOf(clip.Get()));
    EXPECT_EQ(S_FALSE, m_link->Save(clip.Get(), Item(u"/v/c.mp4").Get()));
    EXPECT_EQ(S_OK, m_link->RemoveLink(u""));
    EXPECT_TRUE(m_link->IsDirty());

    m_link->SetLinkName(u"kept", u"");
    EXPECT_EQ(S_OK, m_link->Delete(clip.Get(), Item(u"/v/c.mp4").Get()));
    EXPECT_EQ(u"<LIBRARY_ITEM><NAME/></LIBRARY_ITEM>", XmlOf(clip.Get()));
    EXPECT_FALSE(m_link->IsDirty());
    EXPECT_TRUE(m_link->HasLink(u"kept"));
}

TEST_F(MDLibraryItemLinkTest, ALocationIsRelativeOnlyOnTheClipsFileSystem)
{
    qm::FaultInjectingFileSystem fileSystem(qm::FileSystem());
    qm::ScopedFileSystem scope(fileSystem);
    fileSystem.SetDevice(u"/vol1", 1);
    fileSystem.SetDevice(u"/vol2", 2);
    m_link->AddLinkedPath(u"A", u"/vol1/other/b.mp4", 2);
    m_link->AddLinkedPath(u"A", u"/vol1/x/sub/c.mp4", std::nullopt);
    m_link->AddLinkedPath(u"A", u"/vol2/d.mp4", std::nullopt);
    m_link->SetSynchronizationOffset(u"A", -5);
    m_link->SetLinkName(u"A", u"Audio");
    m_link->SetSynchronizationOffset(u"B", 0);
    EXPECT_EQ(u"<Library.MDLibraryItemLink><Reference Id=\"A\" SynchronizationOffset=\"-5\" Name=\"Audio\">"
              u"<LibraryItem LastKnownLocation=\"../other/b.mp4\" Index=\"2\"/>"
              u"<LibraryItem LastKnownLocation=\"./sub/c.mp4\"/><LibraryItem LastKnownLocation=\"/vol2/d.mp4\"/>"
              u"</Reference><Reference Id=\"B\"/></Library.MDLibraryItemLink>",
              Saved(m_link.Get(), u"/vol1/x/y.mp4"));
    EXPECT_FALSE(m_link->IsDirty());
}

TEST_F(MDLibraryItemLinkTest, LoadResolvesLocationsFromTheClipsCurrentPlace)
{
    auto link = Loaded(u"<Library.MDLibraryItemLink>"
                       u"<Reference Id=\"A\" SynchronizationOffset=\"12\" Name=\"first\">"
                       u"<LibraryItem LastKnownLocation=\"x.mp4\"/></Reference>"
                       u"<Reference Id=\"B\" SynchronizationOffset=\"soon\">"
                       u"<LibraryItem LastKnownLocation=\"..\\other\\clip.mp4\" Index=\"4\"/>"
                       u"<LibraryItem Index=\"1\"/>"
                       u"<LibraryItem LastKnownLocation=\"/abs/e.mp4\" Index=\"one\"/>"
                       u"<LibraryItem LastKnownLocation=\"D:\\w\\f.mp4\"/></Reference>"
                       u"<Reference Name=\"no id\"/>"
                       u"<Reference Id=\"A\"><LibraryItem LastKnownLocation=\"./sub/y.mp4\"/></Reference>"
                       u"</Library.MDLibraryItemLink>",
                       u"/new/place/clip.mp4");
    EXPECT_FALSE(link->IsDirty());
    EXPECT_EQ((std::vector<wstring>{u"A", u"B"}), link->GetLinkIds());
    // A later reference of the same id replaces the earlier one whole.
    EXPECT_EQ((std::vector<wstring>{u"/new/place/sub/y.mp4"}), link->GetLinkedPaths(u"A"));
    EXPECT_EQ(u"", link->GetLinkName(u"A"));
    std::int64_t offset = 1;
    EXPECT_EQ(S_OK, link->GetSynchronizationOffset(u"B", &offset));
    EXPECT_EQ(0, offset);
    EXPECT_EQ((std::vector<wstring>{u"/new/other/clip.mp4", u"/abs/e.mp4", u"D:\\w\\f.mp4"}),
              link->GetLinkedPaths(u"B"));
    // Without a media path to be relative to, every location is written absolute.
    link->SetSynchronizationOffset(u"B", 0);
    EXPECT_EQ(u"<Library.MDLibraryItemLink><Reference Id=\"A\">"
              u"<LibraryItem LastKnownLocation=\"/new/place/sub/y.mp4\"/></Reference><Reference Id=\"B\">"
              u"<LibraryItem LastKnownLocation=\"/new/other/clip.mp4\" Index=\"4\"/>"
              u"<LibraryItem LastKnownLocation=\"/abs/e.mp4\"/><LibraryItem LastKnownLocation=\"D:\\w\\f.mp4\"/>"
              u"</Reference></Library.MDLibraryItemLink>",
              Saved(link.Get(), u""));

    auto homeless =
        Loaded(u"<Library.MDLibraryItemLink><Reference Id=\"A\"><LibraryItem LastKnownLocation=\"../x.mp4\"/>"
               u"</Reference></Library.MDLibraryItemLink>",
               u"");
    EXPECT_EQ((std::vector<wstring>{u""}), homeless->GetLinkedPaths(u"A"));

    m_link->AddLinkedPath(u"A", u"/x.mp4", std::nullopt);
    EXPECT_EQ(E_FAIL, m_link->Load(ClipNode().Get(), Item(u"/c.mp4").Get()));
    EXPECT_FALSE(m_link->HasLink(u"A"));
    EXPECT_FALSE(m_link->IsDirty());
    EXPECT_EQ(E_INVALIDARG, m_link->Load(ClipNode().Get(), nullptr));
}

TEST_F(MDLibraryItemLinkTest, APairOfFilesMovedTogetherStillResolves)
{
    TempDir folder;
    std::filesystem::create_directories(folder.Path() / "before" / "audio");
    std::ofstream(folder / "before/clip.mp4") << "v";
    std::ofstream(folder / "before/audio/voice.wav") << "a";
    m_link->AddLinkedPath(u"AudioAnnotation", folder.U16("before/audio/voice.wav"), std::nullopt);
    auto clip = ClipNode();
    ASSERT_EQ(S_OK, m_link->Save(clip.Get(), Item(folder.U16("before/clip.mp4")).Get()));

    std::filesystem::rename(folder.Path() / "before", folder.Path() / "after");
    auto link = qm::MakeObject<CMDLibraryItemLink>();
    ASSERT_EQ(S_OK, link->Load(clip.Get(), Item(folder.U16("after/clip.mp4")).Get()));
    const auto items = link->get_LinkedItems(m_factory.Get(), u"AudioAnnotation", false);
    EXPECT_EQ((std::vector<wstring>{folder.U16("after/audio/voice.wav")}), PathsOf(items));
}

TEST_F(MDLibraryItemLinkTest, LinkedItemsArePlacedByIndexWithNullGaps)
{
    TempDir folder;
    for (const char* name : {"two.mp4", "none.mp4", "zero.mp4", "three.mp4", "broken.mp4"})
        std::ofstream(folder / name) << "v";
    m_link->AddLinkedPath(u"A", folder.U16("two.mp4"), 2);
    m_link->AddLinkedPath(u"A", folder.U16("none.mp4"), std::nullopt);
    m_link->AddLinkedPath(u"A", folder.U16("zero.mp4"), 0);
    EXPECT_EQ((std::vector<wstring>{folder.U16("none.mp4"), folder.U16("zero.mp4"), folder.U16("two.mp4")}),
              PathsOf(m_link->get_LinkedItems(m_factory.Get(), u"A", false)));

    m_link->AddLinkedPath(u"B", folder.U16("three.mp4"), 3);
    EXPECT_EQ((std::vector<wstring>{u"(null)", u"(null)", u"(null)", folder.U16("three.mp4")}),
              PathsOf(m_link->get_LinkedItems(m_factory.Get(), u"B", false)));

    m_link->AddLinkedPath(u"C", folder.U16("missing.mp4"), std::nullopt);
    m_link->AddLinkedPath(u"C", folder.U16("broken.mp4"), std::nullopt);
    EXPECT_TRUE(m_link->get_LinkedItems(m_factory.Get(), u"C", false).empty());
    EXPECT_EQ((std::vector<wstring>{folder.U16("missing.mp4")}),
              PathsOf(m_link->get_LinkedItems(m_factory.Get(), u"C", true)));
    EXPECT_NE(std::string::npos, m_log.Lines(1).back().find(
                                     "CMDLibraryItemLink::get_LinkedItems: Failed to create library item from path: "));
    EXPECT_TRUE(m_link->get_LinkedItems(m_factory.Get(), u"unknown", true).empty());
}

TEST_F(MDLibraryItemLinkTest, CopyFromTakesADeepCopyOfAnotherLinkOfThisKindOnly)
{
    m_link->AddLinkedPath(u"A", u"/a.mp4", 1);
    auto copy = qm::MakeObject<CMDLibraryItemLink>();
    copy->SetLinkName(u"old", u"gone");
    auto clip = ClipNode();
    copy->Save(clip.Get(), Item(u"/c.mp4").Get());
    EXPECT_EQ(S_OK, copy->CopyFrom(m_link.Get()));
    EXPECT_FALSE(copy->IsDirty());
    m_link->AddLinkedPath(u"A", u"/b.mp4", std::nullopt);
    EXPECT_EQ((std::vector<wstring>{u"A"}), copy->GetLinkIds());
    EXPECT_EQ((std::vector<wstring>{u"/a.mp4"}), copy->GetLinkedPaths(u"A"));
    EXPECT_EQ(S_OK, copy->CopyFrom(copy.Get()));
    EXPECT_EQ((std::vector<wstring>{u"/a.mp4"}), copy->GetLinkedPaths(u"A"));

    auto foreign = qm::MakeObject<ForeignLink>();
    EXPECT_EQ(E_NOINTERFACE, copy->CopyFrom(foreign.Get()));
    EXPECT_TRUE(copy->HasLink(u"A"));
}
