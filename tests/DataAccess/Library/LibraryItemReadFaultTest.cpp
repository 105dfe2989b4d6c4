// A sidecar that is there but cannot be read: the clip must not come up empty and then
// be saved over it, whichever call of the read fails.
#include "DataAccess/Library/ClipTestSupport.h"
#include "Support/FaultInjectingFileSystem.h"

#include <cerrno>
#include <cstdio>

using namespace qmtest;
using qm::FaultInjectingFileSystem;
using Op = FaultInjectingFileSystem::Operation;

// A read that fails counts as a damaged sidecar: the clip comes up empty, and its next
// save first moves the file it could not read aside, where nothing overwrites it.
TEST_F(ClipTest, ASidecarThatCannotBeReadIsNeitherLostNorReplaced)
{
    const std::u16string media = Media("a.mp4");
    ASSERT_EQ(Get(media)->put_Color(u"Color1"), S_OK);
    ASSERT_EQ(Get(media)->Save(), S_OK);
    const std::string saved = ReadFile(Sidecar("a.mp4"));

    for (const Op operation : {Op::OpenRead, Op::Read})
    {
        FaultInjectingFileSystem faults(qm::FileSystem());
        qm::ScopedFileSystem scoped(faults);
        faults.Fail(operation, EIO, -1, u".quilclip");
        // A factory of its own, so that the clip is read again.
        ComPtr<ILibraryItemFactory> factory;
        ASSERT_EQ(CreateLibraryItemFactory(factory.GetAddressOf()), S_OK);
        ComPtr<ILibraryItem> item;
        if (SUCCEEDED(factory->GetLibraryItem(media.c_str(), item.GetAddressOf())) && item)
        {
            item->put_Color(u"Color2");
            item->Save();
        }
        EXPECT_EQ(ReadFile(Sidecar("a.mp4") + ".damaged"), saved) << static_cast<int>(operation);
        ASSERT_EQ(0, std::remove((Sidecar("a.mp4") + ".damaged").c_str()));
        WriteFile(Sidecar("a.mp4"), saved);
    }
}
