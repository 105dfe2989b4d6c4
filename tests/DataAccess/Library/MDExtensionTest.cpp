// What every extension kind shares through its template: a save rewrites the one element of
// its kind that a load reads, whatever duplicates the file held.
#include "DataAccess/Library/ClipTestSupport.h"

using namespace qmtest;
using Quillmar::Library::Native::CLibraryItem;

namespace
{
size_t Count(const std::string& text, const std::string& what)
{
    size_t n = 0;
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1))
        ++n;
    return n;
}

template <class I>
ComPtr<I> Extension(ILibraryItem* item, REFGUID type, REFIID iid)
{
    ComPtr<I> extension;
    EXPECT_EQ(S_OK, item->GetOrCreateExtension(type, iid, reinterpret_cast<void**>(extension.GetAddressOf())));
    return extension;
}

class MDExtensionTest : public ClipTest
{
protected:
    ComPtr<ILibraryItem> Reread(const std::u16string& path)
    {
        ComPtr<ILibraryItemFactory> factory;
        EXPECT_EQ(S_OK, CreateLibraryItemFactory(factory.GetAddressOf()));
        ComPtr<ILibraryItem> item;
        EXPECT_EQ(S_OK, factory->GetLibraryItem(path.c_str(), item.GetAddressOf()));
        return item;
    }
};
} // namespace

TEST_F(MDExtensionTest, DuplicateElementsOfAKindGoAtTheFirstSaveAndTheSavedOneIsRead)
{
    const std::u16string path = Media("clip.mp4");
    WriteFile(Sidecar("clip.mp4"),
              "<LIBRARY_ITEM><NAME>clip.mp4</NAME><ID>{11111111-2222-3333-4444-555555555555}</ID>"
              "<VERSION subversion=\"1\">2.0</VERSION>"
              "<Library.MDProperties><Property Name=\"Title\"><![CDATA[A]]></Property></Library.MDProperties>"
              "<Library.MDProperties><Property Name=\"Title\"><![CDATA[B]]></Property></Library.MDProperties>"
              "<AudioMatrix><Output fl=\"1\"/></AudioMatrix><AudioMatrix><Output fr=\"1\"/></AudioMatrix>"
              "<MediaSourceInfo><Rotation Angle=\"90\"/></MediaSourceInfo>"
              "<MediaSourceInfo><Rotation Angle=\"180\"/></MediaSourceInfo>"
              "<Library.MDLibraryItemLink><Reference Id=\"R\" Name=\"A\"/></Library.MDLibraryItemLink>"
              "<Library.MDLibraryItemLink><Reference Id=\"R\" Name=\"B\"/></Library.MDLibraryItemLink>"
              "<OverlayDrawing><![CDATA[A]]></OverlayDrawing><OverlayDrawing><![CDATA[B]]></OverlayDrawing>"
              "<DataSource/><DataSource/>"
              "</LIBRARY_ITEM>");
    const auto item = Clip("clip.mp4");
    CLibraryItem* clip = CLibraryItem::From(item.Get()).Get();
    // The first element of a kind is the one read.
    EXPECT_EQ(u"A", clip->get_Title());
    ASSERT_EQ(S_OK, clip->put_Title(u"C"));
    const auto matrix = Extension<IMDAudioMatrix>(item.Get(), MDTYPE_AudioMatrix, IID_IMDAudioMatrix);
    ASSERT_EQ(2u, matrix->get_OutputCount());
    matrix->SetGain(2, 1, 0.5f);
    const auto info = Extension<IMDMediaSourceInfo>(item.Get(), MDTYPE_MediaSourceInfo, IID_IMDMediaSourceInfo);
    EXPECT_EQ(VideoRotation90, info->get_Rotation());
    ASSERT_EQ(S_OK, info->put_FlipVertical(true));
    const auto link = Extension<IMDLibraryItemLink>(item.Get(), MDTYPE_LibraryItemLink, IID_IMDLibraryItemLink);
    EXPECT_EQ(u"A", link->GetLinkName(u"R"));
    ASSERT_EQ(S_OK, link->SetLinkName(u"R", u"C"));
    const auto drawing = Extension<IMDOverlayDrawing>(item.Get(), MDTYPE_OverlayDrawing, IID_IMDOverlayDrawing);
    ASSERT_EQ(S_OK, drawing->put_Drawing(u"C"));

    for (int save = 0; save < 2; ++save)
    {
        SCOPED_TRACE(save);
        matrix->SetGain(3, 0, save + 1.0f);
        ASSERT_EQ(S_OK, item->Save());
        const std::string file = ReadFile(Sidecar("clip.mp4"));
        EXPECT_EQ(1u, Count(file, "<Library.MDProperties>"));
        EXPECT_EQ(1u, Count(file, "<AudioMatrix>"));
        EXPECT_EQ(1u, Count(file, "<MediaSourceInfo>"));
        EXPECT_EQ(1u, Count(file, "<Library.MDLibraryItemLink>"));
        EXPECT_EQ(1u, Count(file, "<OverlayDrawing>"));
        // No extension of this kind was made: its elements stay as the file had them.
        EXPECT_EQ(2u, Count(file, "<DataSource/>"));

        const auto reread = Reread(path);
        CLibraryItem* again = CLibraryItem::From(reread.Get()).Get();
        EXPECT_EQ(u"C", again->get_Title());
        const auto matrixAgain = Extension<IMDAudioMatrix>(reread.Get(), MDTYPE_AudioMatrix, IID_IMDAudioMatrix);
        EXPECT_EQ(2u, matrixAgain->get_OutputCount());
        EXPECT_EQ(0.5f, matrixAgain->GetGain(2, 1));
        EXPECT_EQ(save + 1.0f, matrixAgain->GetGain(3, 0));
        const auto infoAgain =
            Extension<IMDMediaSourceInfo>(reread.Get(), MDTYPE_MediaSourceInfo, IID_IMDMediaSourceInfo);
        EXPECT_EQ(VideoRotation90, infoAgain->get_Rotation());
        EXPECT_TRUE(infoAgain->get_FlipVertical());
        EXPECT_EQ(u"C", Extension<IMDLibraryItemLink>(reread.Get(), MDTYPE_LibraryItemLink, IID_IMDLibraryItemLink)
                             ->GetLinkName(u"R"));
        CComBSTR text;
        Extension<IMDOverlayDrawing>(reread.Get(), MDTYPE_OverlayDrawing, IID_IMDOverlayDrawing)
            ->get_Drawing(text.GetAddressOf());
        EXPECT_EQ(u"C", std::u16string(text.View()));
    }
}
