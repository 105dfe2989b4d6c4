#include "DataAccess/Library/MDDataSource.h"

#include "DataAccess/Library/XmlNodeAccess.h"
#include "Logging/QMLog.h"
#include "Platform/Xml/XmlDocumentHelpers.h"
#include "qm/Library/LibraryItem.h"

namespace Quillmar::Library::Native
{
namespace
{
constexpr const char16_t* kLoadFailed = u"Failed to load data source extension node.";
} // namespace

HRESULT CMDDataSource::Clone(IMDExtension** zeclone, int)
{
    QMCheckCondition(zeclone != nullptr, E_POINTER);
    auto copy = qm::MakeObject<CMDDataSource>();
    QMCheckCondition(copy != nullptr, E_OUTOFMEMORY);
    const ComPtr<qm_mdc::IDataSourceUnitMgrCtrl> dsuMgrCtrl = m_dsuMgrCtrl;
    QMCheckCondition(dsuMgrCtrl != nullptr, E_UNEXPECTED);
    ComPtr<qm_mdc::IDataSourceUnitMgrCtrl> newDSUMMgr;
    QMLogHRESULT(dsuMgrCtrl->CloneManager(newDSUMMgr.GetAddressOf()));
    QMCheckCondition(newDSUMMgr != nullptr, E_NOINTERFACE);
    QMCheckHRESULT(copy->SetDataSourceUnitMgr(newDSUMMgr.Get()));
    *zeclone = static_cast<IMDDataSource*>(copy.Detach());
    return S_OK;
}

HRESULT CMDDataSource::QueryManager(REFIID iid, void** ppv)
{
    QMCheckCondition(ppv != nullptr, E_POINTER);
    if (!m_dsuMgrCtrl)
        return S_FALSE;
    return m_dsuMgrCtrl->QueryInterface(iid, ppv);
}

HRESULT CMDDataSource::SetDataSourceUnitMgr(IUnknown* pDSUMgr)
{
    QMCheckCondition(pDSUMgr != nullptr, E_INVALIDARG);
    // Queried before the old one goes, so that handing in the current manager keeps it.
    m_dsuMgrCtrl = QueryTo<qm_mdc::IDataSourceUnitMgrCtrl>(pDSUMgr);
    m_dirty = true;
    return S_OK;
}

HRESULT CMDDataSource::CopyUnitsInRange(qm_mdc::IDataSourceUnitMgrCtrl* target, LPCWSTR mediaPath, REFERENCE_TIME start,
                                        REFERENCE_TIME end)
{
    LONG count = 0;
    QMCheckHRESULT(m_dsuMgrCtrl->GetUnitCount(&count));
    for (LONG index = 0; index < count; ++index)
    {
        ComPtr<qm_mdc::IDataSourceUnit> unit;
        QMCheckHRESULT(
            m_dsuMgrCtrl->GetUnit(index, qm_mdc::IID_IDataSourceUnit, reinterpret_cast<void**>(unit.GetAddressOf())));
        if (!unit)
            continue;
        ComPtr<qm_mdc::IDataSourceUnitClone> section;
        QMCheckHRESULT(unit->CloneRange(mediaPath, start, end, qm_mdc::IID_IDataSourceUnitClone,
                                        reinterpret_cast<void**>(section.GetAddressOf())));
        QMCheckHRESULT(target->AddUnit(section.Get()));
    }
    return S_OK;
}

HRESULT CMDDataSource::CloneRange(LPCWSTR mediaPath, REFERENCE_TIME start, REFERENCE_TIME end, REFIID iid, void** ppv)
{
    QMCheckCondition(m_dsuMgrCtrl, E_UNEXPECTED);
    auto copy = qm::MakeObject<CMDDataSource>();
    QMCheckCondition(copy != nullptr, E_OUTOFMEMORY);
    ComPtr<qm_mdc::IDataSourceUnitMgrCtrl> manager;
    QMCheckHRESULT(qm_mdc::CreateDataSourceUnitMgr(manager.GetAddressOf()));
    QMCheckHRESULT(copy->SetDataSourceUnitMgr(manager.Get()));
    // A unit that cannot be cut was logged and ends the copy; the section keeps what it has.
    CopyUnitsInRange(manager.Get(), mediaPath, start, end);
    return copy->QueryInterface(iid, ppv);
}

HRESULT CMDDataSource::ReadManager(IXMLDOMNode* node, LPCWSTR mediaPath,
                                   ComPtr<qm_mdc::IDataSourceUnitMgrCtrl>& manager)
{
    ComPtr<qm_mdc::IDataSourceUnitMgrCtrl> candidate;
    QMCheckHRESULT(qm_mdc::CreateDataSourceUnitMgr(candidate.GetAddressOf()));
    const auto persister = QueryTo<qm_mdc::IDataSourceUnitMgrPersist>(candidate.Get());
    QMCheckCondition(persister != 0, E_NOINTERFACE);
    if (!persister->Load(node, mediaPath))
    {
        QMLogMessage(1, kLoadFailed);
        return S_FALSE;
    }
    manager = std::move(candidate);
    return S_OK;
}

HRESULT CMDDataSource::LoadFromXmlText(LPCWSTR xml)
{
    ComPtr<IXMLDOMDocument> document;
    HRESULT hr = CreateDocument(document.GetAddressOf(), false);
    if (FAILED(hr))
        return hr;
    VARIANT_BOOL success = VARIANT_FALSE;
    QMCheckHRESULT(document->loadXML(CComBSTR(xml), &success));
    QMCheckCondition(success == ((VARIANT_BOOL)-1), E_FAIL);
    // The text's root element must be the DataSource element itself.
    ComPtr<IXMLDOMNode> node;
    QMCheckHRESULT(SelectNode(document.Get(), kNodeName, node));
    ComPtr<qm_mdc::IDataSourceUnitMgrCtrl> manager;
    // Failures were logged where they arose; S_FALSE keeps the old manager.
    if ((hr = ReadManager(node.Get(), u"", manager)) != S_OK)
        return hr;
    m_dsuMgrCtrl = std::move(manager);
    m_dirty = true;
    return S_OK;
}

HRESULT CMDDataSource::WriteElement(IXMLDOMNode* parentNode, IXMLDOMDocument* document, const wstring& mediaPath)
{
    ComPtr<IXMLDOMElement> pNode;
    QMCheckHRESULT(CreateElement(document, kNodeName, pNode));
    QMCheckCondition(pNode != nullptr, E_INVALIDARG);
    const auto persister = QueryTo<qm_mdc::IDataSourceUnitMgrPersist>(m_dsuMgrCtrl.Get());
    QMCheckCondition(persister != 0, E_NOINTERFACE);
    const bool res = persister->Save(pNode.Get(), mediaPath.c_str());
    QMCheckCondition(res, E_FAIL);
    QMCheckHRESULT(parentNode->appendChild(pNode.Get(), nullptr));
    return S_OK;
}

HRESULT CMDDataSource::Write(IXMLDOMNode* parentNode, IXMLDOMDocument* document, ILibraryItem* pLibraryItem)
{
    // A dirty extension without a manager writes as one without units: no element.
    LONG count = 0;
    if (m_dsuMgrCtrl)
        QMCheckHRESULT(m_dsuMgrCtrl->GetUnitCount(&count));
    if (count <= 0)
        return S_OK;
    const wstring mediaPath = pLibraryItem ? pLibraryItem->get_MediaPath() : wstring();
    return WriteElement(parentNode, document, mediaPath);
}

HRESULT CMDDataSource::Load(IXMLDOMNode* xmlParentNode, ILibraryItem* pLibraryItem)
{
    QMCheckCondition(xmlParentNode != 0, E_INVALIDARG);
    QMCheckCondition(pLibraryItem != 0, E_INVALIDARG);
    const wstring mediaPath = pLibraryItem->get_MediaPath();
    ComPtr<IXMLDOMNode> node;
    QMCheckHRESULT(SelectNode(xmlParentNode, kNodeName, node));
    ComPtr<qm_mdc::IDataSourceUnitMgrCtrl> manager;
    // S_FALSE tells the caller not to keep this extension.
    const HRESULT hr = ReadManager(node.Get(), mediaPath.c_str(), manager);
    if (hr != S_OK)
        return hr;
    m_dsuMgrCtrl = std::move(manager);
    m_dirty = false;
    return S_OK;
}

HRESULT CMDDataSource::Delete(IXMLDOMNode* parentNode, ILibraryItem*)
{
    QMCheckHRESULT(RemoveElements(parentNode));
    m_dirty = false;
    m_dsuMgrCtrl = nullptr;
    return S_OK;
}
} // namespace Quillmar::Library::Native
