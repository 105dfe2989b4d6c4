// A synchronous multicast event without payload. Unlike PropertyEvent it walks its sets
// as they are: a handler must not change the subscriptions of the event it runs for.
#pragma once

#include "qm/Runtime/CheckFailed.h"
#include "qm/Runtime/Object.h"

#include <functional>
#include <set>

namespace MVVM
{
class QM_API Event
{
public:
    using Handler = std::function<void(Object* sender)>;

    virtual ~Event() = default;

    // Throws check_failed for a null handler, one without a target, and one already in
    // the chosen set.
    virtual void Subscribe(const Handler* handler, bool early);
    virtual void Unsubscribe(const Handler* handler);

    void Fire(Object* sender);

private:
    std::set<const Handler*> m_handlers;
    std::set<const Handler*> m_earlyHandlers;
};
} // namespace MVVM
