#include "DataAccess/Library/MDExtensionFactory.h"

#include "DataAccess/Library/XmlNodeAccess.h"
#include "Logging/QMLog.h"

#include <algorithm>

namespace Quillmar::Library::Native
{
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
    extensions.clear();
    for (const ExtensionDescriptor& descriptor : Instance().m_factories)
    {
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
