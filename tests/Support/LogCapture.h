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

    struct Report
    {
        int level;
        std::string file;
        std::string text;
    };

    // The number of reports of that level whose text contains the part.
    int Count(int level, const std::string& part) const
    {
        std::lock_guard lock(m_mutex);
        int count = 0;
        for (const Report& report : m_reports)
            count += report.level == level && report.text.find(part) != std::string::npos;
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
        for (const Report& report : m_reports)
            if (report.level <= maxLevel)
                lines.push_back(report.text);
        return lines;
    }

    // Every report so far, in order.
    std::vector<Report> Reports() const
    {
        std::lock_guard lock(m_mutex);
        return m_reports;
    }

    void Clear()
    {
        std::lock_guard lock(m_mutex);
        m_reports.clear();
    }

private:
    static void Record(int level, const char* file, int, const char* text, void* context)
    {
        auto* self = static_cast<LogCapture*>(context);
        std::lock_guard lock(self->m_mutex);
        self->m_reports.push_back({level, file ? file : "", text});
    }

    int m_level;
    mutable std::mutex m_mutex;
    std::vector<Report> m_reports;
};
} // namespace qmtest
