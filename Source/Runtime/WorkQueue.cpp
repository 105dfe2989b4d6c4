#include "Runtime/WorkQueue.h"

#include "Runtime/AsyncResult.h"

namespace Standard
{
namespace
{
constexpr DWORD SyncEventInfinite = qm::SyncEvent::kInfinite;
}

WorkQueue::WorkQueue(const char* name, bool abortFrontOnStop) : Thread(name), m_abortFrontOnStop(abortFrontOnStop) {}

WorkQueue::~WorkQueue()
{
    // The owner has stopped the thread; what waits is released unrun.
    ScopedLock guard(m_lock);
    m_queue.clear();
    m_workEvent.Close();
}

HRESULT WorkQueue::Post(IAsyncCallback* pCallback, IUnknown* pState)
{
    ComPtr<IAsyncResult> item;
    for (;;)
    {
        if (!IsRunning())
        {
            {
                ScopedLock guard(m_lock);
                m_workEvent.Close();
                m_workEvent.Create();
                m_exiting = false;
            }
            HRESULT hr = Start();
            if (FAILED(hr))
                return hr;
        }
        if (!item && FAILED(CreateAsyncResult(nullptr, pCallback, pState, item.GetAddressOf())))
            return E_OUTOFMEMORY;
        {
            ScopedLock guard(m_lock);
            if (!m_exiting)
            {
                // The item stays queued even when the event cannot tell of it.
                m_queue.push_back(item);
                return m_workEvent.Set();
            }
        }
        // The worker is on its way out and would drop the item: let it end, then start
        // a new one.
        Stop(SyncEventInfinite);
    }
}

void WorkQueue::OnThreadStart()
{
    // Where a platform needs per-thread set-up for the XML layer, it goes here; the DOM
    // of this library needs none.
}

void WorkQueue::OnThreadExit(int)
{
    ScopedLock guard(m_lock);
    m_exiting = true;
    m_queue.clear();
}

HRESULT WorkQueue::PopFront(ComPtr<IAsyncResult>& item)
{
    ScopedLock guard(m_lock);
    if (m_queue.empty())
        return S_OK;
    item = std::move(m_queue.front());
    m_queue.pop_front();
    if (m_queue.empty())
        return m_workEvent.Reset();
    return S_OK;
}

int WorkQueue::Run()
{
    // Copies: a Stop from the owner may close the events while this thread still waits.
    const std::shared_ptr<qm::SyncEvent> events[2] = {GetStopEvent()->Handle(), m_workEvent.Handle()};
    for (;;)
    {
        const int signalled = qm::SyncEvent::WaitAny(events, 2, qm::SyncEvent::kInfinite);
        if (signalled == 0 || (events[0] && events[0]->IsSet()))
            return StopPath();
        ComPtr<IAsyncResult> item;
        HRESULT hr = PopFront(item);
        if (FAILED(hr))
            return hr;
        if (!item)
            continue;
        hr = InvokeAsyncCallback(item.Get());
        if (FAILED(hr))
            return hr;
    }
}

int WorkQueue::StopPath()
{
    if (!m_abortFrontOnStop)
        return 0;
    ScopedLock guard(m_lock);
    if (!m_queue.empty())
    {
        ComPtr<IAsyncResult> item = std::move(m_queue.front());
        m_queue.pop_front();
        HRESULT hr = item->put_Status(E_ABORT);
        if (SUCCEEDED(hr))
            hr = InvokeAsyncCallback(item.Get());
        if (FAILED(hr))
            return hr;
    }
    m_workEvent.Reset();
    return 0;
}
} // namespace Standard
