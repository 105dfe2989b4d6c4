// The error of a document's last load.
#pragma once

#include "Platform/Xml/XmlParser.h"

#include "qm/Platform/Com/ObjectRoot.h"

namespace qm::xml
{
class XmlParseError final : public Standard::CComObjectRootEx<Standard::CComMultiThreadModel>,
                            public qm::DispatchNotImplemented<IXMLDOMParseError>,
                            private Standard::AllocatedResource<XmlParseError>
{
public:
    static HRESULT Create(XmlParseError** error);

    QM_IUNKNOWN_IMPL(XmlParseError, IXMLDOMParseError, IDispatch)

    void Set(XmlParseErrorInfo info) noexcept { m_info = std::move(info); }

    HRESULT get_errorCode(LONG* code) override;
    HRESULT get_url(BSTR* url) override;
    HRESULT get_reason(BSTR* reason) override;
    HRESULT get_srcText(BSTR* text) override;
    HRESULT get_line(LONG* line) override;
    HRESULT get_linepos(LONG* column) override;
    HRESULT get_filepos(LONG* position) override;

private:
    XmlParseError() = default;
    ~XmlParseError() = default;

    XmlParseErrorInfo m_info;
};
} // namespace qm::xml
