// The audio gain matrix: the identity of a new count, what reaches the XML, and what a
// load keeps.
#include "DataAccess/Library/MDAudioMatrix.h"

#include "DataAccess/Library/ExtensionTestSupport.h"

#include <vector>

using namespace Quillmar::Library::Native::details;
using namespace qmtest;

namespace
{
using Matrix = std::vector<std::vector<float>>;

class MDAudioMatrixTest : public ExtensionTest
{
protected:
    ComPtr<CMDAudioMatrix> Reload(IXMLDOMNode* clip)
    {
        auto matrix = qm::MakeObject<CMDAudioMatrix>();
        EXPECT_EQ(S_OK, matrix->Load(clip, m_item.Get()));
        return matrix;
    }

    ComPtr<CMDAudioMatrix> m_matrix = qm::MakeObject<CMDAudioMatrix>();
};
} // namespace

TEST_F(MDAudioMatrixTest, ANewCountStartsOverWithTheIdentity)
{
    const auto clip = ClipNode(u"");
    EXPECT_EQ(0u, m_matrix->get_OutputCount());
    EXPECT_EQ(S_FALSE, m_matrix->Save(clip.Get(), m_item.Get()));

    m_matrix->put_OutputCount(2);
    EXPECT_EQ((Matrix{{1, 0}, {0, 1}}), m_matrix->GetMatrix());
    ASSERT_EQ(S_OK, m_matrix->Save(clip.Get(), m_item.Get()));
    EXPECT_EQ(u"<LIBRARY_ITEM><NAME>c</NAME><AudioMatrix><Output fl=\"1\"/><Output fr=\"1\"/></AudioMatrix>"
              u"</LIBRARY_ITEM>",
              XmlOf(clip.Get()));

    // The same count keeps every gain and the object clean.
    m_matrix->SetGain(1, 0, 0.5f);
    ASSERT_EQ(S_OK, m_matrix->Save(clip.Get(), m_item.Get()));
    m_matrix->put_OutputCount(2);
    EXPECT_FALSE(m_matrix->IsDirty());
    EXPECT_EQ(0.5f, m_matrix->GetGain(1, 0));

    m_matrix->put_OutputCount(3);
    EXPECT_TRUE(m_matrix->IsDirty());
    EXPECT_EQ((Matrix{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}), m_matrix->GetMatrix());
}

TEST_F(MDAudioMatrixTest, OnlyGainsAboveZeroAreWrittenOrShownInTheMatrix)
{
    const auto clip = ClipNode(u"");
    m_matrix->put_OutputCount(1);
    m_matrix->SetGain(5, 0, 0.25f);
    // Channel 5 lies beyond one output: its row grows to hold it.
    EXPECT_EQ((Matrix{{1, 0, 0, 0, 0, 0.25f}}), m_matrix->GetMatrix());
    ASSERT_EQ(S_OK, m_matrix->Save(clip.Get(), m_item.Get()));

    m_matrix->SetGain(2, 0, 0.0f);
    EXPECT_FALSE(m_matrix->IsDirty());
    m_matrix->SetGain(0, 7, 1.0f);
    EXPECT_FALSE(m_matrix->IsDirty());
    EXPECT_EQ(0.0f, m_matrix->GetGain(0, 7));

    m_matrix->SetGain(3, 0, -1.0f);
    m_matrix->SetGain(0, 0, 0.0f);
    EXPECT_EQ(-1.0f, m_matrix->GetGain(3, 0));
    EXPECT_EQ((Matrix{{0, 0, 0, 0, 0, 0.25f}}), m_matrix->GetMatrix());
    ASSERT_EQ(S_OK, m_matrix->Save(clip.Get(), m_item.Get()));
    EXPECT_EQ(u"<LIBRARY_ITEM><NAME>c</NAME><AudioMatrix><Output br=\"0.25\"/></AudioMatrix></LIBRARY_ITEM>",
              XmlOf(clip.Get()));
    const auto loaded = Reload(clip.Get());
    EXPECT_EQ(0.0f, loaded->GetGain(3, 0));
    EXPECT_EQ(0.25f, loaded->GetGain(5, 0));
}

TEST_F(MDAudioMatrixTest, LoadReadsKnownCodesOfEveryOutput)
{
    const auto clip = ClipNode(u"<AudioMatrix><Output fl=\"0.5\" xx=\"1\" FR=\"1\" fc=\"loud\" tlf=\" 2 \"/>"
                           u"<Output/></AudioMatrix><AudioMatrix><Output tbr=\"0.125\"/></AudioMatrix>");
    const auto loaded = Reload(clip.Get());
    EXPECT_FALSE(loaded->IsDirty());
    const Matrix matrix = loaded->GetMatrix();
    ASSERT_EQ(3u, matrix.size());
    // fl and tlf (12) of the first output; none of the second; tbr (17) of the third.
    Matrix expected{Matrix::value_type(13), Matrix::value_type(3), Matrix::value_type(18)};
    expected[0][0] = 0.5f;
    expected[0][12] = 2.0f;
    expected[2][17] = 0.125f;
    EXPECT_EQ(expected, matrix);

    // A save writes the outputs of both matrices back as one, so that saves do not make
    // them multiply; what it did not understand is gone.
    loaded->SetGain(1, 1, 1.0f);
    ASSERT_EQ(S_OK, loaded->Save(clip.Get(), m_item.Get()));
    const std::u16string saved =
        u"<LIBRARY_ITEM><NAME>c</NAME>"
        u"<AudioMatrix><Output fl=\"0.5\" tlf=\"2\"/><Output fr=\"1\"/><Output tbr=\"0.125\"/></AudioMatrix>"
        u"</LIBRARY_ITEM>";
    EXPECT_EQ(saved, XmlOf(clip.Get()));
    const auto again = Reload(clip.Get());
    EXPECT_EQ(3u, again->get_OutputCount());
    again->SetGain(0, 0, 0.25f);
    ASSERT_EQ(S_OK, again->Save(clip.Get(), m_item.Get()));
    EXPECT_EQ(3u, Reload(clip.Get())->get_OutputCount());
}

TEST_F(MDAudioMatrixTest, AnEmptyMatrixRemovesItsElementAndCannotBeCloned)
{
    const auto clip = ClipNode(u"<AudioMatrix><Output fl=\"1\"/></AudioMatrix><ID>x</ID>");
    const auto loaded = Reload(clip.Get());
    ASSERT_EQ(1u, loaded->get_OutputCount());

    // Delete takes the element and leaves memory and the flag alone.
    ASSERT_EQ(S_OK, loaded->Delete(clip.Get(), m_item.Get()));
    EXPECT_EQ(u"<LIBRARY_ITEM><NAME>c</NAME><ID>x</ID></LIBRARY_ITEM>", XmlOf(clip.Get()));
    EXPECT_FALSE(loaded->IsDirty());
    EXPECT_EQ(1.0f, loaded->GetGain(0, 0));
    EXPECT_EQ(S_FALSE, loaded->Save(clip.Get(), m_item.Get()));

    const auto again = ClipNode(u"<AudioMatrix><Output fl=\"1\"/></AudioMatrix><ID>x</ID>");
    const auto emptied = Reload(again.Get());
    emptied->put_OutputCount(0);
    EXPECT_TRUE(emptied->IsDirty());
    ASSERT_EQ(S_OK, emptied->Save(again.Get(), m_item.Get()));
    EXPECT_EQ(u"<LIBRARY_ITEM><NAME>c</NAME><ID>x</ID></LIBRARY_ITEM>", XmlOf(again.Get()));

    ComPtr<IMDExtension> copy;
    EXPECT_EQ(E_NOTIMPL, emptied->Clone(copy.GetAddressOf(), 1));
    EXPECT_TRUE(emptied->CanUnload());
    EXPECT_EQ(MDTYPE_AudioMatrix, emptied->GetExtensionType());
    EXPECT_EQ(E_INVALIDARG, emptied->Save(nullptr, m_item.Get()));
    EXPECT_EQ(E_INVALIDARG, emptied->Load(nullptr, m_item.Get()));
}

TEST_F(MDAudioMatrixTest, TheMatrixIsBoundedSoNoValueCanExhaustMemory)
{
    // 1024 outputs and channels at most; what lies beyond changes nothing.
    m_matrix->put_OutputCount(1);
    ASSERT_EQ(S_OK, m_matrix->Save(ClipNode(u"").Get(), m_item.Get()));
    m_matrix->SetGain(UINT32_MAX, 0, 1.0f);
    m_matrix->SetGain(1024, 0, 1.0f);
    m_matrix->put_OutputCount(UINT64_MAX);
    m_matrix->put_OutputCount(1025);
    EXPECT_EQ((Matrix{{1}}), m_matrix->GetMatrix());
    EXPECT_EQ(0.0f, m_matrix->GetGain(UINT32_MAX, 0));
    EXPECT_FALSE(m_matrix->IsDirty());
    m_matrix->SetGain(1023, 0, 0.5f);
    EXPECT_EQ(1024u, m_matrix->GetMatrix()[0].size());
    m_matrix->put_OutputCount(1024);
    EXPECT_EQ(1024u, m_matrix->GetMatrix().size());

    // A file may hold more outputs: they are kept and saved, but have no dense form.
    std::u16string outputs;
    for (int i = 0; i < 2000; ++i)
        outputs += u"<Output fl=\"1\"/>";
    const auto clip = ClipNode(u"<AudioMatrix>" + outputs + u"</AudioMatrix>");
    const auto loaded = Reload(clip.Get());
    EXPECT_EQ(2000u, loaded->get_OutputCount());
    EXPECT_EQ(1.0f, loaded->GetGain(0, 1999));
    EXPECT_TRUE(loaded->GetMatrix().empty());
}
