// The logging module: the report functions that the library calls (always with its
// module number, 0), and what a host sets: the level and where lines go.
//
// A report of level n is made only while get_report_level(module) is at least n:
// 1 errors, 2 warnings, 3 progress, 5 detail. The default level is 1.
// Texts of the report functions:
//   _report_condW0      prefix + condition            "QMCheckCondition: m_node != nullptr"
//   _report_errW0       prefix + code                 "QMCheckHRESULT: 0x80004005"
//   _report_err_condW0  prefix + condition + code     "CheckLastErrorCondition: ok, 0x80070002"
//   _reportW0, _reportW the message (printf form, %s takes a 16-bit string)
// The default sink writes one line per report to standard error:
//   2026-11-23T05:00:00.123Z 1 [thread name] Source/DataAccess/Library/LibraryItem.cpp:120: text
#pragma once

#include "qm/Export.h"

namespace qm_log
{
QM_API int get_report_level(unsigned module);
QM_API int _report_condW0(unsigned module, int level, const char* file, int line, const char16_t* condition,
                   const char16_t* prefix);
QM_API int _report_errW0(unsigned module, int level, const char* file, int line, long hr, const char16_t* prefix);
QM_API int _report_err_condW0(unsigned module, int level, const char* file, int line, long hr, const char16_t* condition,
                       const char16_t* prefix);
QM_API int _reportW0(unsigned module, int level, const char* file, int line, const char16_t* message);
QM_API int _reportW(unsigned module, int level, const char* file, int line, const char16_t* format, ...);
// Names a thread in the lines it reports; threadId is the one CurrentThreadId gives.
QM_API int set_thread_name(unsigned long threadId, const char* name);

// The host's side.
using ReportSink = void (*)(int level, const char* file, int line, const char* utf8Text, void* context);

// The level of every module, or of one.
QM_API void SetReportLevel(int level);
QM_API void SetReportLevel(unsigned module, int level);
// Where reports go; a null sink restores standard error. The sink may be called from any
// thread, and must not report itself.
QM_API void SetReportSink(ReportSink sink, void* context);
// The id of the calling thread, as set_thread_name takes it.
QM_API unsigned long CurrentThreadId();
} // namespace qm_log
