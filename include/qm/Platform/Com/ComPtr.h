// ComPtr<T>: the owning reference of C++ code. Raw AddRef and Release stay at the
// interface boundary.
#pragma once

#include "qm/Platform/Com/Unknown.h"

#include <utility>

template <class T>
class ComPtr
{
public:
    using InterfaceType = T;

    ComPtr() noexcept = default;
    ComPtr(std::nullptr_t) noexcept {}
    ComPtr(T* p) noexcept : m_ptr(p) { InternalAddRef(); }
    ComPtr(const ComPtr& other) noexcept : m_ptr(other.m_ptr) { InternalAddRef(); }
    template <class U>
    ComPtr(const ComPtr<U>& other) noexcept : m_ptr(other.Get())
    {
        InternalAddRef();
    }
    ComPtr(ComPtr&& other) noexcept : m_ptr(std::exchange(other.m_ptr, nullptr)) {}
    template <class U>
    ComPtr(ComPtr<U>&& other) noexcept : m_ptr(other.Detach())
    {
    }
    ~ComPtr() { InternalRelease(); }

    ComPtr& operator=(std::nullptr_t) noexcept
    {
        InternalRelease();
        return *this;
    }
    ComPtr& operator=(T* p) noexcept
    {
        if (m_ptr != p)
            ComPtr(p).Swap(*this);
        return *this;
    }
    ComPtr& operator=(const ComPtr& other) noexcept
    {
        if (m_ptr != other.m_ptr)
            ComPtr(other).Swap(*this);
        return *this;
    }
    template <class U>
    ComPtr& operator=(const ComPtr<U>& other) noexcept
    {
        ComPtr(other).Swap(*this);
        return *this;
    }
    ComPtr& operator=(ComPtr&& other) noexcept
    {
        ComPtr(std::move(other)).Swap(*this);
        return *this;
    }

    void Swap(ComPtr& other) noexcept { std::swap(m_ptr, other.m_ptr); }

    T* Get() const noexcept { return m_ptr; }
    T* operator->() const noexcept { return m_ptr; }
    T& operator*() const noexcept { return *m_ptr; }
    explicit operator bool() const noexcept { return m_ptr != nullptr; }

    T* const* GetAddressOf() const noexcept { return &m_ptr; }
    T** GetAddressOf() noexcept { return &m_ptr; }
    // Releases what is held and gives the slot for an out-parameter.
    T** ReleaseAndGetAddressOf() noexcept
    {
        InternalRelease();
        return &m_ptr;
    }

    // Takes over a reference without adding one.
    void Attach(T* p) noexcept
    {
        InternalRelease();
        m_ptr = p;
    }
    // Gives up the reference without releasing it.
    T* Detach() noexcept { return std::exchange(m_ptr, nullptr); }
    void Reset() noexcept { InternalRelease(); }

    // Hands a new reference to an out-parameter.
    HRESULT CopyTo(T** pp) const noexcept
    {
        if (pp == nullptr)
            return E_POINTER;
        *pp = m_ptr;
        if (m_ptr)
            m_ptr->AddRef();
        return S_OK;
    }
    HRESULT CopyTo(REFIID riid, void** pp) const noexcept
    {
        if (pp == nullptr)
            return E_POINTER;
        *pp = nullptr;
        return m_ptr ? m_ptr->QueryInterface(riid, pp) : E_POINTER;
    }

    template <class U>
    HRESULT As(ComPtr<U>* result) const noexcept
    {
        if (result == nullptr)
            return E_POINTER;
        result->Reset();
        if (m_ptr == nullptr)
            return E_POINTER;
        return m_ptr->QueryInterface(qm::IidOf<U>(), reinterpret_cast<void**>(result->GetAddressOf()));
    }

    friend bool operator==(const ComPtr& a, const ComPtr& b) noexcept { return a.m_ptr == b.m_ptr; }
    friend bool operator==(const ComPtr& a, std::nullptr_t) noexcept { return a.m_ptr == nullptr; }
    friend bool operator==(const ComPtr& a, const T* b) noexcept { return a.m_ptr == b; }
    // "p != 0", as the checks of the library spell it.
    friend bool operator==(const ComPtr& a, int zero) noexcept { return zero == 0 && a.m_ptr == nullptr; }

private:
    void InternalAddRef() const noexcept
    {
        if (m_ptr)
            m_ptr->AddRef();
    }
    void InternalRelease() noexcept
    {
        if (T* p = std::exchange(m_ptr, nullptr))
            p->Release();
    }

    T* m_ptr = nullptr;
};

// Queries p for interface T; a null p gives a null result.
template <class T, class U>
ComPtr<T> QueryTo(U* p) noexcept
{
    ComPtr<T> result;
    if (p)
        p->QueryInterface(qm::IidOf<T>(), reinterpret_cast<void**>(result.GetAddressOf()));
    return result;
}
