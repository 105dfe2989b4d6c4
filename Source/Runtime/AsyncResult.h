// The result of one asynchronous operation or queue item.
#pragma once

#include "qm/Platform/Com/ObjectRoot.h"
#include "qm/Runtime/Async.h"

namespace Standard
{
class AsyncResult final : public CComObjectRootEx<CComMultiThreadModel>,
                          public IAsyncResult,
                          private AllocatedResource<AsyncResult>
{
public:
    static constexpr CLSID ClassId = qm::ParseGuid("{700EE874-6061-4FFD-9DD0-FF28A0269070}");

    AsyncResult(IUnknown* object, IAsyncCallback* callback, IUnknown* state) noexcept;
    ~AsyncResult();

    QM_IUNKNOWN_IMPL(AsyncResult, IAsyncResult, qm::QISelf<AsyncResult>)

    HRESULT get_AsyncObject(IUnknown** ppObject) override;
    HRESULT get_AsyncState(IUnknown** ppState) override;
    IUnknown* PeekAsyncState() override { return m_asyncState; }
    HRESULT get_Status() override { return m_status.load(); }
    HRESULT put_Status(HRESULT status) override;

    IAsyncCallback* Callback() const noexcept { return m_callback; }

private:
    IUnknown* m_asyncObject;
    IAsyncCallback* m_callback;
    IUnknown* m_asyncState;
    std::atomic<HRESULT> m_status{S_OK};
};
} // namespace Standard
