// The overlay drawing of a clip: its text kept as it stands, and when its element goes.
#include "DataAccess/Library/MDOverlayDrawing.h"

#include "DataAccess/Library/ExtensionTestSupport.h"

#include <string>
#include <utility>

using namespace Quillmar::Library::Native;
using namespace qmtest;

namespace
{
class MDOverlayDrawingTest : public ExtensionTest
{
protected:
    // The text, and whether it was null.
    static std::pair<std::u16string, bool> Drawing(IMDOverlayDrawing* drawing)
    {
        CComBSTR text;
        EXPECT_EQ(S_OK, drawing->get_Drawing(text.GetAddressOf()));
        return {std::u16string(text.View()), text.IsNull()};
    }

    ComPtr<CMDOverlayDrawing> m_drawing = qm::MakeObject<CMDOverlayDrawing>();
};
} // namespace

TEST_F(MDOverlayDrawingTest, MarkupIsKeptAsItStands)
{
    EXPECT_EQ((std::pair<std::u16string, bool>{u"", true}), Drawing(m_drawing.Get()));
    EXPECT_EQ(E_POINTER, m_drawing->get_Drawing(nullptr));

    const auto clip = ClipNode(u"<OverlayDrawing><![CDATA[old]]></OverlayDrawing><ID>x</ID>");
    EXPECT_EQ(S_FALSE, m_drawing->Save(clip.Get(), m_item.Get()));
    ASSERT_EQ(S_OK, m_drawing->put_Drawing(u"<a>1</a> & ]]> too"));
    ASSERT_EQ(S_OK, m_drawing->Save(clip.Get(), m_item.Get()));
    EXPECT_FALSE(m_drawing->IsDirty());
    EXPECT_EQ(u"<LIBRARY_ITEM><NAME>c</NAME><ID>x</ID><OverlayDrawing><![CDATA[<a>1</a> & ]]]]><![CDATA[> too]]>"
              u"</OverlayDrawing></LIBRARY_ITEM>",
              XmlOf(clip.Get()));

    const auto loaded = qm::MakeObject<CMDOverlayDrawing>();
    ASSERT_EQ(S_OK, loaded->Load(clip.Get(), m_item.Get()));
    EXPECT_FALSE(loaded->IsDirty());
    EXPECT_EQ((std::pair<std::u16string, bool>{u"<a>1</a> & ]]> too", false}), Drawing(loaded.Get()));
}

TEST_F(MDOverlayDrawingTest, AnEmptyDrawingLeavesNoElement)
{
    const auto clip = ClipNode(u"<OverlayDrawing/>");
    ASSERT_EQ(S_OK, m_drawing->Load(clip.Get(), m_item.Get()));
    EXPECT_EQ((std::pair<std::u16string, bool>{u"", false}), Drawing(m_drawing.Get()));

    // Putting counts as a change even when the text is the same.
    ASSERT_EQ(S_OK, m_drawing->put_Drawing(u""));
    EXPECT_TRUE(m_drawing->IsDirty());
    ASSERT_EQ(S_OK, m_drawing->Save(clip.Get(), m_item.Get()));
    EXPECT_EQ(u"<LIBRARY_ITEM><NAME>c</NAME></LIBRARY_ITEM>", XmlOf(clip.Get()));

    m_drawing->put_Drawing(nullptr);
    ASSERT_EQ(S_OK, m_drawing->Save(clip.Get(), m_item.Get()));
    EXPECT_EQ(u"<LIBRARY_ITEM><NAME>c</NAME></LIBRARY_ITEM>", XmlOf(clip.Get()));
    EXPECT_EQ((std::pair<std::u16string, bool>{u"", true}), Drawing(m_drawing.Get()));

    EXPECT_EQ(E_FAIL, m_drawing->Load(clip.Get(), m_item.Get()));
    EXPECT_EQ(E_INVALIDARG, m_drawing->Load(clip.Get(), nullptr));
    EXPECT_EQ(E_INVALIDARG, m_drawing->Save(nullptr, m_item.Get()));
}

TEST_F(MDOverlayDrawingTest, DeleteAndCloneLeaveADirtyObjectThatWritesItsText)
{
    const auto clip = ClipNode(u"<OverlayDrawing><![CDATA[d]]></OverlayDrawing>");
    ASSERT_EQ(S_OK, m_drawing->Load(clip.Get(), m_item.Get()));
    ASSERT_EQ(S_OK, m_drawing->Delete(clip.Get(), m_item.Get()));
    EXPECT_EQ(u"<LIBRARY_ITEM><NAME>c</NAME></LIBRARY_ITEM>", XmlOf(clip.Get()));
    EXPECT_TRUE(m_drawing->IsDirty());
    ASSERT_EQ(S_OK, m_drawing->Save(clip.Get(), m_item.Get()));
    EXPECT_EQ(u"<LIBRARY_ITEM><NAME>c</NAME><OverlayDrawing><![CDATA[d]]></OverlayDrawing></LIBRARY_ITEM>",
              XmlOf(clip.Get()));

    ComPtr<IMDExtension> copy;
    EXPECT_EQ(E_POINTER, m_drawing->Clone(nullptr, 1));
    ASSERT_EQ(S_OK, m_drawing->Clone(copy.GetAddressOf(), 0));
    m_drawing->put_Drawing(u"changed");
    ComPtr<IMDOverlayDrawing> drawing;
    ASSERT_EQ(S_OK, copy.As(&drawing));
    EXPECT_EQ((std::pair<std::u16string, bool>{u"d", false}), Drawing(drawing.Get()));
    ComPtr<IPersistMDExtension> persist;
    ASSERT_EQ(S_OK, copy.As(&persist));
    EXPECT_TRUE(persist->IsDirty());
    EXPECT_TRUE(persist->CanUnload());
    EXPECT_EQ(MDTYPE_OverlayDrawing, copy->GetExtensionType());
}
