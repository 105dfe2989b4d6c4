// One worker thread running posted items one at a time, in the order posted. The thread
// starts on the first Post; a stop drops the items that wait without running them.
#pragma once

#include "Runtime/Thread.h"

#include "qm/Platform/Com/ComPtr.h"
#include "qm/Runtime/Async.h"
#include "qm/Runtime/CriticalSection.h"

#include <deque>

namespace Standard
{
class WorkQueue : public Thread
{
public:
    // abortFrontOnStop: a stop completes the front item with E_ABORT.
    WorkQueue(const char* name, bool abortFrontOnStop);
    ~WorkQueue() override;

    // Queues a call of pCallback with pState, starting the thread if it is not running.
    HRESULT Post(IAsyncCallback* pCallback, IUnknown* pState);

protected:
    void OnThreadStart() override;
    void OnThreadExit(int exitCode) override;
    int Run() override;

private:
    // The front item, or null when the queue is empty; resets the work event as it
    // empties the queue.
    HRESULT PopFront(ComPtr<IAsyncResult>& item);
    int StopPath();

    std::deque<ComPtr<IAsyncResult>> m_queue;
    CriticalSection m_lock;
    ManualResetEvent m_workEvent;
    bool m_abortFrontOnStop;
    // Set as the worker ends: a Post then waits for it and starts a new one.
    bool m_exiting = false;
};
} // namespace Standard
