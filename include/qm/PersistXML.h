// Objects that read and write themselves as XML: as text, or into an element that the
// caller creates (by the name get_NodeName gives) and appends; an object fills the
// element it is given and never creates or appends its own.
#pragma once

#include "qm/Platform/Xml/XmlDom.h"

struct IQMPersistXML : IUnknown
{
    // reserved is passed by callers and not read.
    virtual HRESULT Load(LONG reserved, BSTR xmlText) = 0;
    virtual HRESULT Save(LONG reserved, BSTR* pXmlText) = 0;
};
QM_DECLARE_IID(IQMPersistXML, "{8E949396-9B1B-4788-9385-473614CB76E0}")

struct IQMPersistXML2 : IQMPersistXML
{
    using IQMPersistXML::Load;
    using IQMPersistXML::Save;
    virtual HRESULT get_NodeName(BSTR* pName) = 0;
    virtual HRESULT Load(IXMLDOMElement* element) = 0;
    virtual HRESULT Save(IXMLDOMDocument* document, IXMLDOMElement* element) = 0;
};
QM_DECLARE_IID(IQMPersistXML2, "{E8F8C42C-B6BB-4E2C-976D-DC6F23CE1ED2}")

struct IQMPersistXML3 : IQMPersistXML2
{
    using IQMPersistXML2::Load;
    using IQMPersistXML2::Save;
    // path: the base folder of relative paths; may be null or empty.
    virtual HRESULT Load(BSTR path, IXMLDOMElement* element) = 0;
    virtual HRESULT Save(BSTR path, IXMLDOMDocument* document, IXMLDOMElement* element) = 0;
};
QM_DECLARE_IID(IQMPersistXML3, "{23E3BE77-9638-4A49-BB89-2DE2D50B3E49}")

struct IQMPersistXML4 : IQMPersistXML3
{
    // Back to the state of a new object.
    virtual HRESULT Reset() = 0;
};
QM_DECLARE_IID(IQMPersistXML4, "{2AD451B6-E1F1-4C7C-A860-D1C66A5E759E}")

// The text forms go to T::LoadXmlText(BSTR) and T::SaveXmlText(BSTR*).
template <class T>
class IQMPersistXMLImpl : public IQMPersistXML
{
public:
    HRESULT Load(LONG, BSTR xmlText) override { return static_cast<T*>(this)->LoadXmlText(xmlText); }
    HRESULT Save(LONG, BSTR* pXmlText) override { return static_cast<T*>(this)->SaveXmlText(pXmlText); }
};

// The element forms with a base folder are T's own; the text forms and the element forms
// without a folder are not implemented; the node name is T::PersistNodeName().
template <class T, class Base = IQMPersistXML3>
class IQMPersistXML2Impl : public Base
{
public:
    using Base::Load;
    using Base::Save;

    HRESULT Load(LONG, BSTR) override { return E_NOTIMPL; }
    HRESULT Save(LONG, BSTR* pXmlText) override { return pXmlText ? E_NOTIMPL : E_POINTER; }
    HRESULT get_NodeName(BSTR* pName) override
    {
        if (pName == nullptr)
            return E_POINTER;
        *pName = SysAllocString(T::PersistNodeName());
        return *pName ? S_OK : E_OUTOFMEMORY;
    }
    HRESULT Load(IXMLDOMElement*) override { return E_NOTIMPL; }
    HRESULT Save(IXMLDOMDocument*, IXMLDOMElement*) override { return E_NOTIMPL; }
};

// As IQMPersistXML2Impl, with Reset T's own.
template <class T>
class IQMPersistXML4Impl : public IQMPersistXML2Impl<T, IQMPersistXML4>
{
};
