// The range a manager or unit was given, as attributes of its own on an element.
#pragma once

#include "qm/Platform/Xml/XmlDom.h"

#include <optional>
#include <utility>

namespace qm_mdc
{
inline constexpr const char16_t* kRangeStart = u"RangeStart";
inline constexpr const char16_t* kRangeEnd = u"RangeEnd";

bool IsRangeAttribute(wstring_view name);
// Writes the ends that are set.
HRESULT WriteRange(IXMLDOMNode* element, std::optional<REFERENCE_TIME> start, std::optional<REFERENCE_TIME> end);
// Reads a reference time from attribute text; false when it is no whole number.
bool ReadTime(wstring_view text, REFERENCE_TIME& time);
} // namespace qm_mdc
