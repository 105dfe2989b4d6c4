// A named worker thread that runs Run() between OnThreadStart() and OnThreadExit(), and
// can be asked to stop through its stop event.
#pragma once

#include "Runtime/ManualResetEvent.h"

#include <atomic>
#include <memory>
#include <string>

namespace Standard
{
class Thread
{
public:
    explicit Thread(const char* name);
    virtual ~Thread();
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    // E_UNEXPECTED while the thread runs.
    HRESULT Start();
    // Signals the stop, waits up to timeoutMs (0xFFFFFFFF: no limit) and lets the thread
    // go: HRESULT_FROM_WIN32(ERROR_TIMEOUT) when it did not end in time.
    HRESULT Stop(DWORD timeoutMs);
    void RequestStop();
    void CloseThreadHandle();
    bool IsRunning() const;
    bool IsCurrentThread() const;
    bool IsStopRequested() const;
    ManualResetEvent* GetStopEvent() { return &m_stopEvent; }

protected:
    virtual void OnThreadStart() {}
    virtual void OnThreadExit(int) {}
    virtual int Run() { return 0; }

private:
    // What the thread and its owner share: the thread, and whether it has ended.
    struct Handle;

    void Procedure(const std::shared_ptr<Handle>& handle);

    ManualResetEvent m_stopEvent;
    std::atomic<DWORD> m_threadId{0};
    std::shared_ptr<Handle> m_thread;
    std::string m_name;
};
} // namespace Standard
