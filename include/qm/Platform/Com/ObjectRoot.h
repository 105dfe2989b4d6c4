// The object root of reference-counted classes, the marker base of heap-created classes,
// and the table-driven QueryInterface that classes use instead of writing their own.
#pragma once

#include "qm/Platform/Com/ComPtr.h"

#include <atomic>
#include <new>

namespace Standard
{
class CComMultiThreadModel
{
public:
    static LONG Increment(std::atomic<LONG>& value) noexcept { return value.fetch_add(1) + 1; }
    static LONG Decrement(std::atomic<LONG>& value) noexcept { return value.fetch_sub(1) - 1; }
};

// The reference count starts at 1: the creator's reference. Each object also counts in
// one process-wide number of live objects, which nothing in the system reads but tests.
class CComObjectRootBase
{
public:
    CComObjectRootBase() noexcept { s_liveObjects.fetch_add(1, std::memory_order_relaxed); }
    CComObjectRootBase(const CComObjectRootBase&) = delete;
    CComObjectRootBase& operator=(const CComObjectRootBase&) = delete;
    ~CComObjectRootBase() { s_liveObjects.fetch_sub(1, std::memory_order_relaxed); }

    static long LiveObjectCount() noexcept { return s_liveObjects.load(std::memory_order_relaxed); }

protected:
    std::atomic<LONG> m_refCount{1};

private:
    static inline std::atomic<long> s_liveObjects{0};
};

template <class ThreadModel>
class CComObjectRootEx : public CComObjectRootBase
{
public:
    ULONG InternalAddRef() noexcept { return static_cast<ULONG>(ThreadModel::Increment(m_refCount)); }
    ULONG InternalRelease() noexcept { return static_cast<ULONG>(ThreadModel::Decrement(m_refCount)); }
};

// Marks a class that is created on the heap; no fields, no virtual operations.
template <class T>
class AllocatedResource
{
};
} // namespace Standard

namespace qm
{
// An entry of QueryInterfaceFrom that answers a class's private identifier with the
// object itself, so that code of the library can reach the concrete class.
template <class Class>
struct QISelf
{
};

namespace detail
{
template <class Self, class Entry>
struct QIEntry
{
    static void* Match(Self* self, REFIID riid) noexcept
    {
        return riid == IidOf<Entry>() ? static_cast<Entry*>(self) : nullptr;
    }
};

template <class Self, class Class>
struct QIEntry<Self, QISelf<Class>>
{
    static void* Match(Self* self, REFIID riid) noexcept
    {
        return riid == Class::ClassId ? static_cast<Class*>(self) : nullptr;
    }
};

template <class First, class...>
struct FirstOf
{
    using Type = First;
};
} // namespace detail

// Answers IUnknown through the first interface listed, and each entry by its identifier.
// The object gets one more reference on success.
template <class... Entries, class Self>
HRESULT QueryInterfaceFrom(Self* self, REFIID riid, void** ppv) noexcept
{
    if (ppv == nullptr)
        return E_POINTER;
    using Primary = typename detail::FirstOf<Entries...>::Type;
    void* found = riid == IID_IUnknown ? static_cast<IUnknown*>(static_cast<Primary*>(self)) : nullptr;
    ((found = found ? found : detail::QIEntry<Self, Entries>::Match(self, riid)), ...);
    *ppv = found;
    if (found == nullptr)
        return E_NOINTERFACE;
    self->AddRef();
    return S_OK;
}

// A new object whose initial count of 1 the result takes over; null on exhaustion.
template <class T, class... Args>
ComPtr<T> MakeObject(Args&&... args)
{
    ComPtr<T> result;
    result.Attach(new (std::nothrow) T(std::forward<Args>(args)...));
    return result;
}

// The same for an out-parameter: *out gets the initial reference as Interface; E_POINTER
// for a null out, E_OUTOFMEMORY (and null) on exhaustion.
template <class T, class Interface, class... Args>
HRESULT CreateObject(Interface** out, Args&&... args)
{
    if (out == nullptr)
        return E_POINTER;
    T* object = new (std::nothrow) T(std::forward<Args>(args)...);
    *out = object;
    return object ? S_OK : E_OUTOFMEMORY;
}
} // namespace qm

// The three operations of IUnknown for a class derived from CComObjectRootEx and the
// entries listed (interfaces, or qm::QISelf<Class>); the first entry is an interface.
#define QM_IUNKNOWN_IMPL(Class, ...)                                                \
    HRESULT QueryInterface(REFIID riid, void** ppv) override                        \
    {                                                                               \
        return ::qm::QueryInterfaceFrom<__VA_ARGS__>(this, riid, ppv);             \
    }                                                                               \
    ULONG AddRef() override { return InternalAddRef(); }                            \
    ULONG Release() override                                                        \
    {                                                                               \
        const ULONG count = InternalRelease();                                      \
        if (count == 0)                                                             \
            delete static_cast<Class*>(this);                                       \
        return count;                                                               \
    }
