#include "DataAccess/Library/ClipTestSupport.h"

#include <future>
#include <memory>
#include <thread>

using namespace qmtest;

TEST_F(ClipTest, NewClipSavesTheCurrentLayout)
{
    const auto item = Clip("clip.mp4");
    ASSERT_TRUE(item);
    EXPECT_EQ(item->get_Name(), u"clip");
    EXPECT_EQ(item->Save(), S_OK);
    EXPECT_EQ(WithoutIds(ReadFile(Sidecar("clip.mp4"))),
              "<LIBRARY_ITEM><NAME>clip.mp4</NAME><ID>{ID}</ID><VERSION subversion=\"1\">2.0</VERSION>"
              "<THUMBNAIL_INDEX>0</THUMBNAIL_INDEX><TYPE>1</TYPE></LIBRARY_ITEM>");
}

namespace
{
// A cache entry that asks its clip again while the clip lets go of it, as the media
// engine's callbacks do on the thread that holds the clip's lock.
class ReenteringSourceInfo final : public ICachedSourceInfo
{
public:
    explicit ReenteringSourceInfo(Quillmar::Library::Native::ILibraryItemNT* item) : m_item(item) {}
    HRESULT QueryInterface(REFIID iid, void** ppv) override
    {
        *ppv = (iid == IID_IUnknown) ? this : nullptr;
        return *ppv ? (AddRef(), S_OK) : E_NOINTERFACE;
    }
    ULONG AddRef() override { return ++m_count; }
    ULONG Release() override
    {
        const ULONG count = --m_count;
        if (count == 0)
        {
            ComPtr<ICachedSourceInfo> current;
            m_item->get_CachedSourceInfo(current.GetAddressOf());
            delete this;
        }
        return count;
    }

private:
    Quillmar::Library::Native::ILibraryItemNT* m_item;
    ULONG m_count = 1;
};
} // namespace

TEST_F(ClipTest, TheClipsLockMayBeEnteredAgainOnItsThread)
{
    const auto item = Clip("lock.mp4");
    ComPtr<Quillmar::Library::Native::ILibraryItemNT> nt;
    item->QueryInterface(Quillmar::Library::Native::IID_ILibraryItemNT, reinterpret_cast<void**>(nt.GetAddressOf()));
    auto* info = new ReenteringSourceInfo(nt.Get());
    ASSERT_EQ(nt->put_CachedSourceInfo(info), S_OK);
    info->Release();
    // Replacing the entry releases the last reference under the lock.
    // On a thread of its own, which a lock that refuses its owner leaves behind.
    auto result = std::make_shared<std::promise<HRESULT>>();
    auto done = result->get_future();
    std::thread([nt, result] { result->set_value(nt->put_CachedSourceInfo(nullptr)); }).detach();
    ASSERT_EQ(done.wait_for(std::chrono::seconds(5)), std::future_status::ready);
    EXPECT_EQ(done.get(), S_OK);
}
