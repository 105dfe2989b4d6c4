// One unit: an element of a DataSource, kept as it was read, and the range of a clip it
// was cut to, if any.
#pragma once

#include "qm/MetadataCore.h"
#include "qm/Platform/Com/ComPtr.h"
#include "qm/Platform/Com/ObjectRoot.h"

#include <optional>
#include <utility>

namespace qm_mdc
{
class DataSourceUnit final : public Standard::CComObjectRootEx<Standard::CComMultiThreadModel>,
                             public IDataSourceUnit,
                             public IDataSourceUnitClone,
                             private Standard::AllocatedResource<DataSourceUnit>
{
public:
    // The private identifier by which the manager finds its own units.
    static constexpr CLSID ClassId = qm::ParseGuid("{0F4B3C6A-2D8E-4A71-9B05-7C3E1D2A6F48}");
    using Range = std::pair<REFERENCE_TIME, REFERENCE_TIME>;

    // A unit holding a copy of element.
    static HRESULT Create(IXMLDOMNode* element, std::optional<Range> range, DataSourceUnit** unit);

    QM_IUNKNOWN_IMPL(DataSourceUnit, IDataSourceUnit, IDataSourceUnitClone, qm::QISelf<DataSourceUnit>)

    HRESULT CloneRange(LPCWSTR mediaPath, REFERENCE_TIME start, REFERENCE_TIME end, REFIID riid, void** ppv) override;

    // A unit of its own with the same content and range.
    HRESULT Copy(DataSourceUnit** copy) const;
    // Appends a copy of the unit's element to parent, with the range written on it.
    HRESULT WriteInto(IXMLDOMNode* parent) const;

private:
    DataSourceUnit(ComPtr<IXMLDOMNode> content, std::optional<Range> range) noexcept
        : m_content(std::move(content)), m_range(range)
    {
    }
    ~DataSourceUnit() = default;

    ComPtr<IXMLDOMNode> m_content;
    std::optional<Range> m_range;
};
} // namespace qm_mdc
