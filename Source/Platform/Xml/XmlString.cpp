#include "Platform/Xml/XmlString.h"

#include <algorithm>

namespace qm::xml
{
XmlString::XmlString(wstring_view text)
{
    if (text.empty())
        return;
    auto* copy = new char16_t[text.size()];
    std::copy(text.begin(), text.end(), copy);
    m_data = copy;
    m_size = text.size();
    m_owned = true;
}
} // namespace qm::xml
