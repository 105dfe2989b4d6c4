// Memory that runs out at any allocation of a load or a save: the operation answers
// E_OUTOFMEMORY, nothing is thrown to the caller, and the sidecar on disk stays whole.
#include "DataAccess/Library/ClipTestSupport.h"
#include "Support/FailingAllocator.h"

#include <exception>
#include <string>
#include <vector>

using namespace qmtest;

namespace
{
constexpr long kMaxAllocations = 200000;

// Calls op with memory running out after 0, 1, 2, ... allocations until it succeeds;
// before and after run around each attempt with memory to spare.
template <class Before, class Op, class After>
void RunOutAtEveryAllocation(Before before, Op op, After after)
{
    HRESULT hr = E_OUTOFMEMORY;
    long allowed = 0;
    for (; hr == E_OUTOFMEMORY && allowed < kMaxAllocations; ++allowed)
    {
        before();
        FailingAllocator::AllowOnThisThread(allowed);
        try
        {
            hr = op();
        }
        catch (const std::exception& e)
        {
            FailingAllocator::AllowOnThisThread(-1);
            FAIL() << "an exception left the call after " << allowed << " allocations: " << e.what();
        }
        FailingAllocator::AllowOnThisThread(-1);
        ASSERT_TRUE(hr == E_OUTOFMEMORY || hr == S_OK) << std::hex << hr << " after " << allowed;
        if (hr == E_OUTOFMEMORY)
            after();
    }
    EXPECT_EQ(S_OK, hr);
    EXPECT_GT(allowed, 1) << "the operation made no allocation to fail";
}

class OutOfMemoryTest : public ClipTest
{
protected:
    // A factory of its own for each attempt, so that the clip is read from its sidecar.
    void FreshFactory()
    {
        TerminateFactory();
        ASSERT_EQ(CreateLibraryItemFactory(m_fresh.GetAddressOf()), S_OK);
    }
    void TerminateFactory()
    {
        if (!m_fresh)
            return;
        ComPtr<Quillmar::Library::Native::ILibraryItemFactoryEx> ex;
        m_fresh.As(&ex);
        ex->Terminate();
        m_fresh.Reset();
    }
    void TearDown() override
    {
        TerminateFactory();
        ClipTest::TearDown();
    }

    ComPtr<ILibraryItemFactory> m_fresh;
};

TEST_F(OutOfMemoryTest, GetLibraryItemAndSaveAnswerOutOfMemoryAndKeepTheSidecarWhole)
{
    auto item = Clip("a.mp4");
    ASSERT_EQ(item->put_Color(u"Color1"), S_OK);
    ASSERT_EQ(item->Save(), S_OK);
    item.Reset();
    const std::string saved = ReadFile(Sidecar("a.mp4"));
    const std::u16string media = m_dir.U16("a.mp4");

    ComPtr<ILibraryItem> loaded;
    RunOutAtEveryAllocation(
        [&] { FreshFactory(); },
        [&] { return m_fresh->GetLibraryItem(media.c_str(), loaded.ReleaseAndGetAddressOf()); },
        [&] { EXPECT_EQ(saved, ReadFile(Sidecar("a.mp4"))); });
    ASSERT_NE(loaded, nullptr);
    EXPECT_EQ(loaded->get_Color(), u"Color1");

    ASSERT_EQ(loaded->put_Color(u"Color2"), S_OK);
    std::vector<std::string> between;
    RunOutAtEveryAllocation([] {}, [&] { return loaded->Save(); },
                            [&] { between.push_back(ReadFile(Sidecar("a.mp4"))); });
    const std::string written = ReadFile(Sidecar("a.mp4"));
    EXPECT_NE(saved, written);
    for (const std::string& content : between)
        EXPECT_TRUE(content == saved || content == written) << content;
}
} // namespace
