// The registry of the metadata extension kinds: filled once at load, in the order of
// one table, and read without a lock afterwards. The order of registration is the order
// of a new clip's extensions, and so of their nodes in its file.
#pragma once

#include "qm/Library/MetadataExtensions.h"

#include <functional>

namespace Quillmar::Library::Native
{
struct ExtensionDescriptor
{
    GUID type;
    wstring name;
    std::function<HRESULT(IMDExtension**)> creator;
    bool createOnLoad;
};

class MDExtensionFactory
{
public:
    static MDExtensionFactory& Instance();

    static bool RegisterExtension(const GUID& type, wstring_view name, bool createOnLoad,
                                  std::function<HRESULT(IMDExtension**)> creator);
    // E_FAIL for an unknown type.
    static HRESULT CreateExtension(const GUID& type, IMDExtension** ppExtension);
    // Reads one extension from the clip's node: S_FALSE, and nothing made, when the node
    // has no element of the kind or the kind declines what it found.
    static HRESULT LoadExtension(IXMLDOMNode* parentNode, ILibraryItem* pItem, const GUID& type,
                                 IMDExtension** ppMDExtension);
    // The extensions of every kind made on load, read from the node or new; a damaged
    // node gives a new extension in place of its own.
    static HRESULT LoadExtensions(ILibraryItem* pLibraryItem, IXMLDOMNode* pParentNode,
                                  std::vector<ComPtr<IMDExtension>>& extensions);

    std::vector<ExtensionDescriptor> m_factories;

private:
    MDExtensionFactory() = default;
    static const ExtensionDescriptor* Find(const GUID& type);
};

// Registers the seven kinds in their order; called once from the module's statics.
bool RegisterExtensionKinds();
} // namespace Quillmar::Library::Native
