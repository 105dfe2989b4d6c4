// The data source extension: its manager's way into and out of the clip's XML, whole
// and sectioned copies, and replacement from text.
#include "DataAccess/Library/MDDataSource.h"

#include "DataAccess/Library/ExtensionTestSupport.h"

#include <string>

using namespace Quillmar::Library::Native;
using namespace qmtest;

namespace
{
constexpr std::u16string_view kSource =
    u"<DataSource Device=\"logger\" Rate=\"10\" RangeStart=\"100\" RangeEnd=\"900\">"
    u"<Channel Id=\"1\"><S t=\"0\">1.5</S><S t=\"10\">2</S></Channel>note"
    u"<!--kept--><Channel Id=\"2\"/></DataSource>";

class MDDataSourceTest : public ExtensionTest
{
protected:
    MDDataSourceTest() : ExtensionTest(u"clip") {}

    static ComPtr<IMDDataSource> NewExtension()
    {
        ComPtr<IMDExtension> extension;
        EXPECT_EQ(S_OK, CMDDataSource::Create(extension.GetAddressOf()));
        return QueryTo<IMDDataSource>(extension.Get());
    }
    ComPtr<IMDDataSource> Loaded(std::u16string_view content = kSource)
    {
        auto extension = NewExtension();
        EXPECT_EQ(S_OK, QueryTo<IPersistMDExtension>(extension.Get())->Load(ClipNode(content).Get(), m_item.Get()));
        return extension;
    }
    static ComPtr<qm_mdc::IDataSourceUnitMgrCtrl> Manager(IMDDataSource* extension)
    {
        ComPtr<qm_mdc::IDataSourceUnitMgrCtrl> manager;
        extension->QueryManager(qm_mdc::IID_IDataSourceUnitMgrCtrl, reinterpret_cast<void**>(manager.GetAddressOf()));
        return manager;
    }
    static LONG Units(IMDDataSource* extension)
    {
        LONG count = -1;
        if (auto manager = Manager(extension))
            manager->GetUnitCount(&count);
        return count;
    }
    // What a save of the extension into an empty clip writes: its DataSource element, or "".
    std::u16string Saved(IMDDataSource* extension)
    {
        auto clip = ClipNode(u"");
        EXPECT_EQ(S_OK, QueryTo<IPersistMDExtension>(extension)->Save(clip.Get(), m_item.Get()));
        auto node = Select(clip.Get(), u"DataSource");
        return node ? XmlOf(node.Get()) : std::u16string();
    }
};
} // namespace

TEST_F(MDDataSourceTest, AnEmptyExtensionHasNoManagerAndWritesNothing)
{
    auto extension = NewExtension();
    auto persist = QueryTo<IPersistMDExtension>(extension.Get());
    EXPECT_TRUE(extension->GetExtensionType() == MDTYPE_DataSource);
    EXPECT_TRUE(persist->CanUnload());
    EXPECT_FALSE(persist->IsDirty());

    EXPECT_EQ(E_POINTER, extension->QueryManager(qm_mdc::IID_IDataSourceUnitMgrCtrl, nullptr));
    void* untouched = &untouched;
    EXPECT_EQ(S_FALSE, extension->QueryManager(qm_mdc::IID_IDataSourceUnitMgrCtrl, &untouched));
    EXPECT_EQ(&untouched, untouched);

    auto clip = ClipNode(kSource);
    EXPECT_EQ(S_FALSE, persist->Save(clip.Get(), m_item.Get()));
    EXPECT_TRUE(Select(clip.Get(), u"DataSource"));

    ComPtr<IMDExtension> copy;
    EXPECT_EQ(E_POINTER, extension->Clone(nullptr, 1));
    EXPECT_EQ(E_UNEXPECTED, extension->Clone(copy.GetAddressOf(), 1));
    EXPECT_EQ(E_UNEXPECTED, extension->CloneRange(u"/m.mp4", 0, 10, IID_IMDDataSource,
                                                  reinterpret_cast<void**>(copy.GetAddressOf())));
    EXPECT_EQ(E_INVALIDARG, extension->SetDataSourceUnitMgr(nullptr));
    // Something that is no manager is taken without a manager, but still marks the change.
    EXPECT_EQ(S_OK, extension->SetDataSourceUnitMgr(m_item.Get()));
    EXPECT_FALSE(Manager(extension.Get()));
    EXPECT_TRUE(persist->IsDirty());
}

TEST_F(MDDataSourceTest, LoadAndSaveKeepTheElementAsItWas)
{
    auto extension = Loaded();
    auto persist = QueryTo<IPersistMDExtension>(extension.Get());
    EXPECT_FALSE(persist->IsDirty());
    EXPECT_EQ(2, Units(extension.Get()));

    auto clip = ClipNode(kSource);
    EXPECT_EQ(S_FALSE, persist->Save(clip.Get(), m_item.Get()));
    extension->MarkDirty();
    EXPECT_EQ(S_OK, persist->Save(clip.Get(), m_item.Get()));
    EXPECT_FALSE(persist->IsDirty());
    ComPtr<IXMLDOMNodeList> elements;
    LONG count = 0;
    clip->selectNodes(CComBSTR(u"DataSource"), elements.GetAddressOf());
    elements->get_length(&count);
    EXPECT_EQ(1, count);
    EXPECT_EQ(kSource, XmlOf(Select(clip.Get(), u"DataSource").Get()));
}

TEST_F(MDDataSourceTest, LoadRefusesAMissingOrDamagedElement)
{
    auto extension = NewExtension();
    auto persist = QueryTo<IPersistMDExtension>(extension.Get());
    EXPECT_EQ(S_FALSE, persist->Load(ClipNode(u"").Get(), m_item.Get()));
    EXPECT_TRUE(m_log.Contains("Failed to load data source extension node."));
    EXPECT_EQ(S_FALSE,
              persist->Load(ClipNode(u"<DataSource RangeStart=\"soon\"><A/></DataSource>").Get(), m_item.Get()));
    EXPECT_FALSE(Manager(extension.Get()));
    EXPECT_EQ(E_INVALIDARG, persist->Load(nullptr, m_item.Get()));
    EXPECT_EQ(E_INVALIDARG, persist->Load(ClipNode(kSource).Get(), nullptr));
}

TEST_F(MDDataSourceTest, CloneGivesADirtyCopyWithAManagerOfItsOwn)
{
    auto extension = Loaded();
    ComPtr<IMDExtension> clone;
    ASSERT_EQ(S_OK, extension->Clone(clone.GetAddressOf(), 0));
    auto copy = QueryTo<IMDDataSource>(clone.Get());
    EXPECT_TRUE(QueryTo<IPersistMDExtension>(copy.Get())->IsDirty());
    EXPECT_NE(Manager(extension.Get()).Get(), Manager(copy.Get()).Get());

    EXPECT_EQ(S_OK, QueryTo<IPersistMDExtension>(extension.Get())->Delete(ClipNode(kSource).Get(), m_item.Get()));
    EXPECT_EQ(2, Units(copy.Get()));
    EXPECT_EQ(kSource, Saved(copy.Get()));
}

TEST_F(MDDataSourceTest, CloneRangeCutsEveryUnitToTheSection)
{
    auto extension = Loaded();
    ComPtr<IMDDataSource> section;
    EXPECT_EQ(E_POINTER, extension->CloneRange(u"/m.mp4", 20, 80, IID_IMDDataSource, nullptr));
    ASSERT_EQ(S_OK, extension->CloneRange(u"/media/part.mp4", 20, 80, IID_IMDDataSource,
                                          reinterpret_cast<void**>(section.GetAddressOf())));
    EXPECT_TRUE(QueryTo<IPersistMDExtension>(section.Get())->IsDirty());
    EXPECT_EQ(u"<DataSource><Channel Id=\"1\" RangeStart=\"20\" RangeEnd=\"80\"><S t=\"0\">1.5</S><S t=\"10\">2</S>"
              u"</Channel><Channel Id=\"2\" RangeStart=\"20\" RangeEnd=\"80\"/></DataSource>",
              Saved(section.Get()));

    auto empty = Loaded(u"<DataSource/>");
    ASSERT_EQ(S_OK, empty->CloneRange(u"/m.mp4", 0, 1, IID_IMDDataSource,
                                      reinterpret_cast<void**>(section.ReleaseAndGetAddressOf())));
    EXPECT_EQ(0, Units(section.Get()));
}

TEST_F(MDDataSourceTest, LoadFromXmlTextReplacesTheManagerOnlyWhenTheTextReads)
{
    auto extension = Loaded();
    auto persist = QueryTo<IPersistMDExtension>(extension.Get());
    const auto before = Manager(extension.Get());

    EXPECT_EQ(E_FAIL, extension->LoadFromXmlText(u"<DataSource><Channel></DataSource>"));
    EXPECT_EQ(S_FALSE, extension->LoadFromXmlText(u"<Other><DataSource/></Other>"));
    EXPECT_EQ(before, Manager(extension.Get()));
    EXPECT_FALSE(persist->IsDirty());

    EXPECT_EQ(S_OK, extension->LoadFromXmlText(u"<DataSource><A/></DataSource>"));
    EXPECT_NE(before, Manager(extension.Get()));
    EXPECT_EQ(1, Units(extension.Get()));
    EXPECT_TRUE(persist->IsDirty());
}

TEST_F(MDDataSourceTest, ASaveWithoutUnitsRemovesTheElementAndDeleteEmptiesTheObject)
{
    auto extension = Loaded();
    auto persist = QueryTo<IPersistMDExtension>(extension.Get());
    auto clip = ClipNode(kSource);
    ASSERT_EQ(S_OK, extension->LoadFromXmlText(u"<DataSource/>"));
    EXPECT_EQ(S_OK, persist->Save(clip.Get(), m_item.Get()));
    EXPECT_EQ(u"<LIBRARY_ITEM><NAME>clip</NAME></LIBRARY_ITEM>", XmlOf(clip.Get()));

    auto other = Loaded();
    EXPECT_EQ(S_OK, extension->SetDataSourceUnitMgr(Manager(other.Get()).Get()));
    EXPECT_EQ(Manager(other.Get()), Manager(extension.Get()));
    clip = ClipNode(kSource);
    EXPECT_EQ(S_OK, persist->Delete(clip.Get(), m_item.Get()));
    EXPECT_EQ(u"<LIBRARY_ITEM><NAME>clip</NAME></LIBRARY_ITEM>", XmlOf(clip.Get()));
    EXPECT_FALSE(persist->IsDirty());
    EXPECT_FALSE(Manager(extension.Get()));
    EXPECT_EQ(S_OK, persist->Delete(clip.Get(), m_item.Get()));
}
