// The text of a node: a name or a value. Text read by a parse stays in the parse's
// arena and is only pointed at; text set later, or copied, is owned and freed with the
// node. A node of an arena keeps that arena alive, so its borrowed texts stay valid for
// as long as the node; that is why only the parse borrows, and every copy owns. A text
// holds fewer than 2^32 units: a longer one cannot be made (std::bad_alloc).
#pragma once

#include "qm/Platform/Types.h"

#include <cstdint>
#include <utility>

namespace qm::xml
{
class XmlString
{
public:
    XmlString() noexcept = default;
    // An owned copy.
    explicit XmlString(wstring_view text);
    // Text that lives as long as the node that will hold it.
    static XmlString Borrow(wstring_view text) noexcept
    {
        XmlString borrowed;
        borrowed.m_data = text.data();
        borrowed.m_size = static_cast<std::uint32_t>(text.size());
        return borrowed;
    }

    XmlString(XmlString&& other) noexcept
        : m_data(std::exchange(other.m_data, u"")), m_size(std::exchange(other.m_size, 0)),
          m_owned(std::exchange(other.m_owned, false))
    {
    }
    XmlString& operator=(XmlString&& other) noexcept
    {
        XmlString(std::move(other)).Swap(*this);
        return *this;
    }
    XmlString(const XmlString&) = delete;
    XmlString& operator=(const XmlString&) = delete;
    ~XmlString()
    {
        if (m_owned)
            delete[] m_data;
    }

    wstring_view View() const noexcept { return {m_data, m_size}; }
    operator wstring_view() const noexcept { return View(); }
    const char16_t* data() const noexcept { return m_data; }
    std::size_t size() const noexcept { return m_size; }
    bool empty() const noexcept { return m_size == 0; }

private:
    void Swap(XmlString& other) noexcept
    {
        std::swap(m_data, other.m_data);
        std::swap(m_size, other.m_size);
        std::swap(m_owned, other.m_owned);
    }

    // Sixteen bytes in all: nodes and attribute lists hold many of these.
    const char16_t* m_data = u"";
    std::uint32_t m_size = 0;
    bool m_owned = false;
};
} // namespace qm::xml
