#include "MetadataCore/RangeAttributes.h"

#include "Platform/Text/NumberText.h"
#include "qm/Platform/Com/ComPtr.h"

namespace qm_mdc
{
bool IsRangeAttribute(wstring_view name) { return name == kRangeStart || name == kRangeEnd; }

HRESULT WriteRange(IXMLDOMNode* element, std::optional<REFERENCE_TIME> start, std::optional<REFERENCE_TIME> end)
{
    ComPtr<IXMLDOMElement> target = QueryTo<IXMLDOMElement>(element);
    if (!target)
        return E_INVALIDARG;
    HRESULT hr = S_OK;
    if (start)
        hr = target->setAttribute(CComBSTR(kRangeStart), CComVariant(static_cast<LONGLONG>(*start)));
    if (SUCCEEDED(hr) && end)
        hr = target->setAttribute(CComBSTR(kRangeEnd), CComVariant(static_cast<LONGLONG>(*end)));
    return hr;
}

bool ReadTime(wstring_view text, REFERENCE_TIME& time) { return SUCCEEDED(qm::ParseInt64(text, time)); }
} // namespace qm_mdc
