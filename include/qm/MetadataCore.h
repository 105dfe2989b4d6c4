// The metadata module: managers of data source units, the data recorded beside a video.
// A manager reads a clip's DataSource element into units and writes it back as it found
// it, apart from the range it was given, which it writes as attributes of its own
// ("RangeStart", "RangeEnd", reference times) so that a trimmed copy says what it covers.
#pragma once

#include "qm/Platform/Xml/XmlDom.h"

namespace qm_mdc
{
struct IDataSourceUnitMgrCtrl : IUnknown
{
    virtual HRESULT GetUnitCount(LONG* count) = 0;
    // E_INVALIDARG for an index out of range.
    virtual HRESULT GetUnit(LONG index, REFIID riid, void** ppv) = 0;
    // A new manager with copies of the units and the range.
    virtual HRESULT CloneManager(IDataSourceUnitMgrCtrl** manager) = 0;
    // Takes a unit made by CloneRange of a unit of this module.
    virtual HRESULT AddUnit(IUnknown* unit) = 0;
    virtual HRESULT SetRangeEnd(REFERENCE_TIME end) = 0;
    virtual HRESULT SetRangeStart(REFERENCE_TIME start) = 0;
    // S_FALSE and the value untouched when no range was given.
    virtual HRESULT GetRangeStart(REFERENCE_TIME* start) = 0;
    virtual HRESULT GetRangeEnd(REFERENCE_TIME* end) = 0;
};
QM_DECLARE_IID(IDataSourceUnitMgrCtrl, "{B5E924F1-BE2D-4717-B87B-9DED5854729F}")

struct IDataSourceUnitMgrPersist : IUnknown
{
    // Fills the manager from a DataSource element; false for no node or one it cannot
    // take (another element, a range attribute that is no number), leaving it as it was.
    virtual bool Load(IXMLDOMNode* node, LPCWSTR mediaPath) = 0;
    // Writes the manager's content into the element given.
    virtual bool Save(IXMLDOMNode* node, LPCWSTR mediaPath) = 0;
};
QM_DECLARE_IID(IDataSourceUnitMgrPersist, "{98A22A13-377A-40F6-82B5-D05DF4391623}")

struct IDataSourceUnit : IUnknown
{
    // A new unit (as IDataSourceUnitClone or another interface asked for) for the section
    // from start to end of this unit.
    virtual HRESULT CloneRange(LPCWSTR mediaPath, REFERENCE_TIME start, REFERENCE_TIME end, REFIID riid,
                               void** ppv) = 0;
};
QM_DECLARE_IID(IDataSourceUnit, "{6BC0DD73-1191-4C66-A879-8AE01498BA4A}")

// The form in which CloneRange hands out a new unit, and AddUnit takes it.
struct IDataSourceUnitClone : IUnknown
{
};
QM_DECLARE_IID(IDataSourceUnitClone, "{E290ECC7-88F9-48DC-926D-5CF488C32FB0}")

QM_API HRESULT CreateDataSourceUnitMgr(IDataSourceUnitMgrCtrl** ppMgr);
} // namespace qm_mdc
