// The host's culture object: a locale name and an event fired when it changes.
#pragma once

#include "qm/Platform/Com/Unknown.h"
#include "qm/Runtime/PropertyEvent.h"

namespace Standard
{
struct ICultureInfo : IUnknown
{
    virtual wstring get_Name() = 0;
    // Fired with changed true when the name has changed.
    virtual MVVM::PropertyEvent<bool>& get_Changed() = 0;
};
QM_DECLARE_IID(ICultureInfo, "{6F0E1C3A-5B2D-4E8F-9A71-3C4D5E6F7A81}")
} // namespace Standard
