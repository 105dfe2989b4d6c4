// A manager of data source units, read from and written to a DataSource element. It
// keeps the element's own attributes and every child in order: child elements are its
// units, other children (text, comments) are kept as they are.
#pragma once

#include "MetadataCore/DataSourceUnit.h"

#include <vector>

namespace qm_mdc
{
class DataSourceUnitMgr final : public Standard::CComObjectRootEx<Standard::CComMultiThreadModel>,
                                public IDataSourceUnitMgrCtrl,
                                public IDataSourceUnitMgrPersist,
                                private Standard::AllocatedResource<DataSourceUnitMgr>
{
public:
    static HRESULT Create(DataSourceUnitMgr** manager);

    QM_IUNKNOWN_IMPL(DataSourceUnitMgr, IDataSourceUnitMgrCtrl, IDataSourceUnitMgrPersist)

    HRESULT GetUnitCount(LONG* count) override;
    HRESULT GetUnit(LONG index, REFIID riid, void** ppv) override;
    HRESULT CloneManager(IDataSourceUnitMgrCtrl** manager) override;
    HRESULT AddUnit(IUnknown* unit) override;
    HRESULT SetRangeEnd(REFERENCE_TIME end) override;
    HRESULT SetRangeStart(REFERENCE_TIME start) override;
    HRESULT GetRangeStart(REFERENCE_TIME* start) override;
    HRESULT GetRangeEnd(REFERENCE_TIME* end) override;

    bool Load(IXMLDOMNode* node, LPCWSTR mediaPath) override;
    bool Save(IXMLDOMNode* node, LPCWSTR mediaPath) override;

private:
    struct Child
    {
        ComPtr<DataSourceUnit> unit; // a child element
        ComPtr<IXMLDOMNode> other;   // any other child, as it was read
    };
    struct Content
    {
        std::vector<std::pair<wstring, wstring>> attributes;
        std::vector<Child> children;
        std::optional<REFERENCE_TIME> rangeStart;
        std::optional<REFERENCE_TIME> rangeEnd;
    };

    DataSourceUnitMgr() = default;
    ~DataSourceUnitMgr() = default;

    static HRESULT Read(IXMLDOMNode* node, Content& content);
    HRESULT Write(IXMLDOMNode* node) const;

    Content m_content;
};
} // namespace qm_mdc
