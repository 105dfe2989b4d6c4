// The common part of every extension kind: the reference count, the interface table
// (the typed interface, IMDExtension, IPersistMDExtension), a module lock for the
// object's life, the dirty flag, and the type GUID and unload rule of the kind.
// Derived defines kType and kCanUnload.
#pragma once

#include "Logging/QMLog.h"
#include "DataAccess/Library/XmlNodeAccess.h"
#include "Platform/Com/ModuleLock.h"
#include "qm/Library/MetadataExtensions.h"
#include "qm/Platform/Com/ObjectRoot.h"

namespace Quillmar::Library::Native
{
template <class Derived, class TypedInterface>
class MDExtension : public Standard::CComObjectRootEx<Standard::CComMultiThreadModel>,
                    public TypedInterface,
                    public IPersistMDExtension
{
public:
    QM_IUNKNOWN_IMPL(Derived, TypedInterface, IMDExtension, IPersistMDExtension)

    GUID GetExtensionType() override { return Derived::kType; }
    bool CanUnload() override { return Derived::kCanUnload; }
    bool IsDirty() override { return m_dirty; }

    // A new empty object of the kind, as the registry's creator hands it out.
    static HRESULT Create(IMDExtension** ppExtension)
    {
        return qm::CreateObject<Derived>(ppExtension);
    }

protected:
    MDExtension() = default;

    // A new element of that name in the document of parentNode, not yet placed: the
    // container a kind writes its state into.
    static HRESULT NewElement(IXMLDOMNode* parentNode, wstring_view name, ComPtr<IXMLDOMElement>& pNode)
    {
        ComPtr<IXMLDOMDocument> pDoc;
        OwnerDocument(parentNode, pDoc);
        QMCheckCondition(pDoc != nullptr, E_INVALIDARG);
        QMCheckHRESULT(pDoc->createElement(CComBSTR(name), pNode.ReleaseAndGetAddressOf()));
        QMCheckCondition(pNode != nullptr, E_INVALIDARG);
        return S_OK;
    }

    // The clip's node as an element and its document, which the kinds that write straight
    // under the clip's node need.
    static HRESULT ParentAndDocument(IXMLDOMNode* parentNode, ComPtr<IXMLDOMElement>& pNode,
                                     ComPtr<IXMLDOMDocument>& pDoc)
    {
        AsElement(parentNode, pNode);
        QMCheckCondition(pNode != nullptr, E_INVALIDARG);
        OwnerDocument(parentNode, pDoc);
        QMCheckCondition(pDoc != nullptr, E_INVALIDARG);
        return S_OK;
    }

    // Clone's common part: a new object of the kind holding a copy of state, clean or
    // dirty as the kind's copies are, handed out through ppExtension.
    template <class State>
    HRESULT CopyWith(IMDExtension** ppExtension, State Derived::*state, bool dirty)
    {
        auto copy = qm::MakeObject<Derived>();
        QMCheckCondition(copy, E_OUTOFMEMORY);
        copy.Get()->*state = static_cast<Derived*>(this)->*state;
        copy->m_dirty = dirty;
        *ppExtension = copy.Detach();
        return S_OK;
    }
    virtual ~MDExtension() = default;

    bool m_dirty = false;

private:
    qm::ModuleLock m_moduleLock;
};
} // namespace Quillmar::Library::Native
