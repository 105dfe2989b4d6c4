// The setters of a clip and of its extensions keep what the host set: on a clip whose XML
// is not loaded, and never with text that XML cannot carry.
#include "DataAccess/Library/ClipTestSupport.h"

#include <functional>

using namespace qmtest;
using Quillmar::Library::Native::CLibraryItem;

namespace
{
// A sidecar whose every value differs from what the setters below put.
const std::string kOldSidecar =
    "<LIBRARY_ITEM IN=\"10\" OUT=\"20\" UNIT=\"RefTime\" Color=\"Color1\" SynchMarker=\"no\" "
    "SynchronizationHandicap=\"5\">"
    "<NAME>clip.mp4</NAME><ID>{11111111-2222-3333-4444-555555555555}</ID><VERSION subversion=\"1\">2.0</VERSION>"
    "<CATEGORIES><CATEGORY name=\"Team\">Old</CATEGORY></CATEGORIES>"
    "<Library.MDProperties><Property Name=\"Comment\"><![CDATA[Old]]></Property>"
    "<Property Name=\"Other\"><![CDATA[Old]]></Property>"
    "<Property Name=\"Title\"><![CDATA[Old]]></Property></Library.MDProperties>"
    "<AudioMatrix><Output fl=\"1\"/></AudioMatrix>"
    "<MediaSourceInfo><Rotation Angle=\"90\"/></MediaSourceInfo>"
    "<Library.MDLibraryItemLink><Reference Id=\"R\" Name=\"Old\"/></Library.MDLibraryItemLink>"
    "<Data Id=\"k\"><![CDATA[old]]></Data>"
    "<OverlayDrawing><![CDATA[old]]></OverlayDrawing>"
    "</LIBRARY_ITEM>";

CLibraryItem* Item(ILibraryItem* item) { return CLibraryItem::From(item).Get(); }

template <class I>
ComPtr<I> Extension(ILibraryItem* item, REFGUID type, REFIID iid, bool create = true)
{
    ComPtr<I> extension;
    if (create)
        EXPECT_EQ(S_OK, item->GetOrCreateExtension(type, iid, reinterpret_cast<void**>(extension.GetAddressOf())));
    else
        EXPECT_EQ(S_OK, item->GetExtension(type, iid, reinterpret_cast<void**>(extension.GetAddressOf())));
    return extension;
}

std::u16string DataOf(ILibraryItem* item)
{
    CComBSTR data;
    Extension<IMDDataBlob>(item, MDTYPE_DataBlob, IID_IMDDataBlob)->GetData(u"k", data.GetAddressOf());
    return std::u16string(data.View());
}

std::u16string DrawingOf(ILibraryItem* item)
{
    CComBSTR text;
    Extension<IMDOverlayDrawing>(item, MDTYPE_OverlayDrawing, IID_IMDOverlayDrawing)->get_Drawing(text.GetAddressOf());
    return std::u16string(text.View());
}

struct Setter
{
    const char* name;
    std::function<HRESULT(ILibraryItem*)> set;
    std::function<bool(ILibraryItem*)> holds;
};

REFERENCE_TIME CueIn(ILibraryItem* item)
{
    REFERENCE_TIME cue = 0;
    Item(item)->get_CueIn(&cue);
    return cue;
}

REFERENCE_TIME CueOut(ILibraryItem* item)
{
    REFERENCE_TIME cue = 0;
    Item(item)->get_CueOut(&cue);
    return cue;
}

const std::vector<Setter>& Setters()
{
    static const std::vector<Setter> setters = {
        {"put_CueIn", [](ILibraryItem* i) { return Item(i)->put_CueIn(111); },
         [](ILibraryItem* i) { return CueIn(i) == 111 && CueOut(i) == 20; }},
        {"put_CueOut", [](ILibraryItem* i) { return Item(i)->put_CueOut(222); },
         [](ILibraryItem* i) { return CueIn(i) == 10 && CueOut(i) == 222; }},
        {"SetCuePoints", [](ILibraryItem* i) { return Item(i)->SetCuePoints(333, 444); },
         [](ILibraryItem* i) { return CueIn(i) == 333 && CueOut(i) == 444; }},
        {"put_ThumbnailTime", [](ILibraryItem* i) { return Item(i)->put_ThumbnailTime(555); },
         [](ILibraryItem* i) {
             REFERENCE_TIME time = 0;
             return Item(i)->get_ThumbnailTime(&time) == S_OK && time == 555;
         }},
        {"put_Color", [](ILibraryItem* i) { return i->put_Color(u"Color2"); },
         [](ILibraryItem* i) { return i->get_Color() == u"Color2"; }},
        {"put_IsSynchMarker", [](ILibraryItem* i) { return Item(i)->put_IsSynchMarker(true); },
         [](ILibraryItem* i) { return Item(i)->get_IsSynchMarker(); }},
        {"put_SynchronizationHandicap", [](ILibraryItem* i) { return i->put_SynchronizationHandicap(77); },
         [](ILibraryItem* i) { return i->get_SynchronizationHandicap() == 77; }},
        {"put_Title", [](ILibraryItem* i) { return Item(i)->put_Title(u"New"); },
         [](ILibraryItem* i) { return Item(i)->get_Title() == u"New"; }},
        {"put_Comment", [](ILibraryItem* i) { return Item(i)->put_Comment(u"New"); },
         [](ILibraryItem* i) { return Item(i)->get_Comment() == u"New"; }},
        {"AddKeyword", [](ILibraryItem* i) { return i->AddKeyword(Keyword(u"Team", u"New")); },
         [](ILibraryItem* i) { return i->GetValuesAsString(u"Team") == u"Old; New"; }},
        {"SetCategoryValue", [](ILibraryItem* i) { return i->SetCategoryValue(u"Team", u"New"); },
         [](ILibraryItem* i) { return i->GetValuesAsString(u"Team") == u"New"; }},
        {"RemoveCategory", [](ILibraryItem* i) { return i->RemoveCategory(u"Team"); },
         [](ILibraryItem* i) { return !i->HasCategory(u"Team"); }},
        {"CreateMarker",
         [](ILibraryItem* i) {
             ComPtr<ILibraryItemMarker> marker;
             return Item(i)->CreateMarker(MarkerTypeEvent, marker.GetAddressOf());
         },
         [](ILibraryItem* i) { return Item(i)->GetMarkerCount(MarkerTypeEvent) == 1; }},
        {"put_AudioAnnotationPath", [](ILibraryItem* i) { return Item(i)->put_AudioAnnotationPath(u"/elsewhere/a.wav"); },
         [](ILibraryItem* i) { return Item(i)->get_AudioAnnotationPath() == std::u16string(u"/elsewhere/a.wav"); }},
        {"IMDProperties::SetProperty",
         [](ILibraryItem* i) {
             return Extension<IMDProperties>(i, MDTYPE_Properties, IID_IMDProperties)->SetProperty(u"Other", u"New");
         },
         [](ILibraryItem* i) {
             return Extension<IMDProperties>(i, MDTYPE_Properties, IID_IMDProperties)->GetProperty(u"Other") == u"New";
         }},
        // A host that asked with GetExtension, which does not load, and wrote through it.
        {"IMDProperties::put_Title through GetExtension",
         [](ILibraryItem* i) {
             return Extension<IMDProperties>(i, MDTYPE_Properties, IID_IMDProperties, false)->put_Title(u"New");
         },
         [](ILibraryItem* i) { return Item(i)->get_Title() == u"New"; }},
        {"IMDAudioMatrix::SetGain",
         [](ILibraryItem* i) {
             Extension<IMDAudioMatrix>(i, MDTYPE_AudioMatrix, IID_IMDAudioMatrix)->SetGain(0, 0, 0.5f);
             return S_OK;
         },
         [](ILibraryItem* i) {
             return Extension<IMDAudioMatrix>(i, MDTYPE_AudioMatrix, IID_IMDAudioMatrix)->GetGain(0, 0) == 0.5f;
         }},
        {"IMDMediaSourceInfo::put_Rotation",
         [](ILibraryItem* i) {
             return Extension<IMDMediaSourceInfo>(i, MDTYPE_MediaSourceInfo, IID_IMDMediaSourceInfo)
                 ->put_Rotation(VideoRotation180);
         },
         [](ILibraryItem* i) {
             return Extension<IMDMediaSourceInfo>(i, MDTYPE_MediaSourceInfo, IID_IMDMediaSourceInfo)->get_Rotation() ==
                    VideoRotation180;
         }},
        {"IMDLibraryItemLink::SetLinkName",
         [](ILibraryItem* i) {
             return Extension<IMDLibraryItemLink>(i, MDTYPE_LibraryItemLink, IID_IMDLibraryItemLink)
                 ->SetLinkName(u"R", u"New");
         },
         [](ILibraryItem* i) {
             return Extension<IMDLibraryItemLink>(i, MDTYPE_LibraryItemLink, IID_IMDLibraryItemLink)->GetLinkName(u"R") ==
                    u"New";
         }},
        {"IMDDataBlob::SetData",
         [](ILibraryItem* i) {
             return Extension<IMDDataBlob>(i, MDTYPE_DataBlob, IID_IMDDataBlob)->SetData(u"k", u"new");
         },
         [](ILibraryItem* i) { return DataOf(i) == u"new"; }},
        {"IMDOverlayDrawing::put_Drawing",
         [](ILibraryItem* i) {
             return Extension<IMDOverlayDrawing>(i, MDTYPE_OverlayDrawing, IID_IMDOverlayDrawing)->put_Drawing(u"new");
         },
         [](ILibraryItem* i) { return DrawingOf(i) == u"new"; }},
    };
    return setters;
}

class SettersTest : public ClipTest
{
protected:
    // A clip whose sidecar holds the old values, handed out without its XML.
    ComPtr<ILibraryItem> UnloadedClip(const std::string& name)
    {
        const std::u16string path = Media(name);
        WriteFile(Sidecar(name), kOldSidecar);
        ComPtr<ILibraryItem> item;
        EXPECT_EQ(S_OK, m_factory->GetLibraryItemEx(path.c_str(), false, item.GetAddressOf()));
        return item;
    }

    // The clip as a new factory reads it from disk.
    ComPtr<ILibraryItem> Reread(const std::string& name)
    {
        ComPtr<ILibraryItemFactory> factory;
        EXPECT_EQ(S_OK, CreateLibraryItemFactory(factory.GetAddressOf()));
        ComPtr<ILibraryItem> item;
        EXPECT_EQ(S_OK, factory->GetLibraryItem(m_dir.U16(name).c_str(), item.GetAddressOf()));
        return item;
    }
};
} // namespace

TEST_F(SettersTest, AValueSetOnAnUnloadedClipIsWhatItReadsAndWhatItSaves)
{
    int n = 0;
    for (const Setter& setter : Setters())
    {
        SCOPED_TRACE(setter.name);
        const std::string name = "clip" + std::to_string(n++) + ".mp4";
        const auto item = UnloadedClip(name);
        ASSERT_TRUE(item);
        // Asked of another factory's clip: a getter may load, and this one must stay unloaded.
        EXPECT_FALSE(setter.holds(Reread(name).Get())) << "the sidecar already holds the new value";
        EXPECT_TRUE(SUCCEEDED(setter.set(item.Get())));
        EXPECT_TRUE(setter.holds(item.Get()));
        EXPECT_EQ(S_OK, item->Save());
        EXPECT_TRUE(setter.holds(item.Get()));
        const auto reread = Reread(name);
        ASSERT_TRUE(reread);
        EXPECT_TRUE(setter.holds(reread.Get()));
    }
}

TEST_F(SettersTest, TextThatXmlCannotCarryIsRefusedAndLaterSavesStillWork)
{
    const std::u16string bad[] = {u"a\vb", u"a\u0001b", u"a\uFFFEb", std::u16string(u"a") + char16_t(0xD800) + u"b"};
    for (const std::u16string& text : bad)
    {
        const auto item = Clip("bad.mp4");
        CLibraryItem* clip = Item(item.Get());
        ASSERT_EQ(S_OK, item->AddKeyword(Keyword(u"Team", u"Old")));
        ComPtr<ILibraryItemMarker> marker;
        ASSERT_EQ(S_OK, clip->CreateMarker(MarkerTypeMarker, marker.GetAddressOf()));
        const auto properties = Extension<IMDProperties>(item.Get(), MDTYPE_Properties, IID_IMDProperties);
        const auto link = Extension<IMDLibraryItemLink>(item.Get(), MDTYPE_LibraryItemLink, IID_IMDLibraryItemLink);
        const auto blob = Extension<IMDDataBlob>(item.Get(), MDTYPE_DataBlob, IID_IMDDataBlob);
        const auto drawing = Extension<IMDOverlayDrawing>(item.Get(), MDTYPE_OverlayDrawing, IID_IMDOverlayDrawing);
        const std::vector<std::pair<const char*, std::function<HRESULT()>>> refused = {
            {"AddKeyword value", [&] { return item->AddKeyword(Keyword(u"Team", text)); }},
            {"AddKeyword category", [&] { return item->AddKeyword(Keyword(text, u"v")); }},
            {"AddCategoryValue", [&] { return item->AddCategoryValue(u"Team", text); }},
            {"AddCategoryValues", [&] { return item->AddCategoryValues(u"Team", {u"v", text}); }},
            {"SetCategoryValue", [&] { return item->SetCategoryValue(u"Team", text); }},
            {"SetCategoryValues", [&] { return item->SetCategoryValues(u"Team", {text}); }},
            {"SetKeyword", [&] { return item->SetKeyword(Keyword(u"Team", text)); }},
            {"RenameCategory", [&] { return item->RenameCategory(u"Team", text); }},
            {"ReplaceKeyword", [&] { return item->ReplaceKeyword(Keyword(u"Team", u"Old"), Keyword(u"Team", text)); }},
            {"put_Title", [&] { return clip->put_Title(text); }},
            {"put_Comment", [&] { return clip->put_Comment(text); }},
            {"put_Color", [&] { return item->put_Color(text); }},
            {"marker put_Title", [&] { return marker->put_Title(text); }},
            {"put_AudioAnnotationPath", [&] { return clip->put_AudioAnnotationPath(text.c_str()); }},
            {"SetProperty name", [&] { return properties->SetProperty(text, u"v"); }},
            {"SetDefaultValue", [&] { return properties->SetDefaultValue(u"Title", text); }},
            {"AddLinkedPath", [&] { return link->AddLinkedPath(u"R", text, std::nullopt); }},
            {"SetLinkName", [&] { return link->SetLinkName(u"R", text); }},
            {"SetSynchronizationOffset", [&] { return link->SetSynchronizationOffset(text, 1); }},
            {"SetData name", [&] { return blob->SetData(text.c_str(), u"v"); }},
            {"SetData value", [&] { return blob->SetData(u"k", text.c_str()); }},
            {"put_Drawing", [&] { return drawing->put_Drawing(text.c_str()); }},
        };
        for (const auto& [name, call] : refused)
        {
            SCOPED_TRACE(name);
            EXPECT_EQ(E_INVALIDARG, call());
        }
        // Nothing of it entered the model, and an unrelated edit saves.
        EXPECT_EQ(u"Old", item->GetValuesAsString(u"Team"));
        EXPECT_EQ(S_OK, clip->put_CueIn(1000));
        EXPECT_EQ(S_OK, item->Save());
        EXPECT_EQ(std::string::npos, ReadFile(Sidecar("bad.mp4")).find("a\x0b"));
    }
}
