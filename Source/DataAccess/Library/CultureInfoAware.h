// A base that follows the host's culture: it keeps the culture, listens to its change
// event, and applies a new name once. There are no satellite resource modules on this
// platform, so applying a name is remembering it.
#pragma once

#include "qm/Library/Culture.h"
#include "qm/Platform/Com/ComPtr.h"

#include <mutex>

namespace Standard
{
template <class T, int Id>
class CultureInfoAware
{
public:
    CultureInfoAware() = default;
    CultureInfoAware(const CultureInfoAware&) = delete;
    CultureInfoAware& operator=(const CultureInfoAware&) = delete;
    ~CultureInfoAware() { SetCulture(nullptr); }

    void SetCulture(ICultureInfo* culture)
    {
        if (m_culture)
            m_culture->get_Changed().Unsubscribe(&m_handler);
        m_culture = culture;
        if (!m_culture)
            return;
        m_culture->get_Changed().Subscribe(&m_handler, false);
        Apply();
    }

    // The name applied last; empty before any culture was set.
    wstring AppliedCultureName() const
    {
        std::lock_guard lock(m_mutex);
        return m_applied;
    }

private:
    void Apply()
    {
        const wstring name = m_culture ? m_culture->get_Name() : wstring();
        std::lock_guard lock(m_mutex);
        if (name != m_applied)
            m_applied = name;
    }

    ComPtr<ICultureInfo> m_culture;
    typename MVVM::PropertyEvent<bool>::Handler m_handler = [this](Object*, bool changed) {
        if (changed)
            Apply();
    };
    mutable std::mutex m_mutex;
    wstring m_applied;
};
} // namespace Standard
