// BSTR: a length-prefixed 16-bit string. The 32-bit byte count stands before the first
// character and a NUL after the last, so embedded NULs are part of the string.
#pragma once

#include "qm/Platform/Com/HResult.h"

#include <utility>

using BSTR = OLECHAR*;

QM_API BSTR SysAllocString(const OLECHAR* text);
// A null text gives a zeroed string of that length.
QM_API BSTR SysAllocStringLen(const OLECHAR* text, UINT length);
QM_API BSTR SysAllocStringByteLen(const char* bytes, UINT byteLength);
QM_API INT SysReAllocString(BSTR* target, const OLECHAR* text);
QM_API void SysFreeString(BSTR text);
// 0 for a null BSTR.
QM_API UINT SysStringLen(BSTR text);
QM_API UINT SysStringByteLen(BSTR text);

namespace qm
{
// Throws HResultException(E_OUTOFMEMORY) when the allocation fails.
QM_API BSTR AllocBstr(wstring_view text);
// The characters of a BSTR, embedded NULs included; empty for null.
inline wstring_view BstrView(BSTR text) { return text ? wstring_view(text, SysStringLen(text)) : wstring_view(); }
} // namespace qm

// Owns one BSTR.
class CComBSTR
{
public:
    CComBSTR() noexcept = default;
    CComBSTR(std::nullptr_t) noexcept {}
    // Copies; throws HResultException(E_OUTOFMEMORY) when the allocation fails.
    explicit CComBSTR(wstring_view text) : m_str(qm::AllocBstr(text)) {}
    CComBSTR(const OLECHAR* text) : m_str(text ? qm::AllocBstr(text) : nullptr) {}
    CComBSTR(const CComBSTR& other) : m_str(other.m_str ? qm::AllocBstr(qm::BstrView(other.m_str)) : nullptr) {}
    CComBSTR(CComBSTR&& other) noexcept : m_str(std::exchange(other.m_str, nullptr)) {}
    ~CComBSTR() { SysFreeString(m_str); }

    CComBSTR& operator=(const CComBSTR& other)
    {
        if (this != &other)
            CComBSTR(other).Swap(*this);
        return *this;
    }
    CComBSTR& operator=(CComBSTR&& other) noexcept
    {
        CComBSTR(std::move(other)).Swap(*this);
        return *this;
    }
    CComBSTR& operator=(wstring_view text)
    {
        CComBSTR(text).Swap(*this);
        return *this;
    }
    CComBSTR& operator=(const OLECHAR* text)
    {
        CComBSTR(text).Swap(*this);
        return *this;
    }

    void Swap(CComBSTR& other) noexcept { std::swap(m_str, other.m_str); }
    operator BSTR() const noexcept { return m_str; }
    wstring_view View() const noexcept { return qm::BstrView(m_str); }
    UINT Length() const noexcept { return SysStringLen(m_str); }
    bool IsNull() const noexcept { return m_str == nullptr; }

    BSTR* GetAddressOf() noexcept { return &m_str; }
    BSTR* ReleaseAndGetAddressOf() noexcept
    {
        Empty();
        return &m_str;
    }
    void Empty() noexcept
    {
        SysFreeString(m_str);
        m_str = nullptr;
    }
    void Attach(BSTR text) noexcept
    {
        if (text != m_str)
        {
            SysFreeString(m_str);
            m_str = text;
        }
    }
    BSTR Detach() noexcept { return std::exchange(m_str, nullptr); }
    // A new copy for the caller; null stays null.
    BSTR Copy() const { return m_str ? qm::AllocBstr(View()) : nullptr; }
    HRESULT CopyTo(BSTR* target) const noexcept
    {
        if (target == nullptr)
            return E_POINTER;
        *target = nullptr;
        if (m_str == nullptr)
            return S_OK;
        *target = SysAllocStringLen(m_str, Length());
        return *target ? S_OK : E_OUTOFMEMORY;
    }

    BSTR m_str = nullptr;
};
