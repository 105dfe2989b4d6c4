#include "Platform/Xml/XmlString.h"

#include <algorithm>
#include <limits>
#include <new>

namespace qm::xml
{
XmlString::XmlString(wstring_view text)
{
    if (text.empty())
        return;
    if (text.size() > std::numeric_limits<std::uint32_t>::max())
        throw std::bad_alloc();
    auto* copy = new char16_t[text.size()];
    std::copy(text.begin(), text.end(), copy);
    m_data = copy;
    m_size = static_cast<std::uint32_t>(text.size());
    m_owned = true;
}
} // namespace qm::xml
