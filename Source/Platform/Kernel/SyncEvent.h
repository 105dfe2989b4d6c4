// Manual-reset events that can be waited on together. Every event shares one lock and
// one condition, so a wait on several of them sees each Set without races; events are
// few in this system and rarely set, so the sharing costs nothing that matters.
#pragma once

#include "qm/Platform/Types.h"

#include <memory>

namespace qm
{
class SyncEvent
{
public:
    static constexpr DWORD kInfinite = 0xFFFFFFFF;
    static constexpr int kTimeout = -1;

    // A new event, not signalled.
    static std::shared_ptr<SyncEvent> Create();

    void Set();
    void Reset();
    bool IsSet() const;
    // True when the event is signalled within the time.
    bool Wait(DWORD milliseconds) const;

    // The index of a signalled event, the lowest when several are, or kTimeout.
    static int WaitAny(const std::shared_ptr<SyncEvent>* events, std::size_t count, DWORD milliseconds);

private:
    bool m_signalled = false;
};
} // namespace qm
