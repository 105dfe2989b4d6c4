// The metadata module keeps a DataSource element as it finds it, plus the range it is given.
#include "qm/MetadataCore.h"

#include "Platform/Xml/XmlTestSupport.h"

using namespace qmtest;
using namespace qm_mdc;

namespace
{
const char16_t* const kDataSource =
    u"<DataSource Device=\"GPS-7\" Rate=\"10\"><Track Id=\"1\"><S t=\"0\" v=\"1.5\"/>\u00e9</Track>"
    u"note<Track Id=\"2\"><![CDATA[<raw>]]></Track><!--kept--></DataSource>";

ComPtr<IDataSourceUnitMgrCtrl> NewManager()
{
    ComPtr<IDataSourceUnitMgrCtrl> manager;
    EXPECT_EQ(S_OK, CreateDataSourceUnitMgr(manager.GetAddressOf()));
    return manager;
}

ComPtr<IDataSourceUnitMgrPersist> Persister(IDataSourceUnitMgrCtrl* manager)
{
    ComPtr<IDataSourceUnitMgrPersist> persist;
    EXPECT_EQ(S_OK, manager->QueryInterface(IID_IDataSourceUnitMgrPersist, reinterpret_cast<void**>(persist.GetAddressOf())));
    return persist;
}

// What the manager writes into a new DataSource element of a new document.
std::u16string Saved(IDataSourceUnitMgrCtrl* manager)
{
    auto document = LoadXml(u"<LIBRARY_ITEM/>");
    ComPtr<IXMLDOMElement> element;
    EXPECT_EQ(S_OK, document->createElement(CComBSTR(u"DataSource"), element.GetAddressOf()));
    EXPECT_TRUE(Persister(manager)->Save(element.Get(), u"/media/clip.mp4"));
    return XmlOf(element.Get());
}

LONG Units(IDataSourceUnitMgrCtrl* manager)
{
    LONG count = -1;
    EXPECT_EQ(S_OK, manager->GetUnitCount(&count));
    return count;
}
} // namespace

TEST(DataSourceUnitMgr, WritesBackWhatItReadExactly)
{
    auto document = LoadXml(kDataSource);
    auto manager = NewManager();
    ASSERT_TRUE(Persister(manager.Get())->Load(Select(document.Get(), u"DataSource").Get(), u"/media/clip.mp4"));
    EXPECT_EQ(2, Units(manager.Get()));
    EXPECT_EQ(kDataSource, Saved(manager.Get()));
    REFERENCE_TIME time = 7;
    EXPECT_EQ(S_FALSE, manager->GetRangeStart(&time));
    EXPECT_EQ(7, time);
}

TEST(DataSourceUnitMgr, RangeIsWrittenAndReadBack)
{
    auto document = LoadXml(kDataSource);
    auto manager = NewManager();
    ASSERT_TRUE(Persister(manager.Get())->Load(Select(document.Get(), u"DataSource").Get(), nullptr));
    ASSERT_EQ(S_OK, manager->SetRangeStart(10000000));
    ASSERT_EQ(S_OK, manager->SetRangeEnd(-5));
    const std::u16string saved = Saved(manager.Get());
    EXPECT_EQ(0u, saved.find(u"<DataSource Device=\"GPS-7\" Rate=\"10\" RangeStart=\"10000000\" RangeEnd=\"-5\"><Track"));

    auto again = NewManager();
    auto reread = LoadXml(saved);
    ASSERT_TRUE(Persister(again.Get())->Load(Select(reread.Get(), u"DataSource").Get(), nullptr));
    REFERENCE_TIME start = 0, end = 0;
    ASSERT_EQ(S_OK, again->GetRangeStart(&start));
    ASSERT_EQ(S_OK, again->GetRangeEnd(&end));
    EXPECT_EQ(10000000, start);
    EXPECT_EQ(-5, end);
    EXPECT_EQ(saved, Saved(again.Get()));
}

TEST(DataSourceUnitMgr, RefusesWhatItCannotTakeAndStaysAsItWas)
{
    auto manager = NewManager();
    auto good = LoadXml(kDataSource);
    ASSERT_TRUE(Persister(manager.Get())->Load(Select(good.Get(), u"DataSource").Get(), nullptr));
    auto other = LoadXml(u"<Other/>");
    auto badRange = LoadXml(u"<DataSource RangeStart=\"12x\"/>");
    EXPECT_FALSE(Persister(manager.Get())->Load(nullptr, nullptr));
    EXPECT_FALSE(Persister(manager.Get())->Load(Select(other.Get(), u"Other").Get(), nullptr));
    EXPECT_FALSE(Persister(manager.Get())->Load(Select(badRange.Get(), u"DataSource").Get(), nullptr));
    EXPECT_EQ(kDataSource, Saved(manager.Get()));
    // A unit of another module is refused.
    EXPECT_EQ(E_INVALIDARG, manager->AddUnit(Select(good.Get(), u"DataSource").Get()));
    ComPtr<IUnknown> unit;
    EXPECT_EQ(E_INVALIDARG, manager->GetUnit(2, IID_IUnknown, reinterpret_cast<void**>(unit.GetAddressOf())));
}

TEST(DataSourceUnitMgr, ClonesAreIndependentAndUnitsCutToARange)
{
    auto document = LoadXml(kDataSource);
    auto manager = NewManager();
    ASSERT_TRUE(Persister(manager.Get())->Load(Select(document.Get(), u"DataSource").Get(), nullptr));

    ComPtr<IDataSourceUnitMgrCtrl> copy;
    ASSERT_EQ(S_OK, manager->CloneManager(copy.GetAddressOf()));
    EXPECT_EQ(Saved(manager.Get()), Saved(copy.Get()));

    // A section of each unit, gathered in a new manager, as a trimmed clip makes it.
    auto section = NewManager();
    for (LONG i = 0; i < Units(manager.Get()); ++i)
    {
        ComPtr<IDataSourceUnit> unit;
        ASSERT_EQ(S_OK, manager->GetUnit(i, IID_IDataSourceUnit, reinterpret_cast<void**>(unit.GetAddressOf())));
        ComPtr<IDataSourceUnitClone> cut;
        ASSERT_EQ(S_OK, unit->CloneRange(u"/media/cut.mp4", 100, 200, IID_IDataSourceUnitClone,
                                         reinterpret_cast<void**>(cut.GetAddressOf())));
        ASSERT_EQ(S_OK, section->AddUnit(cut.Get()));
    }
    EXPECT_EQ(2, Units(section.Get()));
    EXPECT_EQ(u"<DataSource><Track Id=\"1\" RangeStart=\"100\" RangeEnd=\"200\"><S t=\"0\" v=\"1.5\"/>\u00e9</Track>"
              u"<Track Id=\"2\" RangeStart=\"100\" RangeEnd=\"200\"><![CDATA[<raw>]]></Track></DataSource>",
              Saved(section.Get()));
    ASSERT_EQ(S_OK, copy->SetRangeStart(1));
    // The original did not change with its copy or its sections.
    EXPECT_EQ(kDataSource, Saved(manager.Get()));
    EXPECT_EQ(0, Units(NewManager().Get()));
}
