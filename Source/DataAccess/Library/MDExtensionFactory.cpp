#include "DataAccess/Library/MDExtensionFactory.h"

#include "DataAccess/Library/XmlNodeAccess.h"
#include "Logging/QMLog.h"

#include <algorithm>

namespace Quillmar::Library::Native
{
namespace
{
bool IsDirty(IMDExtension* extension)
{
    ComPtr<IPersistMDExtension> persister;
    return SUCCEEDED(extension->QueryInterface(IID_IPersistMDExtension, reinterpret_cast<void**>(persister.GetAddressOf()))) &&
           persister->IsDirty();
}

// Takes the extension of that type out of the list.
ComPtr<IMDExtension> TakeOfType(std::vector<ComPtr<IMDExtension>>& extensions, const GUID& type)
{
    const auto it = std::find_if(extensions.begin(), extensions.end(),
                                 [&](const ComPtr<IMDExtension>& e) { return e->GetExtensionType() == type; });
    if (it == extensions.end())
        return nullptr;
    ComPtr<IMDExtension> taken = std::move(*it);
    extensions.erase(it);
    return taken;
}
} // namespace

MDExtensionFactory& MDExtensionFactory::Instance()
{
    static MDExtensionFactory instance;
    return instance;
}

bool MDExtensionFactory::RegisterExtension(const GUID& type, wstring_view name, bool createOnLoad,
                                           std::function<HRESULT(IMDExtension**)> creator)
{
    Instance().m_factories.push_back({type, wstring(name), std::move(creator), createOnLoad});
    return true;
}

const ExtensionDescriptor* MDExtensionFactory::Find(const GUID& type)
{
    const auto& factories = Instance().m_factories;
    const auto it = std::find_if(factories.begin(), factories.end(),
                                 [&](const ExtensionDescriptor& d) { return d.type == type; });
    return it == factories.end() ? nullptr : &*it;
}

HRESULT MDExtensionFactory::CreateExtension(const GUID& type, IMDExtension** ppExtension)
{
    const ExtensionDescriptor* descriptor = Find(type);
    if (descriptor == nullptr)
        return E_FAIL;
    return descriptor->creator(ppExtension);
}

HRESULT MDExtensionFactory::LoadExtension(IXMLDOMNode* parentNode, ILibraryItem* pItem, const GUID& type,
                                          IMDExtension** ppMDExtension)
{
    QMCheckCondition(parentNode != 0, E_INVALIDARG);
    QMCheckCondition(pItem != 0, E_INVALIDARG);
    QMCheckCondition(ppMDExtension != 0, E_POINTER);
    const ExtensionDescriptor* descriptor = Find(type);
    QMCheckCondition(descriptor != nullptr, E_INVALIDARG);

    ComPtr<IXMLDOMNode> node;
    const HRESULT found = SelectNode(parentNode, descriptor->name, node);
    QMCheckHRESULT(found);
    if (found == S_FALSE)
        return S_FALSE;

    ComPtr<IMDExtension> extension;
    QMCheckHRESULT(descriptor->creator(extension.GetAddressOf()));
    ComPtr<IPersistMDExtension> persister;
    extension.As(&persister);
    QMCheckCondition(persister, E_NOINTERFACE);
    const HRESULT loaded = persister->Load(parentNode, pItem);
    QMCheckHRESULT(loaded);
    if (loaded == S_FALSE)
        return S_FALSE;
    *ppMDExtension = extension.Detach();
    return S_OK;
}

HRESULT MDExtensionFactory::LoadExtensions(ILibraryItem* pLibraryItem, IXMLDOMNode* pParentNode,
                                           std::vector<ComPtr<IMDExtension>>& extensions)
{
    QMCheckCondition(pLibraryItem != 0, E_INVALIDARG);
    QMCheckCondition(pParentNode != 0, E_INVALIDARG);
    // An extension changed while the clip had no XML holds what the host set last: it
    // stays, in place of what the node says, and writes itself at the next save. Clean
    // ones are read again.
    std::vector<ComPtr<IMDExtension>> kept = std::move(extensions);
    extensions.clear();
    std::erase_if(kept, [](const ComPtr<IMDExtension>& e) { return !IsDirty(e.Get()); });
    for (const ExtensionDescriptor& descriptor : Instance().m_factories)
    {
        if (ComPtr<IMDExtension> dirty = TakeOfType(kept, descriptor.type))
        {
            extensions.push_back(std::move(dirty));
            continue;
        }
        if (!descriptor.createOnLoad)
            continue;
        ComPtr<IMDExtension> extension;
        // A damaged node must not keep the clip from loading: a new extension stands in.
        if (QMLogHRESULT(LoadExtension(pParentNode, pLibraryItem, descriptor.type, extension.GetAddressOf())) != S_OK)
            extension.Reset();
        if (!extension)
        {
            QMCheckHRESULT(CreateExtension(descriptor.type, extension.GetAddressOf()));
            ComPtr<IPersistMDExtension> persistExtension;
            extension.As(&persistExtension);
            QMCheckCondition(persistExtension != 0, E_NOINTERFACE);
            QMCheckHRESULT(persistExtension->Save(pParentNode, pLibraryItem));
        }
        extensions.push_back(std::move(extension));
    }
    return S_OK;
}
} // namespace Quillmar::Library::Native
