// Collects the library's reports at every level for the life of a scope.
#pragma once

#include "qm/Logging.h"

#include <limits>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace qmtest
{
class LogCapture
{
public:
    LogCapture() : m_level(qm_log::get_report_level(0))
    {
        qm_log::SetReportLevel(5);
        qm_log::SetReportSink(&Record, this);
    }
    ~LogCapture()
    {
        qm_log::SetReportSink(nullptr, nullptr);
        qm_log::SetReportLevel(m_level);
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // The number of reports of that level whose text contains the part.
    int Count(int level, const std::string& part) const
    {
        std::lock_guard lock(m_mutex);
        int count = 0;
        for (const auto& [reportLevel, text] : m_reports)
            count += reportLevel == level && text.find(part) != std::string::npos;
        return count;
    }

    // Whether a report of any level contains the part.
    bool Contains(const std::string& part) const
    {
        for (const std::string& text : Lines())
            if (text.find(part) != std::string::npos)
                return true;
        return false;
    }

    // The texts of the reports of that level or a more severe one (a lower number), in order.
    std::vector<std::string> Lines(int maxLevel = std::numeric_limits<int>::max()) const
    {
        std::lock_guard lock(m_mutex);
        std::vector<std::string> lines;
        for (const auto& [reportLevel, text] : m_reports)
            if (reportLevel <= maxLevel)
                lines.push_back(text);
        return lines;
    }

private:
    static void Record(int level, const char*, int, const char* text, void* context)
    {
        auto* self = static_cast<LogCapture*>(context);
        std::lock_guard lock(self->m_mutex);
        self->m_reports.emplace_back(level, text);
    }

    int m_level;
    mutable std::mutex m_mutex;
    std::vector<std::pair<int, std::string>> m_reports;
};
} // namespace qmtest
