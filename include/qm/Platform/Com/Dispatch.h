// IDispatch: documents travel in variants as VT_DISPATCH. Nothing in this system is
// called by name, so its operations answer E_NOTIMPL.
#pragma once

#include "qm/Platform/Com/Unknown.h"

struct VARIANT;

struct IDispatch : IUnknown
{
    virtual HRESULT GetTypeInfoCount(UINT* count) = 0;
    virtual HRESULT GetTypeInfo(UINT index, LCID lcid, void** typeInfo) = 0;
    virtual HRESULT GetIDsOfNames(REFIID riid, LPOLESTR* names, UINT count, LCID lcid, LONG* dispIds) = 0;
    virtual HRESULT Invoke(LONG dispId, REFIID riid, LCID lcid, WORD flags, void* params, VARIANT* result,
                           void* exceptionInfo, UINT* argumentError) = 0;
};
QM_DECLARE_IID(IDispatch, "{00020400-0000-0000-C000-000000000046}")

namespace qm
{
// Derive from DispatchNotImplemented<Interface> instead of Interface to answer the four
// operations of IDispatch with E_NOTIMPL.
template <class Interface>
struct DispatchNotImplemented : Interface
{
    HRESULT GetTypeInfoCount(UINT* count) override
    {
        if (count)
            *count = 0;
        return E_NOTIMPL;
    }
    HRESULT GetTypeInfo(UINT, LCID, void** typeInfo) override
    {
        if (typeInfo)
            *typeInfo = nullptr;
        return E_NOTIMPL;
    }
    HRESULT GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, LONG*) override { return E_NOTIMPL; }
    HRESULT Invoke(LONG, REFIID, LCID, WORD, void*, VARIANT*, void*, UINT*) override { return E_NOTIMPL; }
};
} // namespace qm
