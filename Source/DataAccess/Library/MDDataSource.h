// Ties a clip to a data source unit manager of the metadata module, the data recorded
// beside the video. The manager reads and writes the clip's DataSource element itself;
// this extension decides when it is made, copied (whole or for a section of the clip)
// and written.
#pragma once

#include "DataAccess/Library/MDExtension.h"
#include "qm/MetadataCore.h"

namespace Quillmar::Library::Native
{
class CMDDataSource : public MDExtension<CMDDataSource, IMDDataSource>
{
public:
    static constexpr GUID kType = MDTYPE_DataSource;
    static constexpr bool kCanUnload = true;
    static constexpr wstring_view kNodeName = u"DataSource";

    CMDDataSource() = default;

    // Always a deep copy, whatever deepClone says; the copy is dirty.
    HRESULT Clone(IMDExtension** zeclone, int deepClone) override;

    HRESULT QueryManager(REFIID iid, void** ppv) override;
    HRESULT SetDataSourceUnitMgr(IUnknown* pDSUMgr) override;
    HRESULT CloneRange(LPCWSTR mediaPath, REFERENCE_TIME start, REFERENCE_TIME end, REFIID iid, void** ppv) override;
    void MarkDirty() override { m_dirty = true; }
    HRESULT LoadFromXmlText(LPCWSTR xml) override;

    HRESULT Load(IXMLDOMNode* xmlParentNode, ILibraryItem* pLibraryItem) override;
    HRESULT Delete(IXMLDOMNode* parentNode, ILibraryItem* pLibraryItem) override;

private:
    friend MDExtension;

    // A new manager filled from node (which may be null) by its persister: S_FALSE, and
    // no manager, when the persister will not take the node.
    static HRESULT ReadManager(IXMLDOMNode* node, LPCWSTR mediaPath, ComPtr<qm_mdc::IDataSourceUnitMgrCtrl>& manager);
    // Appends to target the units of this manager cut to the section; stops at the first
    // failure.
    HRESULT CopyUnitsInRange(qm_mdc::IDataSourceUnitMgrCtrl* target, LPCWSTR mediaPath, REFERENCE_TIME start,
                             REFERENCE_TIME end);
    // Appends a DataSource element with the manager's content to parentNode.
    HRESULT WriteElement(IXMLDOMNode* parentNode, IXMLDOMDocument* document, const wstring& mediaPath);
    HRESULT Write(IXMLDOMNode* parentNode, IXMLDOMDocument* document, ILibraryItem* pLibraryItem);

    ComPtr<qm_mdc::IDataSourceUnitMgrCtrl> m_dsuMgrCtrl;
};
} // namespace Quillmar::Library::Native
