// Batches of renames and deletes: order, sinks, refusals and early failure.
#include "Platform/Shell/FileOperation.h"

#include "Support/FaultInjectingFileSystem.h"
#include "Platform/Kernel/LinuxFileSystem.h"
#include "Platform/Shell/ShellTestSupport.h"
#include "Support/TempDir.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <utility>

using namespace qmtest;

namespace
{
class FileOperationTest : public testing::Test
{
protected:
    ComPtr<IShellItem> Item(const std::string& name)
    {
        if (!std::filesystem::exists(m_folder / name))
            std::ofstream(m_folder / name) << name;
        ComPtr<IShellItem> item;
        EXPECT_EQ(S_OK, SHCreateItemFromParsingName(m_folder.U16(name).c_str(), nullptr, IID_IShellItem,
                                                    reinterpret_cast<void**>(item.GetAddressOf())));
        return item;
    }
    bool Exists(const std::string& name) const { return std::filesystem::exists(m_folder / name); }
    ComPtr<IFileOperation> NewOperation(DWORD flags)
    {
        ComPtr<IFileOperation> operation;
        EXPECT_EQ(S_OK, CoCreateInstance(CLSID_FileOperation, nullptr, CLSCTX_ALL, IID_IFileOperation,
                                         reinterpret_cast<void**>(operation.GetAddressOf())));
        operation->SetOperationFlags(flags);
        return operation;
    }

    TempDir m_folder;
};

// A sink that the operation alone holds, which unadvises itself in a chosen callback and
// may release the operation's last reference there too; what it is told, and its end, go
// to a trace that outlives it.
class UnadvisingSink final : public RecordingSink
{
public:
    UnadvisingSink(std::vector<std::u16string>& trace, bool inStart) : m_trace(trace), m_inStart(inStart) {}
    ~UnadvisingSink() { m_trace.push_back(u"gone"); }

    ULONG AddRef() override { return ++m_count; }
    ULONG Release() override
    {
        const ULONG count = --m_count;
        if (count == 0)
            delete this;
        return count;
    }
    HRESULT StartOperations() override { return Step(u"start", m_inStart); }
    HRESULT PreDeleteItem(DWORD, IShellItem*) override { return Step(u"pre-delete", !m_inStart); }
    HRESULT PostDeleteItem(DWORD, IShellItem*, HRESULT, IShellItem*) override { return Step(u"post-delete", false); }
    HRESULT FinishOperations(HRESULT) override { return Step(u"finish", false); }

    IFileOperation* operation = nullptr; // a reference of this sink's own, or null
    DWORD cookie = 0;
    IFileOperation* advisedTo = nullptr;

private:
    HRESULT Step(const char16_t* name, bool leave)
    {
        m_trace.push_back(name);
        if (leave)
        {
            advisedTo->Unadvise(cookie);
            if (operation)
                std::exchange(operation, nullptr)->Release();
        }
        return S_OK;
    }

    std::vector<std::u16string>& m_trace;
    bool m_inStart;
    ULONG m_count = 1;
};
} // namespace

TEST_F(FileOperationTest, RenamesAndDeletesRunInOrderAndTellTheirSinks)
{
    RecordingSink own, advised; // outlive the operation, which holds them
    auto operation = NewOperation(FOF_NOCONFIRMATION | FOF_NOERRORUI);
    DWORD cookie = 0;
    ASSERT_EQ(S_OK, operation->Advise(&advised, &cookie));
    ASSERT_EQ(S_OK, operation->RenameItem(Item("a.mp4").Get(), u"b.mp4", &own));
    ASSERT_EQ(S_OK, operation->RenameItem(Item("a.mp4.quilclip").Get(), u"b.mp4.quilclip", nullptr));
    ASSERT_EQ(S_OK, operation->DeleteItem(Item("c.mp4").Get(), &own));
    ASSERT_EQ(S_OK, operation->PerformOperations());
    EXPECT_TRUE(Exists("b.mp4"));
    EXPECT_TRUE(Exists("b.mp4.quilclip"));
    EXPECT_FALSE(Exists("a.mp4"));
    EXPECT_FALSE(Exists("c.mp4"));
    EXPECT_EQ((std::vector<std::u16string>{u"pre-rename a.mp4 b.mp4", u"post-rename a.mp4 b.mp4 ok new",
                                           u"pre-delete c.mp4", u"post-delete c.mp4 ok"}),
              own.log);
    EXPECT_EQ(8u, advised.log.size());
    EXPECT_EQ(u"start", advised.log.front());
    EXPECT_EQ(u"finish", advised.log.back());
    BOOL aborted = TRUE;
    ASSERT_EQ(S_OK, operation->GetAnyOperationsAborted(&aborted));
    EXPECT_FALSE(aborted);
    EXPECT_EQ(E_INVALIDARG, operation->RenameItem(Item("x").Get(), u"../escape", nullptr));
}

TEST_F(FileOperationTest, ARenameNeverReplacesAndEarlyFailureStopsTheRest)
{
    RecordingSink sink;
    auto operation = NewOperation(FOFX_EARLYFAILURE);
    ASSERT_EQ(S_OK, operation->RenameItem(Item("one").Get(), u"free", &sink));
    ASSERT_EQ(S_OK, operation->RenameItem(Item("two").Get(), u"taken", &sink));
    Item("taken");
    ASSERT_EQ(S_OK, operation->DeleteItem(Item("three").Get(), &sink));
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_ALREADY_EXISTS), operation->PerformOperations());
    // Done stays done, the refused rename touched nothing, the rest did not run.
    EXPECT_TRUE(Exists("free"));
    EXPECT_TRUE(Exists("two"));
    EXPECT_TRUE(Exists("three"));
    std::ifstream taken(m_folder / "taken");
    std::string content;
    taken >> content;
    EXPECT_EQ("taken", content);
    BOOL aborted = FALSE;
    operation->GetAnyOperationsAborted(&aborted);
    EXPECT_TRUE(aborted);
    EXPECT_EQ(4u, sink.log.size());

    // Without early failure the others go on.
    auto lenient = NewOperation(0);
    ASSERT_EQ(S_OK, lenient->RenameItem(Item("two").Get(), u"taken", nullptr));
    ASSERT_EQ(S_OK, lenient->DeleteItem(Item("three").Get(), nullptr));
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_ALREADY_EXISTS), lenient->PerformOperations());
    EXPECT_FALSE(Exists("three"));
}

TEST_F(FileOperationTest, ASinkRefusesARenameBeforeItStarts)
{
    RecordingSink sink;
    auto operation = NewOperation(FOFX_EARLYFAILURE);
    sink.refuseRename = HRESULT_FROM_WIN32(ERROR_ALREADY_EXISTS);
    ASSERT_EQ(S_OK, operation->RenameItem(Item("clip.mp4").Get(), u"new.mp4", &sink));
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_ALREADY_EXISTS), operation->PerformOperations());
    EXPECT_TRUE(Exists("clip.mp4"));
    EXPECT_FALSE(Exists("new.mp4"));
    EXPECT_EQ(u"post-rename clip.mp4 new.mp4 failed", sink.log.back());
    BOOL aborted = FALSE;
    operation->GetAnyOperationsAborted(&aborted);
    EXPECT_TRUE(aborted);

    // A delete the file system refuses is reported to the sink and returned.
    qm::FaultInjectingFileSystem faults(qm::LinuxFileSystem::Instance());
    qm::ScopedFileSystem scope(faults);
    faults.Fail(qm::FaultInjectingFileSystem::Operation::DeleteFile, EACCES);
    auto deletion = NewOperation(0);
    ASSERT_EQ(S_OK, deletion->DeleteItem(Item("clip.mp4").Get(), &sink));
    EXPECT_EQ(E_ACCESSDENIED, deletion->PerformOperations());
    EXPECT_EQ(u"post-delete clip.mp4 failed", sink.log.back());
    EXPECT_TRUE(Exists("clip.mp4"));
}

TEST_F(FileOperationTest, ASinkMayUnadviseItselfOrReleaseTheOperationWhileTold)
{
    std::vector<std::u16string> first, second;
    auto* leavesInDelete = new UnadvisingSink(first, false);
    auto* leavesInStart = new UnadvisingSink(second, true);
    ComPtr<IFileOperation> operation = NewOperation(0);
    for (UnadvisingSink* sink : {leavesInDelete, leavesInStart})
    {
        sink->advisedTo = operation.Get();
        ASSERT_EQ(S_OK, operation->Advise(sink, &sink->cookie));
        sink->Release();
    }
    ASSERT_EQ(S_OK, operation->DeleteItem(Item("clip.mp4").Get(), nullptr));
    // The first sink holds the last reference to the operation and lets it go.
    leavesInDelete->operation = operation.Detach();
    ASSERT_EQ(S_OK, leavesInDelete->operation->PerformOperations());
    EXPECT_FALSE(Exists("clip.mp4"));
    EXPECT_EQ((std::vector<std::u16string>{u"start", u"pre-delete", u"post-delete", u"gone"}), first);
    EXPECT_EQ((std::vector<std::u16string>{u"start", u"gone"}), second);
}
