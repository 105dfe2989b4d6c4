// A clip saved over and over by a child process that is killed at random moments: the
// sidecar left behind is always one whole version, never cut off or missing. And a clip
// saved by several processes at once while another reads it: every read finds one whole
// version.
#include "DataAccess/Library/ClipTestSupport.h"
#include "DataAccess/Library/XmlNodeAccess.h"
#include "Platform/Xml/XmlDocumentHelpers.h"
#include "qm/Library/MetadataExtensions.h"

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <optional>
#include <random>
#include <thread>
#include <vector>

#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define QM_CRASH_TEST_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define QM_CRASH_TEST_SANITIZED 1
#endif
#endif

using namespace qmtest;
using Quillmar::Library::Native::GetAttributeText;
using Quillmar::Library::Native::GetNodeText;
using Quillmar::Library::Native::ILibraryItemFactoryEx;
using Quillmar::Library::Native::SelectNode;

namespace
{
// Well over one 64 KB write of the document.
constexpr std::size_t kPayloadChars = 160 * 1024;
// Small enough for many saves a second, so that writers meet often.
constexpr std::size_t kRacePayloadChars = 2 * 1024;
// What a child sends once it is about to save for the first time.
constexpr std::int64_t kReady = -1;
// Counters of one child stay below those of the next.
constexpr std::int64_t kCountersPerChild = 1'000'000;
constexpr int kReadyTimeoutMs = 60'000;

enum ChildExit
{
    kSetupFailed = 3,
    kSaveFailed = 4,
    kRanOut = 5,
    kTornAfterSave = 6,
};

constexpr HRESULT kSharingViolation = static_cast<HRESULT>(0x80070020u);
constexpr int kRacingWriters = 3;
constexpr auto kRaceTime = std::chrono::seconds(3);

int KillCount()
{
#ifdef QM_CRASH_TEST_SANITIZED
    return 200;
#else
    return std::getenv("QM_SANITIZED_BUILD") ? 200 : 300;
#endif
}

std::u16string Number(std::int64_t n)
{
    const std::string digits = std::to_string(n);
    return std::u16string(digits.begin(), digits.end());
}

std::u16string Color(std::int64_t n) { return u"Color" + Number(n); }

// A text that only version n has, ending in a mark so that a cut shows.
std::u16string Payload(std::int64_t n, std::size_t chars)
{
    const std::u16string piece = Number(n) + u';';
    std::u16string text;
    text.reserve(chars + 2 * piece.size() + 8);
    while (text.size() < chars)
        text += piece;
    return text + u"end" + Number(n);
}

bool IsPayloadOf(std::int64_t n, const std::u16string& text)
{
    const std::u16string piece = Number(n) + u';';
    return text.size() > piece.size() && (text.size() - 3 - Number(n).size()) % piece.size() == 0 &&
           text == Payload(n, text.size() - 3 - Number(n).size());
}

// A clip opened through a factory of its own.
struct OpenClip
{
    ComPtr<ILibraryItemFactory> factory;
    ComPtr<ILibraryItem> item;
    ComPtr<IMDDataBlob> blob;
    std::size_t payloadChars = kPayloadChars;

    HRESULT Open(const std::u16string& media)
    {
        HRESULT hr = CreateLibraryItemFactory(factory.GetAddressOf());
        if (SUCCEEDED(hr))
            hr = factory->GetLibraryItem(media.c_str(), item.GetAddressOf());
        if (SUCCEEDED(hr))
            hr = item->GetOrCreateExtension(MDTYPE_DataBlob, IID_IMDDataBlob,
                                            reinterpret_cast<void**>(blob.GetAddressOf()));
        return hr;
    }
    // Version n: the counter in the colour, and the payload that goes with it.
    HRESULT SaveVersion(std::int64_t n)
    {
        HRESULT hr = item->put_Color(Color(n));
        if (SUCCEEDED(hr))
            hr = blob->SetData(u"payload", Payload(n, payloadChars).c_str());
        return SUCCEEDED(hr) ? item->Save() : hr;
    }
    void Close()
    {
        ComPtr<ILibraryItemFactoryEx> ex;
        if (factory && SUCCEEDED(factory.As(&ex)))
            ex->Terminate();
        blob.Reset();
        item.Reset();
        factory.Reset();
    }
};

void Send(int fd, std::int64_t value)
{
    // A pipe takes a write this small whole.
    if (::write(fd, &value, sizeof value) != static_cast<ssize_t>(sizeof value))
        _exit(kSaveFailed);
}

// The child: no test machinery, only saves, each reported once it has returned.
[[noreturn]] void RunSaver(const std::u16string& media, std::int64_t first, int fd)
{
    OpenClip clip;
    if (FAILED(clip.Open(media)))
        _exit(kSetupFailed);
    Send(fd, kReady);
    for (std::int64_t n = first; n < first + kCountersPerChild; ++n)
    {
        if (clip.SaveVersion(n) != S_OK)
            _exit(kSaveFailed);
        Send(fd, n);
    }
    _exit(kRanOut);
}

std::string Hex(HRESULT hr)
{
    char text[16];
    std::snprintf(text, sizeof text, "0x%08x", static_cast<unsigned>(hr));
    return text;
}

std::string Narrow(const std::u16string& text) { return std::filesystem::path(text).string(); }

// The counter of the version in the file, or what is wrong with it.
std::optional<std::int64_t> ReadSidecar(const std::string& path, std::string& problem)
{
    ComPtr<IXMLDOMDocument> document;
    ComPtr<IXMLDOMParseError> error;
    const HRESULT hr = LoadDocumentFromFile(std::filesystem::path(path).u16string(), document.GetAddressOf(),
                                            error.GetAddressOf(), false);
    if (FAILED(hr))
    {
        BSTR reason = nullptr;
        if (error)
            error->get_reason(&reason);
        problem = "does not load, " + Hex(hr) + (reason ? ": " + Narrow(std::u16string(qm::BstrView(reason))) : "");
        SysFreeString(reason);
        return std::nullopt;
    }
    ComPtr<IXMLDOMNode> root;
    ComPtr<IXMLDOMElement> element;
    std::optional<std::u16string> color;
    if (SelectNode(document.Get(), u"LIBRARY_ITEM", root) != S_OK ||
        FAILED(root.As(&element)) || GetAttributeText(element.Get(), u"Color", color) != S_OK ||
        color->rfind(u"Color", 0) != 0)
    {
        problem = "has no LIBRARY_ITEM with a Color";
        return std::nullopt;
    }
    const std::int64_t n = std::stoll(Narrow(color->substr(5)));
    ComPtr<IXMLDOMNode> data;
    std::u16string payload;
    if (SelectNode(root.Get(), u"//Data[@Id='payload']", data) != S_OK || FAILED(GetNodeText(data.Get(), payload)) ||
        !IsPayloadOf(n, payload))
    {
        problem = "holds " + Narrow(*color) + " without its whole payload (" + std::to_string(payload.size()) +
                  " characters)";
        return std::nullopt;
    }
    return n;
}

// A description of a broken sidecar: its size and its two ends.
std::string Describe(const std::string& path)
{
    if (!std::filesystem::exists(path))
        return "the sidecar is missing";
    const std::string content = ReadFile(path);
    return std::to_string(content.size()) + " bytes, starting '" + content.substr(0, 120) + "', ending '" +
           content.substr(content.size() > 120 ? content.size() - 120 : 0) + "'";
}

// The parent: one child per round, killed a random time after it starts saving.
class SaveKiller
{
public:
    SaveKiller(std::u16string media, std::string sidecar, std::int64_t onDisk, std::chrono::microseconds window)
        : m_media(std::move(media)), m_sidecar(std::move(sidecar)), m_onDisk(onDisk), m_delay(0, window.count())
    {
    }

    // Kills one child and checks what it left. False, with the reason, on a fault.
    bool Round(int round, std::string& failure)
    {
        int fds[2];
        if (::pipe(fds) != 0)
            return Fail(failure, "pipe failed");
        const std::int64_t first = (round + 1) * kCountersPerChild;
        const pid_t pid = ::fork();
        if (pid == 0)
        {
            ::close(fds[0]);
            RunSaver(m_media, first, fds[1]);
        }
        ::close(fds[1]);
        const bool ok = pid > 0 ? KillWhileSaving(pid, fds[0], failure) && Check(round, first, fds[0], failure)
                                : Fail(failure, "fork failed");
        ::close(fds[0]);
        return ok;
    }

    std::int64_t OnDisk() const { return m_onDisk; }
    int NewerVersions() const { return m_newer; }
    int OlderVersions() const { return m_older; }
    int Saves() const { return m_saves; }
    int LeftTemp() const { return m_leftTemp; }
    int LeftBackup() const { return m_leftBackup; }

private:
    static bool Fail(std::string& failure, std::string text)
    {
        failure = std::move(text);
        return false;
    }

    bool KillWhileSaving(pid_t pid, int fd, std::string& failure)
    {
        pollfd ready{fd, POLLIN, 0};
        std::int64_t message = 0;
        const bool started = ::poll(&ready, 1, kReadyTimeoutMs) == 1 &&
                             ::read(fd, &message, sizeof message) == static_cast<ssize_t>(sizeof message) &&
                             message == kReady;
        m_lastDelay = std::chrono::microseconds(m_delay(m_random));
        if (started)
            std::this_thread::sleep_for(m_lastDelay);
        ::kill(pid, SIGKILL);
        int status = 0;
        ::waitpid(pid, &status, 0);
        if (WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL && started)
            return true;
        return Fail(failure, WIFEXITED(status) ? "the saver ended by itself with " + std::to_string(WEXITSTATUS(status))
                                               : "the saver did not start saving");
    }

    // The file holds the last version the child finished, or the one after it.
    bool Check(int round, std::int64_t first, int fd, std::string& failure)
    {
        const std::vector<std::int64_t> saved = Drain(fd);
        m_saves += static_cast<int>(saved.size());
        const std::int64_t done = saved.empty() ? m_onDisk : saved.back();
        const std::int64_t writing = saved.empty() ? first : done + 1;
        const std::string where = "after kill " + std::to_string(round + 1) + ", " + std::to_string(saved.size()) +
                                  " saves done, " + std::to_string(m_lastDelay.count()) + " us after the start: ";
        std::string problem;
        const std::optional<std::int64_t> n = ReadSidecar(m_sidecar, problem);
        if (!n)
            return Fail(failure, where + "the sidecar " + problem + "; " + Describe(m_sidecar));
        if (*n != done && *n != writing)
            return Fail(failure, where + "the sidecar holds version " + std::to_string(*n) + ", expected " +
                                     std::to_string(done) + " or " + std::to_string(writing));
        (*n == m_onDisk ? m_older : m_newer) += 1;
        m_onDisk = *n;
        m_leftTemp += std::filesystem::exists(m_sidecar + ".temp");
        m_leftBackup += std::filesystem::exists(m_sidecar + ".backup");
        return true;
    }

    // What the dead child reported, read to the end of the pipe.
    static std::vector<std::int64_t> Drain(int fd)
    {
        std::vector<std::int64_t> values;
        std::int64_t value = 0;
        while (::read(fd, &value, sizeof value) == static_cast<ssize_t>(sizeof value))
            values.push_back(value);
        return values;
    }

    std::u16string m_media;
    std::string m_sidecar;
    std::int64_t m_onDisk;
    std::mt19937 m_random{20240611};
    std::uniform_int_distribution<long long> m_delay;
    std::chrono::microseconds m_lastDelay{0};
    int m_newer = 0;
    int m_older = 0;
    int m_saves = 0;
    int m_leftTemp = 0;
    int m_leftBackup = 0;
};

// A few safe saves in this process: the versions 1 to 3 and the longest time one took.
std::chrono::microseconds SaveFirstVersions(const std::u16string& media)
{
    OpenClip clip;
    EXPECT_EQ(clip.Open(media), S_OK);
    EXPECT_EQ(clip.SaveVersion(0), S_OK); // no sidecar yet: the direct route
    std::chrono::microseconds longest{0};
    for (std::int64_t n = 1; n <= 3; ++n)
    {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(clip.SaveVersion(n), S_OK);
        longest = std::max(longest, std::chrono::duration_cast<std::chrono::microseconds>(
                                        std::chrono::steady_clock::now() - start));
    }
    clip.Close();
    return longest;
}
} // namespace

namespace
{
// A writer of the race: saves until the deadline. A save may lose to another writer with
// a sharing violation; one that answers S_OK has left a whole file. It sends how many
// saves succeeded, or the code of the first failure of another kind.
[[noreturn]] void RunRacingSaver(const std::u16string& media, const std::string& sidecar, std::int64_t first,
                                 std::chrono::steady_clock::time_point deadline, int fd)
{
    OpenClip clip;
    clip.payloadChars = kRacePayloadChars;
    if (FAILED(clip.Open(media)))
        _exit(kSetupFailed);
    std::int64_t saved = 0;
    for (std::int64_t n = first; std::chrono::steady_clock::now() < deadline; ++n)
    {
        const HRESULT hr = clip.SaveVersion(n);
        std::string problem;
        if (hr == S_OK && !ReadSidecar(sidecar, problem))
            _exit(kTornAfterSave);
        if (hr != S_OK && hr != kSharingViolation)
        {
            Send(fd, static_cast<std::int64_t>(static_cast<unsigned>(hr)));
            _exit(kSaveFailed);
        }
        saved += hr == S_OK;
    }
    Send(fd, saved);
    _exit(0);
}

bool AnyRunning(std::vector<pid_t>& pids, std::vector<int>& statuses)
{
    bool running = false;
    for (std::size_t i = 0; i < pids.size(); ++i)
    {
        if (pids[i] > 0 && ::waitpid(pids[i], &statuses[i], WNOHANG) == pids[i])
            pids[i] = 0;
        running = running || pids[i] > 0;
    }
    return running;
}
} // namespace

TEST(CrashSafety, ProcessesSavingOneClipAtOnceNeverShowAReaderAPartOfAFile)
{
    TempDir dir;
    const std::string sidecar = dir / "a.mp4.quilclip";
    WriteFile(dir / "a.mp4", "media");
    const std::u16string media = dir.U16("a.mp4");
    SaveFirstVersions(media);

    const auto deadline = std::chrono::steady_clock::now() + kRaceTime;
    std::vector<pid_t> pids(kRacingWriters, 0);
    std::vector<int> statuses(kRacingWriters, 0), pipes(kRacingWriters, -1);
    for (int writer = 0; writer < kRacingWriters; ++writer)
    {
        int fds[2];
        ASSERT_EQ(::pipe(fds), 0);
        pids[writer] = ::fork();
        if (pids[writer] == 0)
        {
            ::close(fds[0]);
            RunRacingSaver(media, sidecar, (writer + 1) * kCountersPerChild, deadline, fds[1]);
        }
        ::close(fds[1]);
        pipes[writer] = fds[0];
        ASSERT_GT(pids[writer], 0);
    }

    // The reader: the file as it is, and now and then the clip through a library of its own.
    int reads = 0, torn = 0, loads = 0, emptyLoads = 0;
    std::string firstProblem;
    while (AnyRunning(pids, statuses))
    {
        std::string problem;
        ++reads;
        if (!ReadSidecar(sidecar, problem) && torn++ == 0)
            firstProblem = problem + "; " + Describe(sidecar);
        if (reads % 8 == 0)
        {
            OpenClip clip;
            ++loads;
            emptyLoads += FAILED(clip.Open(media)) || clip.item->get_Color().empty();
            clip.Close();
        }
    }

    std::int64_t saves = 0;
    for (int writer = 0; writer < kRacingWriters; ++writer)
    {
        std::int64_t report = -1;
        const bool reported = ::read(pipes[writer], &report, sizeof report) == static_cast<ssize_t>(sizeof report);
        ::close(pipes[writer]);
        EXPECT_TRUE(WIFEXITED(statuses[writer]) && WEXITSTATUS(statuses[writer]) == 0)
            << "writer " << writer << " ended with " << statuses[writer]
            << (reported ? ", reporting " + Hex(static_cast<HRESULT>(report)) : std::string());
        saves += reported ? report : 0;
    }
    std::cout << "[ race     ] " << kRacingWriters << " writers finished " << saves << " saves; " << reads
              << " reads, " << torn << " torn; " << loads << " loads, " << emptyLoads << " empty" << std::endl;
    EXPECT_EQ(torn, 0) << firstProblem;
    EXPECT_EQ(emptyLoads, 0);
    EXPECT_GT(saves, 0);
    std::string problem;
    EXPECT_TRUE(ReadSidecar(sidecar, problem)) << problem;
}

TEST(CrashSafety, ASaveKilledAtAnyMomentLeavesTheOldOrTheNewSidecarWhole)
{
    TempDir dir;
    const std::string sidecar = dir / "a.mp4.quilclip";
    WriteFile(dir / "a.mp4", "media");
    const std::u16string media = dir.U16("a.mp4");

    // Kills spread over about three saves, so that every step of a save is hit.
    const std::chrono::microseconds saveTime = SaveFirstVersions(media);
    const std::chrono::microseconds window = std::max(std::chrono::microseconds(2000), 3 * saveTime);
    SaveKiller killer(media, sidecar, 3, window);
    const int kills = KillCount();
    std::string failure;
    for (int round = 0; round < kills; ++round)
        if (!killer.Round(round, failure))
            break;
    ASSERT_EQ(failure, "");

    ::testing::Test::RecordProperty("kills", kills);
    std::cout << "[ crashes  ] " << kills << " kills within 0-" << window.count() << " us of the start of saving, "
              << killer.Saves() << " saves finished; the sidecar held the previous version " << killer.OlderVersions()
              << " times and a newer one " << killer.NewerVersions() << " times; " << killer.LeftTemp()
              << " kills left a .temp, " << killer.LeftBackup() << " a .backup" << std::endl;
    // Otherwise the kills missed the saves they were meant to interrupt.
    EXPECT_GT(killer.OlderVersions(), 0);
    EXPECT_GT(killer.NewerVersions(), 0);

    // The library reads the last version back, and a normal save clears what the kills left.
    if (!std::filesystem::exists(sidecar + ".temp"))
        WriteFile(sidecar + ".temp", "<LIBRARY_ITEM><VERS");
    OpenClip clip;
    ASSERT_EQ(clip.Open(media), S_OK);
    EXPECT_EQ(clip.item->get_Color(), Color(killer.OnDisk()));
    EXPECT_EQ(clip.SaveVersion(7), S_OK);
    clip.Close();
    std::string problem;
    EXPECT_EQ(ReadSidecar(sidecar, problem), std::optional<std::int64_t>(7)) << problem;
    EXPECT_FALSE(std::filesystem::exists(sidecar + ".temp"));
    EXPECT_FALSE(std::filesystem::exists(sidecar + ".backup"));
}
