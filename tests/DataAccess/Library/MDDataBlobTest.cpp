// Named text blobs of a clip: their elements, their order, and what a load keeps.
#include "DataAccess/Library/MDDataBlob.h"

#include "DataAccess/Library/ExtensionTestSupport.h"

#include <string>

using namespace Quillmar::Library::Native;
using namespace qmtest;

namespace
{
class MDDataBlobTest : public ExtensionTest
{
protected:
    static std::u16string Data(IMDDataBlob* blob, const char16_t* name)
    {
        CComBSTR value;
        EXPECT_EQ(S_OK, blob->GetData(name, value.GetAddressOf()));
        return std::u16string(value.View());
    }

    ComPtr<CMDDataBlob> m_blob = qm::MakeObject<CMDDataBlob>();
};
} // namespace

TEST_F(MDDataBlobTest, SaveWritesEachBlobInNameOrderAndReplacesTheOldOnes)
{
    const auto clip = ClipNode(u"<Data Id=\"old\"><![CDATA[z]]></Data><ID>x</ID>");
    EXPECT_EQ(S_FALSE, m_blob->Save(clip.Get(), m_item.Get()));
    EXPECT_EQ(S_OK, m_blob->SetData(u"b", u"<x>2</x>"));
    EXPECT_EQ(S_OK, m_blob->SetData(u"a", u"1"));
    EXPECT_EQ(S_OK, m_blob->SetData(u"B", u"3"));
    EXPECT_TRUE(m_blob->IsDirty());
    ASSERT_EQ(S_OK, m_blob->Save(clip.Get(), m_item.Get()));
    EXPECT_FALSE(m_blob->IsDirty());
    EXPECT_EQ(u"<LIBRARY_ITEM><NAME>c</NAME><ID>x</ID><Data Id=\"B\"><![CDATA[3]]></Data>"
              u"<Data Id=\"a\"><![CDATA[1]]></Data><Data Id=\"b\"><![CDATA[<x>2</x>]]></Data></LIBRARY_ITEM>",
              XmlOf(clip.Get()));

    const auto loaded = qm::MakeObject<CMDDataBlob>();
    ASSERT_EQ(S_OK, loaded->Load(clip.Get(), m_item.Get()));
    EXPECT_FALSE(loaded->IsDirty());
    EXPECT_EQ(u"<x>2</x>", Data(loaded.Get(), u"b"));
    EXPECT_EQ(u"3", Data(loaded.Get(), u"B"));
    EXPECT_EQ(u"1", Data(loaded.Get(), u"a"));
}

TEST_F(MDDataBlobTest, LoadKeepsTheFirstOfOneIdAndDropsNamelessOrEmptyBlobs)
{
    const auto clip = ClipNode(u"<Data Id=\"k\"><![CDATA[first]]></Data><Data Id=\"k\"><![CDATA[second]]></Data>"
                           u"<Data Id=\"\"><![CDATA[x]]></Data><Data><![CDATA[y]]></Data><Data Id=\"e\"/>");
    ASSERT_EQ(S_OK, m_blob->Load(clip.Get(), m_item.Get()));
    EXPECT_EQ(u"first", Data(m_blob.Get(), u"k"));
    BSTR untouched = reinterpret_cast<BSTR>(&m_blob);
    EXPECT_EQ(S_FALSE, m_blob->GetData(u"e", &untouched));
    EXPECT_EQ(reinterpret_cast<BSTR>(&m_blob), untouched);

    // The same data again still counts as a change, and the save drops what was not kept.
    EXPECT_EQ(S_OK, m_blob->SetData(u"k", u"first"));
    EXPECT_TRUE(m_blob->IsDirty());
    ASSERT_EQ(S_OK, m_blob->Save(clip.Get(), m_item.Get()));
    EXPECT_EQ(u"<LIBRARY_ITEM><NAME>c</NAME><Data Id=\"k\"><![CDATA[first]]></Data></LIBRARY_ITEM>",
              XmlOf(clip.Get()));
}

TEST_F(MDDataBlobTest, EmptyValuesRemoveAndUnknownNamesChangeNothing)
{
    const auto clip = ClipNode(u"");
    EXPECT_EQ(S_OK, m_blob->SetData(u"n", u""));
    EXPECT_EQ(S_OK, m_blob->RemoveData(u"n"));
    EXPECT_FALSE(m_blob->IsDirty());

    EXPECT_EQ(S_OK, m_blob->SetData(u"n", u"v"));
    ASSERT_EQ(S_OK, m_blob->Save(clip.Get(), m_item.Get()));
    EXPECT_EQ(S_OK, m_blob->SetData(u"n", nullptr));
    EXPECT_TRUE(m_blob->IsDirty());
    CComBSTR value;
    EXPECT_EQ(S_FALSE, m_blob->GetData(u"n", value.GetAddressOf()));
    ASSERT_EQ(S_OK, m_blob->Save(clip.Get(), m_item.Get()));
    EXPECT_EQ(u"<LIBRARY_ITEM><NAME>c</NAME></LIBRARY_ITEM>", XmlOf(clip.Get()));

    EXPECT_EQ(E_INVALIDARG, m_blob->SetData(nullptr, u"v"));
    EXPECT_EQ(E_INVALIDARG, m_blob->SetData(u"", u"v"));
    EXPECT_EQ(E_INVALIDARG, m_blob->RemoveData(u""));
    EXPECT_EQ(E_INVALIDARG, m_blob->GetData(nullptr, value.GetAddressOf()));
    EXPECT_EQ(E_POINTER, m_blob->GetData(u"n", nullptr));
    EXPECT_EQ(E_INVALIDARG, m_blob->Save(nullptr, m_item.Get()));
    EXPECT_EQ(E_INVALIDARG, m_blob->Load(nullptr, m_item.Get()));
    const auto lines = m_log.Lines(1);
    ASSERT_EQ(7u, lines.size());
    EXPECT_EQ("QMCheckCondition: dataBlobName != 0 && wcslen(dataBlobName) > 0", lines[0]);
    EXPECT_EQ("QMCheckCondition: pVal != 0", lines[4]);
}

TEST_F(MDDataBlobTest, CloneIsAnIndependentDirtyCopy)
{
    m_blob->SetData(u"n", u"v");
    const auto clip = ClipNode(u"");
    m_blob->Save(clip.Get(), m_item.Get());
    ComPtr<IMDExtension> copy;
    ASSERT_EQ(S_OK, m_blob->Clone(copy.GetAddressOf(), 0));
    m_blob->SetData(u"n", u"changed");
    ComPtr<IMDDataBlob> copyBlob;
    ComPtr<IPersistMDExtension> copyPersist;
    ASSERT_EQ(S_OK, copy.As(&copyBlob));
    ASSERT_EQ(S_OK, copy.As(&copyPersist));
    EXPECT_EQ(u"v", Data(copyBlob.Get(), u"n"));
    EXPECT_TRUE(copyPersist->IsDirty());
    EXPECT_TRUE(copyPersist->CanUnload());
    EXPECT_EQ(MDTYPE_DataBlob, copy->GetExtensionType());
    EXPECT_EQ(E_POINTER, m_blob->Clone(nullptr, 1));
}
