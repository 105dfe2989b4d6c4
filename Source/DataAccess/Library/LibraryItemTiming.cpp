// Time on a clip: cue points in both units, the thumbnail position, and the rewrites of
// all times after a change of speed or a cut.
#include "qm/Library/CLibraryItem.h"

#include "DataAccess/Library/XMLLibraryParser.h"
#include "DataAccess/Library/XmlNodeAccess.h"
#include "Logging/QMLog.h"
#include "qm/MetadataCore.h"

#include <optional>

namespace Quillmar::Library::Native
{
namespace
{
constexpr REFERENCE_TIME kUnitsPerMillisecond = 10000;

bool IsCueSet(REFERENCE_TIME value) { return value != kTimeNotSet; }

// A cue read from an attribute: reference time, or 32-bit milliseconds in old files. A
// failed read is returned; a text that is no number leaves the cue unset.
HRESULT ReadCue(IXMLDOMElement* element, wstring_view name, bool referenceTime, REFERENCE_TIME& cue)
{
    CComVariant text;
    const HRESULT hr = element->getAttribute(CComBSTR(name), &text);
    if (FAILED(hr) || text.vt != VT_BSTR)
        return hr;
    CComVariant number;
    if (FAILED(VariantChangeType(&number, &text, 0, referenceTime ? VT_I8 : VT_I4)))
        return S_OK;
    cue = referenceTime ? number.llVal : static_cast<REFERENCE_TIME>(number.lVal) * kUnitsPerMillisecond;
    return S_OK;
}

// The quotient truncated towards 0, or nothing where it leaves the range of times.
std::optional<REFERENCE_TIME> Divide(REFERENCE_TIME value, double factor)
{
    constexpr double kLimit = 9223372036854775808.0; // 2^63
    const double quotient = static_cast<double>(value) / factor;
    if (!(quotient > -kLimit && quotient < kLimit))
        return std::nullopt;
    return static_cast<REFERENCE_TIME>(quotient);
}

// The difference, or nothing where it leaves the range of times or lands on the value
// that means "not set".
std::optional<REFERENCE_TIME> Subtract(REFERENCE_TIME value, REFERENCE_TIME origin)
{
    REFERENCE_TIME difference = 0;
    if (__builtin_sub_overflow(value, origin, &difference) || difference == kTimeNotSet)
        return std::nullopt;
    return difference;
}

ComPtr<ILibraryItemMarker> AsMarker(ILibraryItem* item)
{
    ComPtr<ILibraryItemMarker> marker;
    if (item)
        item->QueryInterface(IID_ILibraryItemMarker, reinterpret_cast<void**>(marker.GetAddressOf()));
    return marker;
}

// Cue in and cue out of a marker, a missing one read as 0.
void ReadCues(ILibraryItemMarker* marker, REFERENCE_TIME& in, REFERENCE_TIME& out)
{
    marker->get_CueIn(&in);
    marker->get_CueOut(&out);
}

// Every cue that is set gives a time when rewritten: checked before a rewrite of all
// times starts, so that a value out of range refuses the whole of it.
template <class Rewrite>
bool CuesFit(ILibraryItemMarker* marker, Rewrite rewrite)
{
    REFERENCE_TIME in = 0, out = 0;
    const bool inFits = marker->get_CueIn(&in) != S_OK || rewrite(in).has_value();
    const bool outFits = marker->get_CueOut(&out) != S_OK || rewrite(out).has_value();
    return inFits && outFits;
}

// True when each marker in memory that passes `select` passes `check`.
template <class Collections, class Select, class Check>
bool AllMarkers(const Collections& collections, Select select, Check check)
{
    for (const auto& [type, markers] : collections)
        for (const auto& item : markers)
            if (const auto marker = AsMarker(item.Get()); marker && select(marker.Get()) && !check(marker.Get()))
                return false;
    return true;
}
} // namespace

HRESULT CLibraryItem::ReadCuePoints()
{
    QMCheckCondition(m_node != nullptr, E_UNEXPECTED);
    ComPtr<IXMLDOMElement> element;
    AsElement(m_node.Get(), element);
    QMCheckCondition(element != 0, E_NOINTERFACE);
    m_cueIn = m_cueOut = kTimeNotSet;
    std::optional<wstring> unit;
    QMCheckHRESULT(GetAttributeText(element.Get(), u"UNIT", unit));
    const bool referenceTime = unit && unit->starts_with(u"RefTime");
    QMCheckHRESULT(ReadCue(element.Get(), u"IN", referenceTime, m_cueIn));
    QMCheckHRESULT(ReadCue(element.Get(), u"OUT", referenceTime, m_cueOut));
    return S_OK;
}

HRESULT CLibraryItem::WriteCuePoints()
{
    QMCheckHRESULT(EnsureLoaded());
    QMCheckCondition(m_node != 0, E_UNEXPECTED);
    ComPtr<IXMLDOMElement> element;
    AsElement(m_node.Get(), element);
    QMCheckCondition(element, E_UNEXPECTED);
    if (IsCueSet(m_cueIn))
        QMCheckHRESULT(SetAttribute(element.Get(), u"IN", CComVariant(wstring_view(FormatInt64Text(m_cueIn)))));
    else
        QMCheckHRESULT(RemoveAttribute(element.Get(), u"IN"));
    if (IsCueSet(m_cueOut))
        QMCheckHRESULT(SetAttribute(element.Get(), u"OUT", CComVariant(static_cast<LONGLONG>(m_cueOut))));
    else
        QMCheckHRESULT(RemoveAttribute(element.Get(), u"OUT"));
    if (!IsCueSet(m_cueIn) && !IsCueSet(m_cueOut))
        QMCheckHRESULT(RemoveAttribute(element.Get(), u"UNIT"));
    else
        QMCheckHRESULT(SetAttribute(element.Get(), u"UNIT", CComVariant(u"RefTime")));
    return S_OK;
}

HRESULT CLibraryItem::FireCueEvents(bool in, bool out)
{
    if (in)
        m_propertyChanged.Fire(nullptr, PKEY_CueIn);
    if (out)
        m_propertyChanged.Fire(nullptr, PKEY_CueOut);
    return S_OK;
}

// The cue setters load first: a load after the store would put the file's cue points back.
HRESULT CLibraryItem::put_CueIn(REFERENCE_TIME value)
{
    QMCheckHRESULT(LoadForWrite());
    if (value == m_cueIn)
        return S_OK;
    m_cueIn = value;
    QMCheckHRESULT(WriteCuePoints());
    return FireCueEvents(true, false);
}

HRESULT CLibraryItem::put_CueOut(REFERENCE_TIME value)
{
    QMCheckHRESULT(LoadForWrite());
    if (value == m_cueOut)
        return S_OK;
    m_cueOut = value;
    QMCheckHRESULT(WriteCuePoints());
    return FireCueEvents(false, true);
}

HRESULT CLibraryItem::SetCuePoints(REFERENCE_TIME in, REFERENCE_TIME out)
{
    QMCheckHRESULT(LoadForWrite());
    if (in == m_cueIn && out == m_cueOut)
        return S_OK;
    m_cueIn = in;
    m_cueOut = out;
    QMCheckHRESULT(WriteCuePoints());
    return FireCueEvents(true, true);
}

HRESULT CLibraryItem::get_CueIn(REFERENCE_TIME* pCueIn)
{
    QMCheckCondition(pCueIn != 0, E_POINTER);
    *pCueIn = IsCueSet(m_cueIn) ? m_cueIn : 0;
    return IsCueSet(m_cueIn) ? S_OK : S_FALSE;
}

HRESULT CLibraryItem::get_CueOut(REFERENCE_TIME* pCueOut)
{
    QMCheckCondition(pCueOut != 0, E_POINTER);
    const bool set = IsCueSet(m_cueOut) && m_cueOut != kTimeOpenEnd;
    *pCueOut = set ? m_cueOut : 0;
    return set ? S_OK : S_FALSE;
}

HRESULT CLibraryItem::get_ThumbnailTime(REFERENCE_TIME* pVal)
{
    QMCheckCondition(pVal != 0, E_POINTER);
    *pVal = 0;
    if (m_thumbnailTime != -1)
    {
        *pVal = m_thumbnailTime;
        return S_OK;
    }
    ComPtr<ILibraryItem> chosen;
    if (const auto thumbnails = GetMarkers(MarkerTypeThumbnail); !thumbnails.empty())
        chosen = thumbnails.front();
    else
        for (const auto& marker : GetMarkers(MarkerTypeMarker))
            if (!chosen || From(marker.Get())->get_IsSynchMarker())
                chosen = marker;
    const ComPtr<ILibraryItemMarker> choice = chosen ? AsMarker(chosen.Get()) : ComPtr<ILibraryItemMarker>(this);
    REFERENCE_TIME cueIn = 0;
    if (choice->get_CueIn(&cueIn) != S_OK)
        return S_FALSE;
    *pVal = cueIn;
    return S_OK;
}

HRESULT CLibraryItem::put_ThumbnailTime(REFERENCE_TIME time)
{
    QMCheckHRESULT(LoadForWrite());
    const auto thumbnails = GetMarkers(MarkerTypeThumbnail);
    ComPtr<ILibraryItemMarker> marker;
    if (!thumbnails.empty())
        marker = AsMarker(thumbnails.front().Get());
    else
        QMCheckHRESULT(CreateMarker(MarkerTypeThumbnail, marker.GetAddressOf()));
    QMCheckHRESULT(marker->put_CueIn(time));
    m_thumbnailTime = time;
    return S_OK;
}

HRESULT CLibraryItem::GiveNewIds()
{
    QMCheckHRESULT(EnsureMarkersLoaded());
    for (const auto& [type, markers] : m_markerCollections)
        for (const auto& marker : markers)
        {
            GUID id{};
            CoCreateGuid(&id);
            QMCheckHRESULT(From(marker.Get())->SetId(qm::GuidToString(id)));
        }
    return S_OK;
}

HRESULT CLibraryItem::ScaleMarkerTimes(double speedFactor)
{
    for (const auto& [type, markers] : m_markerCollections)
        for (const auto& item : markers)
        {
            const ComPtr<CLibraryItem> marker = From(item.Get());
            QMCheckCondition(marker != nullptr, E_NOINTERFACE);
            GUID id{};
            CoCreateGuid(&id);
            QMCheckHRESULT(marker->SetId(qm::GuidToString(id)));
            REFERENCE_TIME cue = 0;
            if (marker->get_CueIn(&cue) == S_OK)
                QMCheckHRESULT(marker->put_CueIn(*Divide(cue, speedFactor)));
            if (marker->get_CueOut(&cue) == S_OK)
                QMCheckHRESULT(marker->put_CueOut(*Divide(cue, speedFactor)));
        }
    return S_OK;
}

HRESULT CLibraryItem::ApplySpeedFactor(double speedFactor)
{
    QMCheckCondition(speedFactor > 0, E_INVALIDARG);
    if (speedFactor == 1.0)
        return S_OK;
    if (m_itemType != ItemKindVideo)
        QMCheckHRESULT(E_UNEXPECTED);
    const auto scale = [speedFactor](REFERENCE_TIME cue) { return Divide(cue, speedFactor); };
    const auto any = [](ILibraryItemMarker*) { return true; };
    const bool scaledTimesFit =
        CuesFit(this, scale) && AllMarkers(m_markerCollections, any, [&](ILibraryItemMarker* m) { return CuesFit(m, scale); });
    QMCheckCondition(scaledTimesFit, E_INVALIDARG);
    REFERENCE_TIME cue = 0;
    if (get_CueIn(&cue) == S_OK)
        QMCheckHRESULT(put_CueIn(*scale(cue)));
    if (get_CueOut(&cue) == S_OK)
        QMCheckHRESULT(put_CueOut(*scale(cue)));
    QMCheckHRESULT(ScaleMarkerTimes(speedFactor));
    return S_OK;
}

HRESULT CLibraryItem::TrimMarkers(REFERENCE_TIME desiredIn, REFERENCE_TIME desiredOut, REFERENCE_TIME trueIn)
{
    for (auto& [type, entry] : m_markerCollections)
    {
        std::vector<ComPtr<ILibraryItem>> walked = std::move(entry);
        entry.clear();
        for (const auto& item : walked)
        {
            const ComPtr<CLibraryItem> marker = From(item.Get());
            GUID id{};
            CoCreateGuid(&id);
            QMCheckHRESULT(marker->SetId(qm::GuidToString(id)));
            REFERENCE_TIME in = 0, out = 0;
            ReadCues(marker.Get(), in, out);
            if (in >= desiredIn && out <= desiredOut)
            {
                if (REFERENCE_TIME cue = 0; marker->get_CueIn(&cue) == S_OK)
                    QMCheckHRESULT(marker->put_CueIn(*Subtract(cue, trueIn)));
                if (REFERENCE_TIME cue = 0; marker->get_CueOut(&cue) == S_OK)
                    QMCheckHRESULT(marker->put_CueOut(*Subtract(cue, trueIn)));
                entry.push_back(item);
            }
            else
                QMCheckHRESULT(marker->RemoveFrom(m_node.Get()));
        }
    }
    return S_OK;
}

HRESULT CLibraryItem::ReplaceDataSourceRange(REFERENCE_TIME trueIn, REFERENCE_TIME trueOut)
{
    ComPtr<IMDExtension> extension;
    const HRESULT found = GetExtension(MDTYPE_DataSource, IID_IMDExtension, reinterpret_cast<void**>(extension.GetAddressOf()));
    QMCheckHRESULT(found);
    if (found == S_FALSE)
        return S_OK;
    ComPtr<IMDExtension> clone;
    QMCheckHRESULT(extension->Clone(clone.GetAddressOf(), 0));
    ComPtr<IMDDataSource> dataSource;
    clone.As(&dataSource);
    QMCheckCondition(dataSource != nullptr, E_NOINTERFACE);
    ComPtr<qm_mdc::IDataSourceUnitMgrCtrl> manager;
    QMCheckHRESULT(dataSource->QueryManager(qm_mdc::IID_IDataSourceUnitMgrCtrl, reinterpret_cast<void**>(manager.GetAddressOf())));
    if (manager)
    {
        manager->SetRangeStart(trueIn);
        manager->SetRangeEnd(trueOut);
    }
    QMCheckHRESULT(AddExtension(clone.Get()));
    return S_OK;
}

HRESULT CLibraryItem::ApplyTrim(REFERENCE_TIME desiredInPoint, REFERENCE_TIME desiredOutPoint,
                                REFERENCE_TIME trueInPoint, REFERENCE_TIME trueOutPoint)
{
    QMCheckCondition(trueInPoint <= desiredInPoint, E_INVALIDARG);
    QMCheckCondition(trueOutPoint >= desiredOutPoint, E_INVALIDARG);
    QMCheckCondition(trueOutPoint >= trueInPoint, E_INVALIDARG);
    QMCheckCondition(desiredOutPoint >= desiredInPoint, E_INVALIDARG);
    if (m_itemType != ItemKindVideo)
        QMCheckHRESULT(E_UNEXPECTED);
    QMCheckHRESULT(EnsureMarkersLoaded());
    // Nothing changes unless every time that moves stays a time: the section's limits
    // (the cue in lies between 0 and the cue out), and the cues of the markers kept.
    const auto shift = [trueInPoint](REFERENCE_TIME cue) { return Subtract(cue, trueInPoint); };
    const auto kept = [&](ILibraryItemMarker* marker) {
        REFERENCE_TIME in = 0, out = 0;
        ReadCues(marker, in, out);
        return in >= desiredInPoint && out <= desiredOutPoint;
    };
    const bool shiftedTimesFit = shift(desiredOutPoint).has_value() &&
                                 AllMarkers(m_markerCollections, kept, [&](ILibraryItemMarker* m) { return CuesFit(m, shift); });
    QMCheckCondition(shiftedTimesFit, E_INVALIDARG);
    QMCheckHRESULT(put_CueIn(*shift(desiredInPoint)));
    QMCheckHRESULT(put_CueOut(*shift(desiredOutPoint)));
    QMCheckHRESULT(TrimMarkers(desiredInPoint, desiredOutPoint, trueInPoint));
    QMCheckHRESULT(ReplaceDataSourceRange(trueInPoint, trueOutPoint));
    return S_OK;
}

HRESULT CLibraryItem::CopyDataSourceTo(ILibraryItem* pTarget, REFERENCE_TIME in, REFERENCE_TIME out)
{
    QMCheckCondition(pTarget != nullptr, E_INVALIDARG);
    ComPtr<IMDDataSource> dataSource;
    const HRESULT found = QMLogHRESULT(
        GetExtension(MDTYPE_DataSource, IID_IMDDataSource, reinterpret_cast<void**>(dataSource.GetAddressOf())));
    if (found != S_OK)
        return S_OK;
    ComPtr<IMDExtension> extension;
    QMLogHRESULT(dataSource->CloneRange(pTarget->get_MediaPath().c_str(), in, out, IID_IMDExtension,
                                        reinterpret_cast<void**>(extension.GetAddressOf())));
    if (extension)
        QMCheckHRESULT(pTarget->AddExtension(extension.Get()));
    return S_OK;
}
} // namespace Quillmar::Library::Native
