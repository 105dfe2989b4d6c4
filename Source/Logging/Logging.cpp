// The logging module. Levels are read without a lock on every report; the sink and the
// thread names sit behind their own locks.
#include "qm/Logging.h"

#include "Platform/Text/Format.h"
#include "qm/Platform/Text/Utf8Conversion.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <map>
#include <mutex>
#include <string>
#include <unistd.h>

namespace qm_log
{
namespace
{
constexpr unsigned kModules = 64;
constexpr int kUnset = -1;

std::atomic<int> g_defaultLevel{1};
// The level of each module, kUnset where the default holds.
struct ModuleLevels
{
    ModuleLevels()
    {
        for (auto& level : values)
            level.store(kUnset);
    }
    std::atomic<int> values[kModules];
} g_levels;

std::mutex g_sinkLock;
ReportSink g_sink = nullptr;
void* g_sinkContext = nullptr;

std::mutex g_namesLock;
std::map<unsigned long, std::string> g_threadNames;

std::string ThreadName()
{
    const unsigned long id = CurrentThreadId();
    std::lock_guard guard(g_namesLock);
    auto found = g_threadNames.find(id);
    return found != g_threadNames.end() ? found->second : std::to_string(id);
}

std::string Utf8(const std::u16string& text)
{
    std::string out;
    // A text with an unpaired surrogate is still worth a line.
    if (FAILED(qm::ToUtf8(text, out)))
        out = "(text that is not valid UTF-16)";
    return out;
}

void WriteToStandardError(int level, const char* file, int line, const char* text)
{
    struct timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    std::tm utc{};
    gmtime_r(&now.tv_sec, &utc);
    char stamp[64];
    std::snprintf(stamp, sizeof(stamp), "%04d-%02d-%02dT%02d:%02d:%02d.%03ldZ", utc.tm_year + 1900, utc.tm_mon + 1,
                  utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec, now.tv_nsec / 1000000);
    std::string entry = std::string(stamp) + " " + std::to_string(level) + " [" + ThreadName() + "] " +
                        (file ? file : "?") + ":" + std::to_string(line) + ": " + text + "\n";
    // One write per line, so that lines of several threads do not mix.
    ssize_t written = ::write(STDERR_FILENO, entry.data(), entry.size());
    (void)written;
}

int Emit(int level, const char* file, int line, const std::u16string& text)
{
    ReportSink sink;
    void* context;
    {
        std::lock_guard guard(g_sinkLock);
        sink = g_sink;
        context = g_sinkContext;
    }
    const std::string utf8 = Utf8(text);
    if (sink)
        sink(level, file, line, utf8.c_str(), context);
    else
        WriteToStandardError(level, file, line, utf8.c_str());
    return 0;
}

std::u16string Code(long hr) { return qm::FormatW(u"0x%08x", static_cast<unsigned>(hr)); }

std::u16string Text(const char16_t* text) { return text ? std::u16string(text) : std::u16string(); }
} // namespace

int get_report_level(unsigned module)
{
    const int level = module < kModules ? g_levels.values[module].load(std::memory_order_relaxed) : kUnset;
    return level == kUnset ? g_defaultLevel.load(std::memory_order_relaxed) : level;
}

int _report_condW0(unsigned, int level, const char* file, int line, const char16_t* condition, const char16_t* prefix)
{
    return Emit(level, file, line, Text(prefix) + Text(condition));
}

int _report_errW0(unsigned, int level, const char* file, int line, long hr, const char16_t* prefix)
{
    return Emit(level, file, line, Text(prefix) + Code(hr));
}

int _report_err_condW0(unsigned, int level, const char* file, int line, long hr, const char16_t* condition,
                       const char16_t* prefix)
{
    return Emit(level, file, line, Text(prefix) + Text(condition) + u", " + Code(hr));
}

int _reportW0(unsigned, int level, const char* file, int line, const char16_t* message)
{
    return Emit(level, file, line, Text(message));
}

int _reportW(unsigned, int level, const char* file, int line, const char16_t* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    std::u16string text = qm::VFormatW(format, arguments);
    va_end(arguments);
    return Emit(level, file, line, text);
}

int set_thread_name(unsigned long threadId, const char* name)
{
    std::lock_guard guard(g_namesLock);
    if (name)
        g_threadNames[threadId] = name;
    else
        g_threadNames.erase(threadId);
    return 0;
}

void SetReportLevel(int level)
{
    g_defaultLevel.store(level);
    for (auto& each : g_levels.values)
        each.store(kUnset);
}

void SetReportLevel(unsigned module, int level)
{
    if (module < kModules)
        g_levels.values[module].store(level);
}

void SetReportSink(ReportSink sink, void* context)
{
    std::lock_guard guard(g_sinkLock);
    g_sink = sink;
    g_sinkContext = context;
}

unsigned long CurrentThreadId() { return static_cast<unsigned long>(::gettid()); }
} // namespace qm_log
