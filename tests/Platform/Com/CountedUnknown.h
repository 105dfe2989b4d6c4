// A stack object that counts its references and answers IUnknown and IDispatch, so that
// tests can see what holders add and release.
#pragma once

#include "qm/Platform/Com/Dispatch.h"

namespace qmtest
{
struct CountedUnknown : qm::DispatchNotImplemented<IDispatch>
{
    HRESULT QueryInterface(REFIID riid, void** ppv) override
    {
        if (ppv == nullptr)
            return E_POINTER;
        *ppv = riid == IID_IUnknown || (riid == IID_IDispatch && dispatch) ? this : nullptr;
        if (*ppv == nullptr)
            return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    ULONG AddRef() override { return ++count; }
    ULONG Release() override { return --count; }

    ULONG count = 1;
    bool dispatch = true;
};
} // namespace qmtest
