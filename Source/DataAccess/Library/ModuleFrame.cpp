#include "DataAccess/Library/ModuleFrame.h"

namespace Quillmar::Library::Native
{
ModuleFrame::~ModuleFrame() { SetVideoAccelerationServiceProvider(nullptr); }

void ModuleFrame::SetVideoAccelerationServiceProvider(IServiceProvider* provider) noexcept
{
    if (provider == m_videoAccelerationServiceProvider)
        return;
    // The new reference first: releasing the old one may run code that reads the slot.
    if (provider)
        provider->AddRef();
    IServiceProvider* previous = m_videoAccelerationServiceProvider;
    m_videoAccelerationServiceProvider = provider;
    if (previous)
        previous->Release();
}
} // namespace Quillmar::Library::Native
