// The order in which a save reaches the disk: the new content is synced before it takes
// the sidecar's name, and the folder after the rename, so that a crash at any instant
// leaves the old sidecar or the new one, and a save that returned is on disk.
#include "DataAccess/Library/ClipTestSupport.h"
#include "Support/FaultInjectingFileSystem.h"
#include "qm/LibrarySettings.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <utility>

using namespace qmtest;
using qm::FaultInjectingFileSystem;
using Op = FaultInjectingFileSystem::Operation;
using Quillmar::Library::Native::LibrarySettings;

namespace
{
// The calls that make a write durable, in order, each with the file or folder it touched;
// a run of writes to one file counts once.
std::vector<std::pair<Op, std::u16string>> DurableSteps(const FaultInjectingFileSystem& faults)
{
    std::vector<std::pair<Op, std::u16string>> steps;
    for (const FaultInjectingFileSystem::Call& call : faults.History())
    {
        switch (call.operation)
        {
        case Op::Write:
        case Op::Fsync:
        case Op::FsyncFolder:
            if (steps.empty() || steps.back() != std::pair(call.operation, call.path))
                steps.emplace_back(call.operation, call.path);
            break;
        case Op::Rename:
        case Op::RenameReplacing:
            steps.emplace_back(call.operation, call.path + u" -> " + call.target);
            break;
        default:
            break;
        }
    }
    return steps;
}

class DurabilityTest : public ClipTest
{
protected:
    void TearDown() override
    {
        LibrarySettings::DisableSafeWrite(false);
        ClipTest::TearDown();
    }
    // The durable steps of one save of the item.
    std::vector<std::pair<Op, std::u16string>> StepsOfSave(ILibraryItem* item)
    {
        FaultInjectingFileSystem faults(qm::FileSystem());
        qm::ScopedFileSystem scoped(faults);
        EXPECT_EQ(item->Save(), S_OK);
        return DurableSteps(faults);
    }
};
} // namespace

TEST_F(DurabilityTest, ASafeSaveWritesSyncsRenamesAndSyncsTheFolderInThatOrder)
{
    ComPtr<ILibraryItem> item = Clip("a.mp4");
    ASSERT_EQ(item->put_Color(u"Color1"), S_OK);
    ASSERT_EQ(item->Save(), S_OK);
    ASSERT_EQ(item->put_Color(u"Color2"), S_OK);

    const std::u16string sidecar = m_dir.U16("a.mp4.quilclip");
    const std::u16string temporary = sidecar + u".temp";
    const std::vector<std::pair<Op, std::u16string>> expected{{Op::Write, temporary},
                                                               {Op::Fsync, temporary},
                                                               {Op::RenameReplacing, temporary + u" -> " + sidecar},
                                                               {Op::FsyncFolder, m_dir.U16()}};
    EXPECT_EQ(StepsOfSave(item.Get()), expected);
}

TEST_F(DurabilityTest, ADirectSaveSyncsTheFileAndTheFolderOfANewSidecar)
{
    const std::u16string sidecar = m_dir.U16("a.mp4.quilclip");
    const std::vector<std::pair<Op, std::u16string>> created{
        {Op::Write, sidecar}, {Op::Fsync, sidecar}, {Op::FsyncFolder, m_dir.U16()}};
    // A first save has no sidecar to replace: the new name must last as well as its content.
    ComPtr<ILibraryItem> item = Clip("a.mp4");
    EXPECT_EQ(StepsOfSave(item.Get()), created);

    // So also with safe writes off.
    LibrarySettings::DisableSafeWrite(true);
    ComPtr<ILibraryItem> other = Clip("b.mp4");
    const std::u16string otherSidecar = m_dir.U16("b.mp4.quilclip");
    const std::vector<std::pair<Op, std::u16string>> otherCreated{
        {Op::Write, otherSidecar}, {Op::Fsync, otherSidecar}, {Op::FsyncFolder, m_dir.U16()}};
    EXPECT_EQ(StepsOfSave(other.Get()), otherCreated);

    // In place over an existing sidecar, the folder does not change.
    ASSERT_EQ(item->put_Color(u"Color2"), S_OK);
    const std::vector<std::pair<Op, std::u16string>> inPlace{{Op::Write, sidecar}, {Op::Fsync, sidecar}};
    EXPECT_EQ(StepsOfSave(item.Get()), inPlace);
}

TEST_F(DurabilityTest, ASidecarMadeElsewhereAfterTheLookIsReplacedWholeNotCutShort)
{
    for (const bool safeWriteDisabled : {false, true})
    {
        SCOPED_TRACE(safeWriteDisabled ? "safe writes off" : "safe writes on");
        LibrarySettings::DisableSafeWrite(safeWriteDisabled);
        const std::string name = safeWriteDisabled ? "b.mp4" : "a.mp4";
        ComPtr<ILibraryItem> item = Clip(name);
        ASSERT_EQ(item->put_Color(u"Color2"), S_OK);
        const std::string sidecar = Sidecar(name);
        const std::string theirs = "<LIBRARY_ITEM>another writer's complete file</LIBRARY_ITEM>";

        // Another process makes the sidecar between the look for it and its creation here;
        // it still reads its file through the handle it wrote it with.
        std::ifstream reader;
        FaultInjectingFileSystem faults(qm::FileSystem());
        bool made = false;
        const auto makeTheirs = [&] {
            if (!std::exchange(made, true))
            {
                WriteFile(sidecar, theirs);
                reader.open(sidecar, std::ios::binary);
            }
        };
        // Whichever call on the sidecar comes first after the look.
        faults.Before(Op::CreateExclusive, makeTheirs);
        faults.Before(Op::OpenExclusiveWrite, makeTheirs);
        {
            qm::ScopedFileSystem scoped(faults);
            EXPECT_EQ(item->Save(), S_OK);
        }

        // Its file was replaced by a rename, not truncated and written over in place.
        ASSERT_TRUE(reader.is_open());
        EXPECT_EQ(std::string(std::istreambuf_iterator<char>(reader), std::istreambuf_iterator<char>()), theirs);
        EXPECT_NE(ReadFile(sidecar).find("Color2"), std::string::npos);
        EXPECT_FALSE(std::filesystem::exists(sidecar + ".temp"));
        EXPECT_FALSE(std::filesystem::exists(sidecar + ".backup"));
    }
}
