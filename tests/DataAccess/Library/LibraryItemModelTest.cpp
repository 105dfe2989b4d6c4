// The item's identity, paths, read-only decision, serialization and metadata copies.
#include "DataAccess/Library/ClipTestSupport.h"
#include "Support/FaultInjectingFileSystem.h"
#include "Platform/Xml/XmlDocumentHelpers.h"

#include <cerrno>

using namespace qmtest;
using Quillmar::Library::Native::CLibraryItem;

namespace
{
class ModelTest : public ClipTest
{
protected:
    ComPtr<ILibraryItem> Detached()
    {
        ComPtr<ILibraryItem> item;
        EXPECT_EQ(m_factory->CreateLibraryItem(item.GetAddressOf()), S_OK);
        return item;
    }
};

class CountingCulture final : public Standard::ICultureInfo
{
public:
    HRESULT QueryInterface(REFIID riid, void** ppv) override
    {
        *ppv = riid == IID_IUnknown || riid == Standard::IID_ICultureInfo ? this : nullptr;
        return *ppv ? S_OK : E_NOINTERFACE;
    }
    ULONG AddRef() override { return ++m_references; }
    ULONG Release() override { return --m_references; }
    wstring get_Name() override { return m_name; }
    MVVM::PropertyEvent<bool>& get_Changed() override { return m_changed; }

    wstring m_name = u"fr-FR";
    MVVM::PropertyEvent<bool> m_changed;
    ULONG m_references = 1;
};
} // namespace

TEST_F(ModelTest, SettingTheSamePathDoesNothingAndANotebookIsItsOwnSidecar)
{
    const auto item = Clip("p.mp4");
    EXPECT_EQ(item->put_MediaPath(item->get_MediaPath(), true), S_FALSE);
    EXPECT_TRUE(item->HasPath(m_dir.U16("p.mp4")));
    EXPECT_FALSE(item->HasPath(m_dir.U16("P.mp4")));
    EXPECT_TRUE(item->HasId(Marker(item.Get())->get_ID()));

    const auto notebook = Detached();
    EXPECT_EQ(notebook->put_MediaPath(m_dir.U16("n.notebook"), false), S_OK);
    EXPECT_EQ(notebook->get_ItemKind(), ItemKindNotebook);
    EXPECT_EQ(notebook->get_SidecarPath(), m_dir.U16("n.notebook"));

    const auto unknown = Detached();
    EXPECT_EQ(unknown->put_MediaPath(m_dir.U16("x.avi"), false), S_OK);
    EXPECT_EQ(unknown->get_ItemKind(), ItemKindUnknown);
    EXPECT_EQ(unknown->get_SidecarPath(), m_dir.U16("x.avi.quilclip"));
}

TEST_F(ModelTest, DisplayNameAndPathOverride)
{
    const auto item = Clip("long name.mp4");
    ComPtr<Quillmar::Library::Native::ILibraryItemNT> nt;
    item.As(&nt);
    EXPECT_EQ(item->get_Name(), u"long name");
    nt->put_DisplayName(u"Shown");
    EXPECT_EQ(item->get_Name(), u"Shown");
    EXPECT_FALSE(nt->get_PathOverridden());
    nt->SetPathOverride(u"/elsewhere/x.mp4", u"tag");
    EXPECT_TRUE(nt->get_PathOverridden());
    EXPECT_EQ(nt->get_PathOverrideTag(), u"tag");
    EXPECT_EQ(item->get_MediaPath(), u"/elsewhere/x.mp4");
}

TEST_F(ModelTest, AFolderThatCannotBeWrittenMakesTheClipReadOnly)
{
    Media("w.mp4");
    qm::FaultInjectingFileSystem faults(qm::FileSystem());
    qm::ScopedFileSystem scoped(faults);
    faults.Fail(qm::FaultInjectingFileSystem::Operation::IsFolderWritable, EROFS, -1);
    const auto item = Get(m_dir.U16("w.mp4"));
    EXPECT_TRUE(item->get_IsReadOnly());
    EXPECT_TRUE(FAILED(item->Save()));
    EXPECT_FALSE(std::filesystem::exists(Sidecar("w.mp4")));
}

TEST_F(ModelTest, ReadOnlyPermissionsGoOnMediaAndSidecar)
{
    const auto item = Clip("r.mp4");
    ASSERT_EQ(item->Save(), S_OK);
    ASSERT_EQ(item->put_IsReadOnly(true), S_OK);
    using std::filesystem::perms;
    EXPECT_EQ(std::filesystem::status(m_dir / "r.mp4").permissions() & perms::owner_write, perms::none);
    EXPECT_EQ(std::filesystem::status(Sidecar("r.mp4")).permissions() & perms::owner_write, perms::none);
    ASSERT_EQ(item->put_IsReadOnly(false), S_OK);
    EXPECT_FALSE(item->get_IsReadOnly());
    EXPECT_NE(std::filesystem::status(Sidecar("r.mp4")).permissions() & perms::owner_write, perms::none);
    EXPECT_EQ(Detached()->put_IsReadOnly(true), E_UNEXPECTED);
}

TEST_F(ModelTest, SerializeAndDeserializeCarryTheNodeThroughAnotherDocument)
{
    const auto item = Clip("s.mp4");
    item->put_Color(u"Color4");
    ComPtr<IXMLDOMDocument> document;
    ASSERT_EQ(CreateDocument(document.GetAddressOf(), false), S_OK);
    ComPtr<IXMLDOMElement> holder;
    document->createElement(CComBSTR(u"Holder"), holder.GetAddressOf());
    ComPtr<Quillmar::Library::Native::ILibraryItemSerialization> serialization;
    item.As(&serialization);
    ASSERT_EQ(serialization->Serialize(CComVariant(), holder.Get()), S_OK);

    const auto other = Detached();
    ComPtr<Quillmar::Library::Native::ILibraryItemSerialization> reader;
    other.As(&reader);
    ASSERT_EQ(reader->Deserialize(holder.Get()), S_OK);
    EXPECT_EQ(other->get_Color(), u"Color4");
    EXPECT_TRUE(other->HasId(Marker(item.Get())->get_ID()));
    ComPtr<IXMLDOMElement> empty;
    document->createElement(CComBSTR(u"Empty"), empty.GetAddressOf());
    EXPECT_EQ(reader->Deserialize(empty.Get()), S_FALSE);
}

TEST_F(ModelTest, ChildNodesAreFoundOrMade)
{
    const auto item = Clip("c.mp4");
    ComPtr<IXMLDOMNode> node;
    EXPECT_EQ(item->GetChildNode(CComBSTR(u"Custom"), node.GetAddressOf()), S_FALSE);
    EXPECT_EQ(item->GetOrCreateChildNode(CComBSTR(u"Custom"), node.GetAddressOf()), S_OK);
    ComPtr<IXMLDOMNode> again;
    EXPECT_EQ(item->GetChildNode(CComBSTR(u"Custom"), again.GetAddressOf()), S_OK);
    EXPECT_EQ(again.Get(), node.Get());
}

TEST_F(ModelTest, ServicesAndEngineOperationsWithoutAnEngine)
{
    const auto item = Clip("e.mp4");
    ComPtr<IServiceProvider> provider;
    item.As(&provider);
    void* service = nullptr;
    EXPECT_EQ(provider->QueryService(IID_IUnknown, IID_IUnknown, &service), E_NOTIMPL);
    const GUID cached = qm::ParseGuid("{C15A5600-52DB-4ED1-B091-97750D006828}");
    ComPtr<IServiceProvider> detachedProvider;
    Detached().As(&detachedProvider);
    EXPECT_EQ(detachedProvider->QueryService(cached, IID_IUnknown, &service), E_NOINTERFACE);

    ComPtr<Quillmar::Library::Native::ILibraryItemNT> nt;
    item.As(&nt);
    REFERENCE_TIME duration = 0;
    EXPECT_EQ(nt->get_Duration(&duration), S_OK);
    EXPECT_EQ(duration, kTimeNotSet);
    EXPECT_FALSE(nt->HasSourceInfo());
    nt->put_Duration(90);
    EXPECT_TRUE(nt->HasSourceInfo());
    EXPECT_EQ(nt->GetIndexingProgress(), 100);
    EXPECT_EQ(nt->AbortIndexing(), S_OK);
}

TEST_F(ModelTest, CopyingMetadataAddsAndKeepsWhatTheSourceLacks)
{
    const auto source = Clip("from.mp4");
    const auto target = Clip("to.mp4");
    Marker(source.Get())->put_Title(u"Title");
    source->AddKeyword({u"a", u"1"});
    target->AddKeyword({u"b", u"2"});
    Marker(target.Get())->SetCuePoints(5, 9);
    ComPtr<IMDDataBlob> blob;
    source->GetOrCreateExtension(MDTYPE_DataBlob, IID_IMDDataBlob, reinterpret_cast<void**>(blob.GetAddressOf()));
    blob->SetData(u"k", u"v");

    EXPECT_EQ(CopyLibraryItemMetadata(target.Get(), source.Get(), false), S_OK);
    EXPECT_EQ(Marker(target.Get())->get_Title(), u"Title");
    EXPECT_EQ(target->get_Categories(), (std::vector<std::u16string>{u"a", u"b"}));
    REFERENCE_TIME in = 0;
    Marker(target.Get())->get_CueIn(&in);
    EXPECT_EQ(in, 5);
    ComPtr<IMDDataBlob> copied;
    EXPECT_EQ(target->GetExtension(MDTYPE_DataBlob, IID_IMDDataBlob, reinterpret_cast<void**>(copied.GetAddressOf())), S_FALSE);
    EXPECT_EQ(CopyLibraryItemMetadata(target.Get(), source.Get(), true), S_OK);
    EXPECT_EQ(target->GetExtension(MDTYPE_DataBlob, IID_IMDDataBlob, reinterpret_cast<void**>(copied.GetAddressOf())), S_OK);
    EXPECT_EQ(CopyLibraryItemMetadata(nullptr, source.Get(), true), E_INVALIDARG);
}

TEST_F(ModelTest, TheFactoryFollowsTheCultureUntilItIsTerminated)
{
    CountingCulture culture;
    ComPtr<Quillmar::Library::Native::ILibraryItemFactoryEx> ex;
    m_factory.As(&ex);
    ASSERT_EQ(ex->Initialize(nullptr, &culture), S_OK);
    EXPECT_EQ(culture.m_references, 2u);
    culture.m_name = u"de-DE";
    culture.m_changed.Fire(nullptr, true);
    ASSERT_EQ(ex->Terminate(), S_OK);
    EXPECT_EQ(culture.m_references, 1u);
    culture.m_changed.Fire(nullptr, true);
}
