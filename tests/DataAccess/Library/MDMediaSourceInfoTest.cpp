// The overrides of a clip's video: which values reach the XML, how they read back, and
// how readable but wrong values are treated.
#include "DataAccess/Library/MDMediaSourceInfo.h"

#include "DataAccess/Library/ExtensionTestSupport.h"

#include <string>
#include <vector>

using namespace Quillmar::Library::Native;
using namespace qmtest;

namespace
{
class MDMediaSourceInfoTest : public ExtensionTest
{
protected:
    ComPtr<CMDMediaSourceInfo> Loaded(std::u16string_view info)
    {
        auto loaded = qm::MakeObject<CMDMediaSourceInfo>();
        const auto clip = ClipNode(u"<MediaSourceInfo>" + std::u16string(info) + u"</MediaSourceInfo>");
        EXPECT_EQ(S_OK, loaded->Load(clip.Get(), m_item.Get()));
        return loaded;
    }

    ComPtr<CMDMediaSourceInfo> m_info = qm::MakeObject<CMDMediaSourceInfo>();
};
} // namespace

TEST_F(MDMediaSourceInfoTest, OnlyValuesThatAreSetAreWrittenInTheirOrder)
{
    const auto clip = ClipNode(u"");
    EXPECT_EQ(S_FALSE, m_info->Save(clip.Get(), m_item.Get()));
    m_info->put_Rotation(VideoRotation90);
    ASSERT_EQ(S_OK, m_info->Save(clip.Get(), m_item.Get()));
    EXPECT_EQ(u"<LIBRARY_ITEM><NAME>c</NAME><MediaSourceInfo><Rotation Angle=\"90\"/></MediaSourceInfo></LIBRARY_ITEM>",
              XmlOf(clip.Get()));

    // Storing what is there already changes nothing.
    m_info->put_Rotation(VideoRotation90);
    m_info->put_AspectRatio({0, 0});
    m_info->put_VideoStreamRate({0, 1});
    EXPECT_FALSE(m_info->IsDirty());

    m_info->put_VideoStreamRate({30000, 1001});
    m_info->put_FlipVertical(true);
    m_info->put_InterlaceFlags(0);
    m_info->put_AspectRatio({16, 9});
    ASSERT_EQ(S_OK, m_info->Save(clip.Get(), m_item.Get()));
    EXPECT_EQ(u"<LIBRARY_ITEM><NAME>c</NAME><MediaSourceInfo><AspectRatio cx=\"16\" cy=\"9\"/>"
              u"<InterlaceFlags IsInterlaced=\"False\" Field1First=\"False\"/><Rotation Angle=\"90\"/>"
              u"<Flip Vertical=\"True\"/><VideoStreamRate Numerator=\"30000\" Denominator=\"1001\"/>"
              u"</MediaSourceInfo></LIBRARY_ITEM>",
              XmlOf(clip.Get()));

    m_info->Reset();
    EXPECT_TRUE(m_info->IsDirty());
    ASSERT_EQ(S_OK, m_info->Save(clip.Get(), m_item.Get()));
    EXPECT_EQ(u"<LIBRARY_ITEM><NAME>c</NAME></LIBRARY_ITEM>", XmlOf(clip.Get()));
}

TEST_F(MDMediaSourceInfoTest, ValuesReadBackAsTheyWereSet)
{
    const auto clip = ClipNode(u"");
    m_info->put_InterlaceFlags(kField1First);
    m_info->put_VideoStreamRate({5, 0});
    m_info->put_AspectRatio({0, 3});
    m_info->put_FlipHorizontal(true);
    m_info->put_Rotation(VideoRotationNone);
    ASSERT_EQ(S_OK, m_info->Save(clip.Get(), m_item.Get()));

    const auto loaded = qm::MakeObject<CMDMediaSourceInfo>();
    ASSERT_EQ(S_OK, loaded->Load(clip.Get(), m_item.Get()));
    EXPECT_FALSE(loaded->IsDirty());
    EXPECT_EQ(kField1First, loaded->get_InterlaceFlags());
    EXPECT_EQ(5, loaded->get_VideoStreamRate().numerator);
    EXPECT_EQ(0, loaded->get_VideoStreamRate().denominator);
    // Half a ratio is not written, so it reads as unset.
    EXPECT_EQ(0, loaded->get_AspectRatio().cx);
    EXPECT_EQ(0, loaded->get_AspectRatio().cy);
    EXPECT_TRUE(loaded->get_FlipHorizontal());
    EXPECT_FALSE(loaded->get_FlipVertical());
    EXPECT_EQ(VideoRotationNone, loaded->get_Rotation());
}

TEST_F(MDMediaSourceInfoTest, AnglesFoldOneTurnAndOthersAreLogged)
{
    const std::vector<std::pair<std::u16string, VideoRotation>> cases = {
        {u"-90", VideoRotation270}, {u"450", VideoRotation90}, {u"180", VideoRotation180},
        {u"45", VideoRotationUnset}, {u"-450", VideoRotationUnset}, {u"x", VideoRotationUnset},
        {u"2147483647", VideoRotationUnset}};
    for (const auto& [angle, rotation] : cases)
        EXPECT_EQ(rotation, Loaded(u"<Rotation Angle=\"" + angle + u"\"/>")->get_Rotation())
            << std::string(angle.begin(), angle.end());
    EXPECT_EQ((std::vector<std::string>{"Bad value for video orientation: 45",
                                        "Bad value for video orientation: -450",
                                        "Bad value for video orientation: 2147483647"}),
              m_log.Lines(2));
}

TEST_F(MDMediaSourceInfoTest, AttributesThatDoNotConvertCountAsAbsent)
{
    auto info = Loaded(u"<InterlaceFlags IsInterlaced=\"-1\" Field1First=\"True\"/>"
                       u"<Flip Vertical=\"-1\" Horizontal=\"no\"/><AspectRatio cx=\"4\" cy=\"3.5\"/>"
                       u"<VideoStreamRate Numerator=\"25\"/>");
    EXPECT_EQ(kInterlaced | kField1First, info->get_InterlaceFlags());
    EXPECT_TRUE(info->get_FlipVertical());
    EXPECT_FALSE(info->get_FlipHorizontal());
    EXPECT_EQ(0, info->get_AspectRatio().cx);
    EXPECT_EQ(0, info->get_VideoStreamRate().numerator);
    EXPECT_EQ(1, info->get_VideoStreamRate().denominator);

    info = Loaded(u"<InterlaceFlags IsInterlaced=\"maybe\" Field1First=\"True\"/>"
                  u"<VideoStreamRate Numerator=\"-25\" Denominator=\"-1\"/>");
    EXPECT_EQ(kInterlaceUnset, info->get_InterlaceFlags());
    EXPECT_EQ(-25, info->get_VideoStreamRate().numerator);
    EXPECT_EQ(-1, info->get_VideoStreamRate().denominator);
    EXPECT_TRUE(m_log.Lines(2).empty());
}

TEST_F(MDMediaSourceInfoTest, LoadDeleteAndCommitFailWithoutTheirInputs)
{
    EXPECT_EQ(E_FAIL, m_info->Load(ClipNode(u"").Get(), m_item.Get()));
    EXPECT_EQ(E_INVALIDARG, m_info->Load(ClipNode(u"<MediaSourceInfo/>").Get(), nullptr));
    EXPECT_EQ(E_INVALIDARG, m_info->Save(ClipNode(u"").Get(), nullptr));

    // A clean extension has nothing to commit; a dirty one needs the clip it was read from.
    EXPECT_EQ(S_OK, m_info->Commit());
    m_info->put_Rotation(VideoRotation180);
    EXPECT_EQ(E_UNEXPECTED, m_info->Commit());

    // Delete takes the element and forgets the clip, but keeps the values.
    const auto clip = ClipNode(u"<MediaSourceInfo><Rotation Angle=\"270\"/></MediaSourceInfo>");
    ASSERT_EQ(S_OK, m_info->Load(clip.Get(), m_item.Get()));
    m_info->put_FlipVertical(true);
    ASSERT_EQ(S_OK, m_info->Delete(clip.Get(), m_item.Get()));
    EXPECT_EQ(u"<LIBRARY_ITEM><NAME>c</NAME></LIBRARY_ITEM>", XmlOf(clip.Get()));
    EXPECT_FALSE(m_info->IsDirty());
    EXPECT_TRUE(m_info->get_FlipVertical());
    m_info->put_Rotation(VideoRotation90);
    EXPECT_EQ(E_UNEXPECTED, m_info->Commit());
    EXPECT_EQ((std::vector<std::string>{"QMCheckCondition: pLibraryItem != 0", "QMCheckCondition: pLibraryItem != 0",
                                        "QMCheckCondition: m_pLibraryItem", "QMCheckCondition: m_pLibraryItem"}),
              m_log.Lines(2));
}

TEST_F(MDMediaSourceInfoTest, CloneCopiesTheValuesCleanAndWithoutTheClip)
{
    const auto clip = ClipNode(u"");
    m_info->put_AspectRatio({4, 3});
    m_info->put_Rotation(VideoRotation270);
    ASSERT_EQ(S_OK, m_info->Save(clip.Get(), m_item.Get()));
    m_info->put_FlipHorizontal(true);

    ComPtr<IMDExtension> copy;
    EXPECT_EQ(E_INVALIDARG, m_info->Clone(copy.GetAddressOf(), 0));
    EXPECT_EQ(E_POINTER, m_info->Clone(nullptr, 1));
    ASSERT_EQ(S_OK, m_info->Clone(copy.GetAddressOf(), 1));
    ComPtr<IMDMediaSourceInfo> info;
    ASSERT_EQ(S_OK, copy.As(&info));
    EXPECT_EQ(4, info->get_AspectRatio().cx);
    EXPECT_EQ(VideoRotation270, info->get_Rotation());
    EXPECT_TRUE(info->get_FlipHorizontal());
    ComPtr<IPersistMDExtension> persist;
    ASSERT_EQ(S_OK, copy.As(&persist));
    EXPECT_FALSE(persist->IsDirty());
    EXPECT_FALSE(persist->CanUnload());
    info->put_FlipHorizontal(false);
    EXPECT_EQ(E_UNEXPECTED, info->Commit());
}
