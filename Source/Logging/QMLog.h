// The check and log macros of the library's code. Each reports through the logging
// module with module number 0 and the file and line of the call, and asks the level
// before it builds anything. A condition is logged as its text after macro expansion,
// so QMCheckCondition(SUCCEEDED(hr), ...) logs "(((HRESULT)(hr)) >= 0)".
#pragma once

#include "Platform/Com/LastError.h"
#include "qm/Logging.h"
#include "qm/Platform/Com/HResult.h"

#define QM_WIDE_TEXT_(text) u"" #text
#define QM_WIDE_TEXT(text) QM_WIDE_TEXT_(text)

namespace qm::log
{
constexpr unsigned kModule = 0;

inline bool Enabled(int level) { return ::qm_log::get_report_level(kModule) >= level; }

inline HRESULT ReportFailure(const char* file, int line, HRESULT hr, const char16_t* prefix)
{
    if (Enabled(1))
        ::qm_log::_report_errW0(kModule, 1, file, line, hr, prefix);
    return hr;
}

// QMLogHRESULT: logs a failure and gives the result on.
inline HRESULT LogFailure(HRESULT hr, const char* file, int line)
{
    return FAILED(hr) ? ReportFailure(file, line, hr, u"QMLogHRESULT: ") : hr;
}

// CheckLastErrorCondition: the converted last error is logged, and returned when it is a
// failure; E_FAIL otherwise.
inline HRESULT LastErrorFailure(const char* file, int line, const char16_t* condition)
{
    const HRESULT hr = HRESULT_FROM_WIN32(static_cast<long>(static_cast<LONG>(GetLastError())));
    if (Enabled(1))
        ::qm_log::_report_err_condW0(kModule, 1, file, line, hr, condition, u"CheckLastErrorCondition: ");
    return FAILED(hr) ? hr : E_FAIL;
}
// QMCheckCondition's report for a condition that a table names at run time; gives hr on.
inline HRESULT ConditionFailure(const char* file, int line, const char16_t* condition, HRESULT hr)
{
    if (Enabled(1))
        ::qm_log::_report_condW0(kModule, 1, file, line, condition, u"QMCheckCondition: ");
    return hr;
}
} // namespace qm::log

// Argument and state checks: logs the condition and returns hr when it is false.
#define QMCheckCondition(cond, hr)                                                                   \
    do                                                                                               \
    {                                                                                                \
        if (!(cond))                                                                                 \
        {                                                                                            \
            if (::qm::log::Enabled(1))                                                               \
                ::qm_log::_report_condW0(::qm::log::kModule, 1, __FILE__, __LINE__, QM_WIDE_TEXT(cond), \
                                         u"QMCheckCondition: ");                                     \
            return (hr);                                                                             \
        }                                                                                            \
    } while (0)

// The same report for a check that must not end the operation; gives the condition.
#define QMReportCondition(cond)                                                                      \
    ((cond) ? true                                                                                   \
            : (::qm::log::Enabled(1) ? (void)::qm_log::_report_condW0(::qm::log::kModule, 1, __FILE__, __LINE__, \
                                                                 QM_WIDE_TEXT(cond), u"QMCheckCondition: ") \
                                     : void(),                                                       \
               false))

// A failed step: logs it and returns its result.
#define QMCheckHRESULT(expr)                                                                         \
    do                                                                                               \
    {                                                                                                \
        const HRESULT qmCheckedResult_ = (expr);                                                     \
        if (FAILED(qmCheckedResult_))                                                                \
            return ::qm::log::ReportFailure(__FILE__, __LINE__, qmCheckedResult_, u"QMCheckHRESULT: "); \
    } while (0)

// A failure that must not stop the operation: logged, and the result given on.
#define QMLogHRESULT(expr) ::qm::log::LogFailure((expr), __FILE__, __LINE__)

// A platform call that returned false: returns the converted last error (E_FAIL if that
// is no failure).
#define CheckLastErrorCondition(cond)                                                                \
    do                                                                                               \
    {                                                                                                \
        if (!(cond))                                                                                 \
            return ::qm::log::LastErrorFailure(__FILE__, __LINE__, QM_WIDE_TEXT(cond));              \
    } while (0)

// A formatted message at a level; neither text nor arguments are built below it.
#define QMLog(level, format, ...)                                                                    \
    do                                                                                               \
    {                                                                                                \
        if (::qm::log::Enabled(level))                                                               \
            ::qm_log::_reportW(::qm::log::kModule, (level), __FILE__, __LINE__, (format), ##__VA_ARGS__); \
    } while (0)

// A fixed message at a level.
#define QMLogMessage(level, message)                                                                 \
    do                                                                                               \
    {                                                                                                \
        if (::qm::log::Enabled(level))                                                               \
            ::qm_log::_reportW0(::qm::log::kModule, (level), __FILE__, __LINE__, (message));         \
    } while (0)
