// Free named text properties of a clip, each with a value and a default value; the clip
// keeps its title and comment here. Values are kept in CDATA, their CR LF line ends
// written as "<br />".
#pragma once

#include "DataAccess/Library/MDExtension.h"

#include <map>
#include <utility>

namespace Quillmar::Library::Native
{
class CMDProperties : public MDExtension<CMDProperties, IMDProperties>
{
public:
    static constexpr GUID kType = MDTYPE_Properties;
    static constexpr bool kCanUnload = false;
    static constexpr wstring_view kNodeName = u"Library.MDProperties";

    CMDProperties() = default;

    HRESULT Clone(IMDExtension** ppExtension, int deepClone) override;

    HRESULT put_Comment(const wstring& value) override { return SetProperty(u"Comment", value); }
    wstring get_Comment() override { return GetProperty(u"Comment"); }
    HRESULT put_Title(const wstring& value) override { return SetProperty(u"Title", value); }
    wstring get_Title() override { return GetProperty(u"Title"); }
    HRESULT SetProperty(const wstring& name, const wstring& value) override;
    wstring GetProperty(const wstring& name) override;
    HRESULT SetDefaultValue(const wstring& name, const wstring& value) override;

    HRESULT Load(IXMLDOMNode* pXmlParentNode, ILibraryItem* pLibraryItem) override;
    HRESULT Delete(IXMLDOMNode* parentNode, ILibraryItem* pLibraryItem) override;

private:
    friend MDExtension;

    // Name to (value, default value).
    using Properties = std::map<wstring, std::pair<wstring, wstring>>;

    // Sets one half of an entry by the rule both setters share.
    HRESULT Set(const wstring& name, const wstring& value, wstring Properties::mapped_type::*half);
    HRESULT WriteProperty(IXMLDOMElement* container, const wstring& name, const Properties::mapped_type& entry);
    HRESULT ReadProperty(IXMLDOMNode* node);
    HRESULT Write(IXMLDOMNode* parentNode, IXMLDOMDocument* document, ILibraryItem* pLibraryItem);

    Properties m_properties;
};
} // namespace Quillmar::Library::Native
