#include "Platform/Xml/XmlParseError.h"

namespace qm::xml
{
namespace
{
HRESULT GetNumber(LONG value, LONG* result)
{
    if (result == nullptr)
        return E_POINTER;
    *result = value;
    return S_OK;
}

HRESULT GetText(wstring_view value, BSTR* result)
{
    if (result == nullptr)
        return E_POINTER;
    *result = SysAllocStringLen(value.data(), static_cast<UINT>(value.size()));
    return *result ? S_OK : E_OUTOFMEMORY;
}
} // namespace

HRESULT XmlParseError::Create(XmlParseError** error)
{
    *error = new (std::nothrow) XmlParseError();
    return *error ? S_OK : E_OUTOFMEMORY;
}

HRESULT XmlParseError::get_errorCode(LONG* code) { return GetNumber(m_info.code, code); }
HRESULT XmlParseError::get_url(BSTR* url) { return GetText(u"", url); }
HRESULT XmlParseError::get_reason(BSTR* reason) { return GetText(m_info.reason, reason); }
HRESULT XmlParseError::get_srcText(BSTR* text) { return GetText(u"", text); }
HRESULT XmlParseError::get_line(LONG* line) { return GetNumber(m_info.line, line); }
HRESULT XmlParseError::get_linepos(LONG* column) { return GetNumber(m_info.column, column); }
HRESULT XmlParseError::get_filepos(LONG* position) { return GetNumber(m_info.position, position); }
} // namespace qm::xml
