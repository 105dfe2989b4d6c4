#include "Runtime/ManualResetEvent.h"

namespace Standard
{
HRESULT ManualResetEvent::Create()
{
    if (m_handle)
        return E_UNEXPECTED;
    m_handle = qm::SyncEvent::Create();
    return S_OK;
}

HRESULT ManualResetEvent::Set()
{
    if (!m_handle)
        return E_UNEXPECTED;
    m_handle->Set();
    return S_OK;
}

HRESULT ManualResetEvent::Reset()
{
    if (!m_handle)
        return E_UNEXPECTED;
    m_handle->Reset();
    return S_OK;
}

bool ManualResetEvent::Wait(DWORD milliseconds) const { return m_handle && m_handle->Wait(milliseconds); }
} // namespace Standard
