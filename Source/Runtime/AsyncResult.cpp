#include "Runtime/AsyncResult.h"

#include <new>

namespace Standard
{
namespace
{
template <class Interface>
Interface* Keep(Interface* object)
{
    if (object)
        object->AddRef();
    return object;
}

template <class Interface>
HRESULT HandOut(Interface* object, Interface** out)
{
    if (out == nullptr)
        return E_POINTER;
    *out = Keep(object);
    return S_OK;
}
} // namespace

AsyncResult::AsyncResult(IUnknown* object, IAsyncCallback* callback, IUnknown* state) noexcept
    : m_asyncObject(Keep(object)), m_callback(Keep(callback)), m_asyncState(Keep(state))
{
}

AsyncResult::~AsyncResult()
{
    // State, callback, object: the reverse of how the work came together.
    if (m_asyncState)
        m_asyncState->Release();
    if (m_callback)
        m_callback->Release();
    if (m_asyncObject)
        m_asyncObject->Release();
}

HRESULT AsyncResult::get_AsyncObject(IUnknown** ppObject) { return HandOut(m_asyncObject, ppObject); }

HRESULT AsyncResult::get_AsyncState(IUnknown** ppState) { return HandOut(m_asyncState, ppState); }

HRESULT AsyncResult::put_Status(HRESULT status)
{
    m_status.exchange(status);
    return S_OK;
}

HRESULT CreateAsyncResult(IUnknown* pObject, IAsyncCallback* pCallback, IUnknown* pState, IAsyncResult** ppResult)
{
    if (ppResult == nullptr)
        return E_POINTER;
    *ppResult = new (std::nothrow) AsyncResult(pObject, pCallback, pState);
    return *ppResult ? S_OK : E_OUTOFMEMORY;
}

HRESULT InvokeAsyncCallback(IUnknown* pResult)
{
    ComPtr<AsyncResult> result;
    if (pResult == nullptr ||
        FAILED(pResult->QueryInterface(AsyncResult::ClassId, reinterpret_cast<void**>(result.GetAddressOf()))))
        return E_NOINTERFACE;
    if (result->Callback() == nullptr)
        return E_UNEXPECTED;
    return result->Callback()->Invoke(result.Get());
}
} // namespace Standard
