// IUnknown and IServiceProvider, the roots of every interface.
#pragma once

#include "qm/Platform/Com/Guid.h"

struct IUnknown
{
    virtual HRESULT QueryInterface(REFIID riid, void** ppvObject) = 0;
    virtual ULONG AddRef() = 0;
    virtual ULONG Release() = 0;

protected:
    ~IUnknown() = default;
};
QM_DECLARE_IID(IUnknown, "{00000000-0000-0000-C000-000000000046}")

struct IServiceProvider : IUnknown
{
    virtual HRESULT QueryService(REFGUID guidService, REFIID riid, void** ppvObject) = 0;
};
QM_DECLARE_IID(IServiceProvider, "{6D5140C1-7436-11CE-8034-00AA006009FA}")
