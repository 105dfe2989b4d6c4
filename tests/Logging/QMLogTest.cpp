// The check macros and the logging module, through a sink that records what it gets.
#include "Logging/QMLog.h"

#include <gtest/gtest.h>

#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace
{
struct Report
{
    int level;
    std::string file;
    int line;
    std::string text;
};

class RecordingSink : public testing::Test
{
protected:
    RecordingSink() { qm_log::SetReportSink(&Record, this); }
    ~RecordingSink() override
    {
        qm_log::SetReportSink(nullptr, nullptr);
        qm_log::SetReportLevel(1);
    }

    static void Record(int level, const char* file, int line, const char* text, void* context)
    {
        auto* self = static_cast<RecordingSink*>(context);
        std::lock_guard guard(self->m_lock);
        self->m_reports.push_back({level, file, line, text});
    }

    std::vector<Report> Reports()
    {
        std::lock_guard guard(m_lock);
        return m_reports;
    }

    std::mutex m_lock;
    std::vector<Report> m_reports;
};

HRESULT CheckPointer(const int* pVal)
{
    QMCheckCondition(pVal != nullptr, E_POINTER);
    return S_OK;
}

int g_conditionLine = __LINE__ + 3;
HRESULT CheckSucceeded(HRESULT hr)
{
    QMCheckCondition(SUCCEEDED(hr), E_UNEXPECTED);
    return S_OK;
}

HRESULT CheckTrue(VARIANT_BOOL value)
{
    QMCheckCondition(value == VARIANT_TRUE, E_INVALIDARG);
    return S_OK;
}

int g_steps = 0;
HRESULT Step(HRESULT hr)
{
    ++g_steps;
    return hr;
}

HRESULT TwoSteps(HRESULT first, HRESULT second)
{
    QMCheckHRESULT(Step(first));
    QMCheckHRESULT(Step(second));
    return S_OK;
}

HRESULT PlatformCall(bool ok, DWORD error)
{
    SetLastError(error);
    CheckLastErrorCondition(ok);
    return S_OK;
}
} // namespace

TEST_F(RecordingSink, ConditionsAreLoggedAsWrittenAfterExpansion)
{
    EXPECT_EQ(S_OK, CheckPointer(&g_steps));
    EXPECT_TRUE(Reports().empty());
    EXPECT_EQ(E_POINTER, CheckPointer(nullptr));
    EXPECT_EQ(E_UNEXPECTED, CheckSucceeded(E_FAIL));
    EXPECT_EQ(E_INVALIDARG, CheckTrue(VARIANT_FALSE));
    const auto reports = Reports();
    ASSERT_EQ(3u, reports.size());
    EXPECT_EQ("QMCheckCondition: pVal != nullptr", reports[0].text);
    EXPECT_EQ("QMCheckCondition: (((HRESULT)(hr)) >= 0)", reports[1].text);
    EXPECT_EQ("QMCheckCondition: value == ((VARIANT_BOOL)-1)", reports[2].text);
    EXPECT_EQ("tests/Logging/QMLogTest.cpp", reports[1].file);
    EXPECT_EQ(g_conditionLine, reports[1].line);
    EXPECT_EQ(1, reports[1].level);
}

TEST_F(RecordingSink, FailedStepsStopAndAreLoggedWithTheirCode)
{
    g_steps = 0;
    EXPECT_EQ(E_ACCESSDENIED, TwoSteps(E_ACCESSDENIED, S_OK));
    EXPECT_EQ(1, g_steps); // the second step never ran
    EXPECT_EQ(S_OK, TwoSteps(S_FALSE, S_OK));
    EXPECT_EQ(3, g_steps);
    EXPECT_EQ(E_FAIL, QMLogHRESULT(E_FAIL));
    EXPECT_EQ(S_FALSE, QMLogHRESULT(S_FALSE));
    const auto reports = Reports();
    ASSERT_EQ(2u, reports.size());
    EXPECT_EQ("QMCheckHRESULT: 0x80070005", reports[0].text);
    EXPECT_EQ("QMLogHRESULT: 0x80004005", reports[1].text);
}

TEST_F(RecordingSink, LastErrorConditionReturnsTheConvertedCode)
{
    EXPECT_EQ(S_OK, PlatformCall(true, ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND), PlatformCall(false, ERROR_FILE_NOT_FOUND));
    // No last error: the call still failed.
    EXPECT_EQ(E_FAIL, PlatformCall(false, 0));
    const auto reports = Reports();
    ASSERT_EQ(2u, reports.size());
    EXPECT_EQ("CheckLastErrorCondition: ok, 0x80070002", reports[0].text);
    EXPECT_EQ("CheckLastErrorCondition: ok, 0x00000000", reports[1].text);
}

TEST_F(RecordingSink, LevelIsAskedBeforeTheMessageIsBuilt)
{
    int built = 0;
    auto expensive = [&built] {
        ++built;
        return u"value";
    };
    QMLog(3, u"progress %s %d", expensive(), 7);
    EXPECT_EQ(0, built);
    EXPECT_TRUE(Reports().empty());
    qm_log::SetReportLevel(3);
    QMLog(3, u"progress %s %d", expensive(), 7);
    QMLogMessage(5, u"detail");
    EXPECT_EQ(1, built);
    qm_log::SetReportLevel(0, 5);
    QMLogMessage(5, u"detail");
    const auto reports = Reports();
    ASSERT_EQ(2u, reports.size());
    EXPECT_EQ("progress value 7", reports[0].text);
    EXPECT_EQ(3, reports[0].level);
    EXPECT_EQ("detail", reports[1].text);
    // Other modules keep the level of all.
    EXPECT_EQ(3, qm_log::get_report_level(1));
}

TEST_F(RecordingSink, ReportsFromManyThreads)
{
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t)
        threads.emplace_back([t] {
            qm_log::set_thread_name(qm_log::CurrentThreadId(), ("worker " + std::to_string(t)).c_str());
            for (int i = 0; i < 100; ++i)
                QMLog(1, u"thread %d report %d", t, i);
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(800u, Reports().size());
}

TEST(DefaultSink, WritesOneLineWithTimeLevelThreadFileAndText)
{
    qm_log::set_thread_name(qm_log::CurrentThreadId(), "main");
    testing::internal::CaptureStderr();
    QMLog(1, u"hello %s", u"\u00e9");
    const std::string line = testing::internal::GetCapturedStderr();
    qm_log::set_thread_name(qm_log::CurrentThreadId(), nullptr);
    EXPECT_NE(std::string::npos, line.find("Z 1 [main] tests/Logging/QMLogTest.cpp:")) << line;
    EXPECT_NE(std::string::npos, line.find(": hello \xC3\xA9\n")) << line;
    EXPECT_EQ('-', line[4]);
}
