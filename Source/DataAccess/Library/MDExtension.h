// The common part of every extension kind: the reference count, the interface table
// (the typed interface, IMDExtension, IPersistMDExtension), a module lock for the
// object's life, the dirty flag, the type GUID and unload rule of the kind, and the steps
// of Save that every kind shares. Derived defines kType, kCanUnload and kNodeName, and
// Write, which puts its state under the clip's node.
#pragma once

#include "Logging/QMLog.h"
#include "DataAccess/Library/XmlNodeAccess.h"
#include "Platform/Com/ModuleLock.h"
#include "Platform/Xml/XmlChars.h"
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

    // A clean extension writes nothing. A dirty one first removes every element of its
    // kind, also duplicates a file may hold, so that the one it writes is the one a later
    // load reads.
    HRESULT Save(IXMLDOMNode* parentNode, ILibraryItem* pLibraryItem) override
    {
        QMCheckCondition(parentNode != 0, E_INVALIDARG);
        // The kind's steps log their own failures.
        HRESULT hr = Self().PrepareSave(pLibraryItem);
        if (FAILED(hr))
            return hr;
        if (!m_dirty)
            return S_FALSE;
        if (FAILED(hr = Rewrite(parentNode, pLibraryItem)))
            return hr;
        m_dirty = false;
        return S_OK;
    }

    // A new empty object of the kind, as the registry's creator hands it out.
    static HRESULT Create(IMDExtension** ppExtension)
    {
        return qm::CreateObject<Derived>(ppExtension);
    }

protected:
    MDExtension() = default;

    // What a kind checks or remembers of the clip on every Save, clean or not.
    HRESULT PrepareSave(ILibraryItem*) { return S_OK; }

    // Removes every element of the kind from the clip's node, then lets the kind write.
    HRESULT Rewrite(IXMLDOMNode* parentNode, ILibraryItem* pLibraryItem)
    {
        QMCheckHRESULT(RemoveElements(parentNode));
        ComPtr<IXMLDOMDocument> pDoc;
        OwnerDocument(parentNode, pDoc);
        QMCheckCondition(pDoc != nullptr, E_INVALIDARG);
        return Self().Write(parentNode, pDoc.Get(), pLibraryItem);
    }

    // Every element of the kind under the clip's node goes.
    static HRESULT RemoveElements(IXMLDOMNode* parentNode)
    {
        QMCheckCondition(parentNode != 0, E_INVALIDARG);
        QMCheckHRESULT(RemoveAllSelected(parentNode, Derived::kNodeName));
        return S_OK;
    }

    // Text a setter is about to keep: refused when XML cannot carry it, so that it never
    // enters the model and every later save of the clip still succeeds.
    static HRESULT CheckText(wstring_view text)
    {
        QMCheckCondition(qm::xml::IsValidText(text), E_INVALIDARG);
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
    Derived& Self() { return static_cast<Derived&>(*this); }

    qm::ModuleLock m_moduleLock;
};
} // namespace Quillmar::Library::Native
