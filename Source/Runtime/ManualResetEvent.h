// One manual-reset event, not signalled when made.
#pragma once

#include "Platform/Kernel/SyncEvent.h"

#include "qm/Platform/Com/HResult.h"

namespace Standard
{
class ManualResetEvent
{
public:
    // E_UNEXPECTED when there is one already.
    HRESULT Create();
    void Close() noexcept { m_handle.reset(); }
    // E_UNEXPECTED without an event.
    HRESULT Set();
    HRESULT Reset();
    // False without an event; true only if it is signalled within the time.
    bool Wait(DWORD milliseconds) const;

    // The event itself, shared with a waiter that must not lose it to a Close.
    const std::shared_ptr<qm::SyncEvent>& Handle() const noexcept { return m_handle; }

private:
    std::shared_ptr<qm::SyncEvent> m_handle;
};
} // namespace Standard
