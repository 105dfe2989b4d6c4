#include "Runtime/Thread.h"

#include "qm/Logging.h"

#include <thread>


namespace Standard
{
struct Thread::Handle
{
    std::thread thread;
    std::shared_ptr<qm::SyncEvent> started = qm::SyncEvent::Create();
    std::shared_ptr<qm::SyncEvent> finished = qm::SyncEvent::Create();

    // Lets go of the thread: joined if it has ended, else left to end on its own.
    void Release()
    {
        if (!thread.joinable())
            return;
        if (finished->IsSet())
            thread.join();
        else
            thread.detach();
    }
};

Thread::Thread(const char* name) : m_name(name ? name : "") {}

Thread::~Thread()
{
    CloseThreadHandle();
    m_stopEvent.Close();
}

HRESULT Thread::Start()
{
    if (IsRunning())
        return E_UNEXPECTED;
    CloseThreadHandle();
    HRESULT hr = m_stopEvent.Handle() ? m_stopEvent.Reset() : m_stopEvent.Create();
    if (FAILED(hr))
        return hr;
    auto handle = std::make_shared<Handle>();
    try
    {
        handle->thread = std::thread([this, handle] { Procedure(handle); });
    }
    catch (const std::system_error& error)
    {
        return HRESULT_FROM_WIN32(static_cast<long>(error.code().value() == EAGAIN ? ERROR_NOT_ENOUGH_MEMORY
                                                                                   : ERROR_INVALID_DATA));
    }
    // The identifier is the new thread's own, known once it runs.
    handle->started->Wait(qm::SyncEvent::kInfinite);
    m_thread = handle;
    return S_OK;
}

void Thread::Procedure(const std::shared_ptr<Handle>& handle)
{
    const unsigned long id = qm_log::CurrentThreadId();
    m_threadId = static_cast<DWORD>(id);
    handle->started->Set();
    qm_log::set_thread_name(id, m_name.c_str());
    OnThreadStart();
    const int result = Run();
    OnThreadExit(result);
    handle->finished->Set();
}

HRESULT Thread::Stop(DWORD timeoutMs)
{
    HRESULT hr = S_OK;
    if (IsRunning())
    {
        m_stopEvent.Set();
        if (!m_thread->finished->Wait(timeoutMs))
            hr = HRESULT_FROM_WIN32(ERROR_TIMEOUT);
    }
    CloseThreadHandle();
    m_stopEvent.Close();
    return hr;
}

void Thread::RequestStop()
{
    if (m_stopEvent.Handle())
        m_stopEvent.Set();
}

void Thread::CloseThreadHandle()
{
    if (m_thread)
        m_thread->Release();
    m_thread.reset();
    m_threadId = 0;
}

bool Thread::IsRunning() const { return m_thread && !m_thread->finished->IsSet(); }

bool Thread::IsCurrentThread() const { return m_threadId == static_cast<DWORD>(qm_log::CurrentThreadId()); }

bool Thread::IsStopRequested() const { return m_stopEvent.Handle() && m_stopEvent.Handle()->IsSet(); }
} // namespace Standard
