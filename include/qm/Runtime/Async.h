// The two interfaces of every asynchronous operation: its result, and the callback that
// is told when it completes.
#pragma once

#include "qm/Platform/Com/Unknown.h"

#include <atomic>

namespace Standard
{
struct IAsyncResult;

struct IAsyncCallback : IUnknown
{
    virtual HRESULT Invoke(IAsyncResult* pResult) = 0;
};
QM_DECLARE_IID(IAsyncCallback, "{758D3BC5-2A01-4026-B267-6D06FDA2FAB8}")

struct IAsyncResult : IUnknown
{
    // The object doing the work, with a reference (null for a queue item, S_OK).
    virtual HRESULT get_AsyncObject(IUnknown** ppObject) = 0;
    // The caller's state, with a reference.
    virtual HRESULT get_AsyncState(IUnknown** ppState) = 0;
    // The state without a reference.
    virtual IUnknown* PeekAsyncState() = 0;
    virtual HRESULT get_Status() = 0;
    // Set with an atomic exchange; always S_OK.
    virtual HRESULT put_Status(HRESULT status) = 0;
};
QM_DECLARE_IID(IAsyncResult, "{D08D69DE-FDE7-4599-95C8-1DCCAB295FD1}")

// A new result with count 1; each non-null argument gets a reference.
QM_API HRESULT CreateAsyncResult(IUnknown* pObject, IAsyncCallback* pCallback, IUnknown* pState, IAsyncResult** ppResult);
// Calls the callback of a result made by CreateAsyncResult: E_NOINTERFACE for anything
// else, E_UNEXPECTED without a callback, else what the callback returns. Whoever
// completes work sets the status first.
QM_API HRESULT InvokeAsyncCallback(IUnknown* pResult);

// Binds a member function HRESULT T::method(IAsyncResult*) as a callback. It is a data
// member of its owner: its count of 1 is the owner's, and it dies with the owner.
template <class T>
class CAsyncCallback : public IAsyncCallback
{
public:
    using Method = HRESULT (T::*)(IAsyncResult*);

    CAsyncCallback(T* owner, Method method) noexcept : m_owner(owner), m_method(method) {}
    CAsyncCallback(const CAsyncCallback&) = delete;
    CAsyncCallback& operator=(const CAsyncCallback&) = delete;

    HRESULT QueryInterface(REFIID riid, void** ppv) override
    {
        if (ppv == nullptr)
            return E_POINTER;
        *ppv = (riid == IID_IUnknown || riid == IID_IAsyncCallback) ? static_cast<IAsyncCallback*>(this) : nullptr;
        if (*ppv == nullptr)
            return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    ULONG AddRef() override { return static_cast<ULONG>(++m_refCount); }
    // Never destroys: the owner does.
    ULONG Release() override { return static_cast<ULONG>(--m_refCount); }

    HRESULT Invoke(IAsyncResult* pResult) override { return (m_owner->*m_method)(pResult); }

    virtual ~CAsyncCallback() = default;
    // A slot of the callback that nothing calls.
    virtual HRESULT Reserved() { return E_NOTIMPL; }

private:
    std::atomic<LONG> m_refCount{1};
    T* m_owner;
    Method m_method;
};
} // namespace Standard
