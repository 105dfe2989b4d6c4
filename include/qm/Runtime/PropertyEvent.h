// A synchronous multicast event with a payload. The event keeps only the addresses of
// its handlers; a subscriber keeps its handler alive, at that address, until it has
// unsubscribed it. Handlers run in address order: the early ones, then the others.
#pragma once

#include "qm/Runtime/CheckFailed.h"
#include "qm/Runtime/Object.h"

#include <functional>
#include <set>

namespace MVVM
{
template <class... Args>
class PropertyEvent
{
public:
    using Handler = std::function<void(Object* sender, Args... args)>;

    virtual ~PropertyEvent() = default;

    // Throws check_failed for a null handler and for one already in the chosen set.
    virtual void Subscribe(const Handler* handler, bool early)
    {
        if (handler == nullptr || !(early ? m_earlyHandlers : m_handlers).insert(handler).second)
            throw check_failed();
    }
    // Removes the handler from both sets; one in neither is no failure.
    virtual void Unsubscribe(const Handler* handler)
    {
        if (handler == nullptr)
            throw check_failed();
        m_earlyHandlers.erase(handler);
        m_handlers.erase(handler);
    }

    // Each set is copied before it is walked, so handlers may subscribe and unsubscribe
    // while it runs; an exception from a handler ends the fire.
    void Fire(Object* sender, Args... args)
    {
        Run(m_earlyHandlers, sender, args...);
        Run(m_handlers, sender, args...);
    }

private:
    using Handlers = std::set<const Handler*>;

    static void Run(const Handlers& handlers, Object* sender, Args&... args)
    {
        if (handlers.empty())
            return;
        const Handlers copy = handlers;
        for (const Handler* handler : copy)
            (*handler)(sender, args...);
    }

    Handlers m_handlers;
    Handlers m_earlyHandlers;
};
} // namespace MVVM
