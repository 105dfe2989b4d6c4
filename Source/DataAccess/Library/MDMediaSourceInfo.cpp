#include "DataAccess/Library/MDMediaSourceInfo.h"

#include "DataAccess/Library/LibraryItemAccess.h"
#include "DataAccess/Library/XMLLibraryParser.h"
#include "DataAccess/Library/XmlNodeAccess.h"
#include "Logging/QMLog.h"

#include <functional>

#include <utility>
#include <vector>

namespace Quillmar::Library::Native
{
namespace
{
using Attributes = std::vector<std::pair<wstring_view, CComVariant>>;

// Appends a child element with the attributes, in their order.
HRESULT AppendChild(IXMLDOMDocument* document, IXMLDOMElement* parent, wstring_view name,
                    const Attributes& attributes)
{
    ComPtr<IXMLDOMElement> element;
    QMCheckHRESULT(CreateElement(document, name, element));
    for (const auto& [attribute, value] : attributes)
        QMCheckHRESULT(SetAttribute(element.Get(), attribute, value));
    QMCheckHRESULT(parent->appendChild(element.Get(), nullptr));
    return S_OK;
}

// S_OK and the element when the child is there (null if it is no element), S_FALSE when
// it is missing.
HRESULT SelectChild(IXMLDOMNode* parent, wstring_view name, ComPtr<IXMLDOMElement>& element)
{
    ComPtr<IXMLDOMNode> node;
    const HRESULT hr = SelectNode(parent, name, node);
    if (hr == S_OK)
        AsElement(node.Get(), element);
    return hr;
}

// True when the attribute is there and reads as a boolean; "True" and "-1" both do.
bool ReadBool(IXMLDOMElement* element, wstring_view name, bool& value)
{
    CComVariant text;
    if (element->getAttribute(CComBSTR(name), &text) != S_OK)
        return false;
    CComVariant flag;
    if (FAILED(VariantChangeTypeEx(&flag, &text, 0, VARIANT_ALPHABOOL, VT_BOOL)))
        return false;
    value = flag.boolVal != VARIANT_FALSE;
    return true;
}

bool IsTrue(IXMLDOMElement* element, wstring_view name)
{
    bool value = false;
    return ReadBool(element, name, value) && value;
}

void ReadAspectRatio(IXMLDOMElement* element, AspectRatio& aspectRatio)
{
    AspectRatio read;
    if (ReadInt32Attribute(element, u"cx", read.cx) == S_OK && ReadInt32Attribute(element, u"cy", read.cy) == S_OK)
        aspectRatio = read;
}

void ReadInterlaceFlags(IXMLDOMElement* element, std::uint32_t& flags)
{
    bool interlaced = false;
    if (!ReadBool(element, u"IsInterlaced", interlaced))
        return;
    flags = interlaced ? kInterlaced : 0;
    if (IsTrue(element, u"Field1First"))
        flags |= kField1First;
}

void ReadRotation(IXMLDOMElement* element, VideoRotation& rotation)
{
    std::int32_t angle = 0;
    if (ReadInt32Attribute(element, u"Angle", angle) != S_OK)
        return;
    // One turn either way is folded in; the remainder keeps the sign of the dividend, so
    // anything below -360 stays negative and is refused.
    const std::int64_t degrees = (std::int64_t{angle} + 360) % 360;
    if (degrees >= 0 && degrees % 90 == 0)
        rotation = static_cast<VideoRotation>(degrees / 90);
    else
        QMLog(2, u"Bad value for video orientation: %d", angle);
}

void ReadVideoStreamRate(IXMLDOMElement* element, Fraction& rate)
{
    std::int32_t numerator = 0;
    std::int32_t denominator = 0;
    if (ReadInt32Attribute(element, u"Numerator", numerator) == S_OK &&
        ReadInt32Attribute(element, u"Denominator", denominator) == S_OK)
        rate = Fraction{numerator, denominator};
}

bool IsRateSet(const Fraction& rate) { return rate.numerator != 0 || (rate.denominator != 1 && rate.denominator != 0); }

CComVariant Unsigned(std::int64_t value) { return CComVariant(static_cast<ULONGLONG>(value)); }
} // namespace

HRESULT CMDMediaSourceInfo::Clone(IMDExtension** ppExtension, int deepClone)
{
    QMCheckCondition(ppExtension != 0, E_POINTER);
    QMCheckCondition(deepClone == 1, E_INVALIDARG);
    return CopyWith(ppExtension, &CMDMediaSourceInfo::m_values, false);
}

void CMDMediaSourceInfo::Reset()
{
    m_values = Values{};
    m_dirty = true;
}

HRESULT CMDMediaSourceInfo::put_AspectRatio(const AspectRatio& value)
{
    if (value.cx != m_values.aspectRatio.cx || value.cy != m_values.aspectRatio.cy)
    {
        m_values.aspectRatio = value;
        m_dirty = true;
    }
    return S_OK;
}

HRESULT CMDMediaSourceInfo::put_VideoStreamRate(const Fraction& value)
{
    if (value.numerator != m_values.videoStreamRate.numerator ||
        value.denominator != m_values.videoStreamRate.denominator)
    {
        m_values.videoStreamRate = value;
        m_dirty = true;
    }
    return S_OK;
}

HRESULT CMDMediaSourceInfo::Write(IXMLDOMNode* parentNode, IXMLDOMDocument* pDoc, ILibraryItem*)
{
    ComPtr<IXMLDOMElement> pNode;
    QMCheckHRESULT(CreateElement(pDoc, kNodeName, pNode));
    QMCheckCondition(pNode != nullptr, E_INVALIDARG);

    const Values& v = m_values;
    if (v.aspectRatio.cx != 0 && v.aspectRatio.cy != 0)
        QMCheckHRESULT(AppendChild(pDoc, pNode.Get(), u"AspectRatio",
                                   {{u"cx", CComVariant(LONG{v.aspectRatio.cx})},
                                    {u"cy", CComVariant(LONG{v.aspectRatio.cy})}}));
    if (v.interlaceFlags != kInterlaceUnset)
        QMCheckHRESULT(AppendChild(pDoc, pNode.Get(), u"InterlaceFlags",
                                   {{u"IsInterlaced", CComVariant((v.interlaceFlags & kInterlaced) != 0)},
                                    {u"Field1First", CComVariant((v.interlaceFlags & kField1First) != 0)}}));
    if (v.rotation != VideoRotationUnset)
        QMCheckHRESULT(AppendChild(pDoc, pNode.Get(), u"Rotation",
                                   {{u"Angle", CComVariant(LONG{v.rotation * 90})}}));
    if (v.flipVertical || v.flipHorizontal)
    {
        Attributes flips;
        if (v.flipVertical)
            flips.emplace_back(u"Vertical", CComVariant(true));
        if (v.flipHorizontal)
            flips.emplace_back(u"Horizontal", CComVariant(true));
        QMCheckHRESULT(AppendChild(pDoc, pNode.Get(), u"Flip", flips));
    }
    if (IsRateSet(v.videoStreamRate))
        QMCheckHRESULT(AppendChild(pDoc, pNode.Get(), u"VideoStreamRate",
                                   {{u"Numerator", Unsigned(v.videoStreamRate.numerator)},
                                    {u"Denominator", Unsigned(v.videoStreamRate.denominator)}}));

    // With no value set the clip keeps no element at all.
    VARIANT_BOOL hasChildren = VARIANT_FALSE;
    QMCheckHRESULT(pNode->hasChildNodes(&hasChildren));
    if (hasChildren != VARIANT_FALSE)
        QMCheckHRESULT(parentNode->appendChild(pNode.Get(), nullptr));
    return S_OK;
}

HRESULT CMDMediaSourceInfo::PrepareSave(ILibraryItem* pLibraryItem)
{
    QMCheckCondition(pLibraryItem != 0, E_INVALIDARG);
    m_pLibraryItem = pLibraryItem;
    return S_OK;
}

HRESULT CMDMediaSourceInfo::ReadChildren(IXMLDOMNode* extensionNode)
{
    Values& v = m_values;
    // Each child in the order of the file's layout, with the name its check reports.
    const struct
    {
        wstring_view name;
        const char16_t* condition;
        std::function<void(IXMLDOMElement*)> read;
    } children[] = {
        {u"AspectRatio", u"aspectRatioElement", [&](IXMLDOMElement* e) { ReadAspectRatio(e, v.aspectRatio); }},
        {u"InterlaceFlags", u"interlaceFlagsElement",
         [&](IXMLDOMElement* e) { ReadInterlaceFlags(e, v.interlaceFlags); }},
        {u"Rotation", u"rotationElement", [&](IXMLDOMElement* e) { ReadRotation(e, v.rotation); }},
        {u"Flip", u"flipElement",
         [&](IXMLDOMElement* e) {
             v.flipVertical = IsTrue(e, u"Vertical");
             v.flipHorizontal = IsTrue(e, u"Horizontal");
         }},
        {u"VideoStreamRate", u"videoStreamRateElement",
         [&](IXMLDOMElement* e) { ReadVideoStreamRate(e, v.videoStreamRate); }},
    };
    for (const auto& child : children)
    {
        ComPtr<IXMLDOMElement> element;
        const HRESULT hr = SelectChild(extensionNode, child.name, element);
        QMCheckHRESULT(hr);
        if (hr != S_OK)
            continue;
        if (!element)
            return qm::log::ConditionFailure(__FILE__, __LINE__, child.condition, E_NOINTERFACE);
        child.read(element.Get());
    }
    return S_OK;
}

HRESULT CMDMediaSourceInfo::Load(IXMLDOMNode* parentNode, ILibraryItem* pLibraryItem)
{
    QMCheckCondition(pLibraryItem != 0, E_INVALIDARG);
    m_dirty = false;
    m_values = Values{};
    ComPtr<IXMLDOMNode> extensionNode;
    const HRESULT found = SelectNode(parentNode, kNodeName, extensionNode);
    QMCheckHRESULT(found);
    if (found == S_FALSE)
        return E_FAIL;
    QMCheckCondition(extensionNode != 0, E_UNEXPECTED);
    QMCheckHRESULT(ReadChildren(extensionNode.Get()));
    m_pLibraryItem = pLibraryItem;
    return S_OK;
}

HRESULT CMDMediaSourceInfo::Delete(IXMLDOMNode* parentNode, ILibraryItem*)
{
    QMCheckHRESULT(RemoveElements(parentNode));
    m_dirty = false;
    m_pLibraryItem = nullptr;
    return S_OK;
}

HRESULT CMDMediaSourceInfo::Commit()
{
    if (!m_dirty)
        return S_OK;
    QMCheckCondition(m_pLibraryItem, E_UNEXPECTED);
    ComPtr<IXMLDOMNode> xmlParentNode;
    QMCheckHRESULT(GetItemNodePrivate(m_pLibraryItem, xmlParentNode.GetAddressOf()));
    QMCheckCondition(xmlParentNode != 0, E_UNEXPECTED);
    QMCheckHRESULT(Rewrite(xmlParentNode.Get(), m_pLibraryItem));
    m_dirty = false;
    // An empty key: listeners read the whole clip again.
    const PROPERTYKEY everything{};
    m_pLibraryItem->get_PropertyChanged().Fire(nullptr, everything);
    return S_OK;
}
} // namespace Quillmar::Library::Native
