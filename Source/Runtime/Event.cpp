#include "qm/Runtime/Event.h"

namespace MVVM
{
void Event::Subscribe(const Handler* handler, bool early)
{
    if (handler == nullptr || !*handler || !(early ? m_earlyHandlers : m_handlers).insert(handler).second)
        throw check_failed();
}

void Event::Unsubscribe(const Handler* handler)
{
    if (handler == nullptr)
        throw check_failed();
    m_earlyHandlers.erase(handler);
    m_handlers.erase(handler);
}

void Event::Fire(Object* sender)
{
    for (const Handler* handler : m_earlyHandlers)
        (*handler)(sender);
    for (const Handler* handler : m_handlers)
        (*handler)(sender);
}
} // namespace MVVM
