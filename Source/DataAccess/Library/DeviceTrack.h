// A small named track of a device that a notebook ties to its videos.
#pragma once

#include "qm/Library/Document.h"
#include "qm/Platform/Com/ObjectRoot.h"

namespace Quillmar::Library::Native
{
class DeviceTrack final : public Standard::CComObjectRootEx<Standard::CComMultiThreadModel>,
                    public IDeviceTrack,
                    public Standard::AllocatedResource<DeviceTrack>
{
public:
    QM_IUNKNOWN_IMPL(DeviceTrack, IDeviceTrack)

    HRESULT put_Name(const wstring& name) override
    {
        m_name = name;
        return S_OK;
    }
    wstring get_Name() override { return m_name; }

private:
    wstring m_name;
};
} // namespace Quillmar::Library::Native
