// One scan of a repository: what the host gave to BeginUpdate, the folders at the start,
// and what the scan found. The scan works on it alone, never on the repository's lists.
#pragma once

#include "qm/Library/LibraryItem.h"
#include "qm/Platform/Com/ComPtr.h"
#include "qm/Platform/Com/ObjectRoot.h"
#include "qm/Runtime/Async.h"

#include <vector>

namespace Quillmar::Library::Native
{
class AsyncUpdateState final : public Standard::CComObjectRootEx<Standard::CComMultiThreadModel>,
                               public IUnknown,
                               public Standard::AllocatedResource<AsyncUpdateState>
{
public:
    static constexpr CLSID ClassId = qm::ParseGuid("{09674564-79C4-496C-9C68-CE7ED7A9AB81}");

    QM_IUNKNOWN_IMPL(AsyncUpdateState, IUnknown, qm::QISelf<AsyncUpdateState>)

    // The state behind an object of this class, or null for anything else.
    static ComPtr<AsyncUpdateState> From(IUnknown* object)
    {
        ComPtr<AsyncUpdateState> state;
        if (object != nullptr)
            object->QueryInterface(ClassId, reinterpret_cast<void**>(state.GetAddressOf()));
        return state;
    }

    ComPtr<Standard::IAsyncCallback> callback;
    ComPtr<IUnknown> state;
    std::vector<wstring> directories;
    std::vector<ComPtr<ILibraryItem>> items;
    std::uint64_t startTicks = 0;
};
} // namespace Quillmar::Library::Native
