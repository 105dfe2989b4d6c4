// What a clip asks of the media engine: its cache entry, duration, thumbnails, index
// files and sources. Without a bound engine there is no cache, and the operations that
// need the engine itself answer E_NOTIMPL.
#include "qm/Library/CLibraryItem.h"

#include "DataAccess/Library/SourceCache.h"
#include "Logging/QMLog.h"

namespace Quillmar::Library::Native
{
ComPtr<ISourceCache> g_sourceCache;

namespace
{
constexpr GUID kCachedSourceService = qm::ParseGuid("{C15A5600-52DB-4ED1-B091-97750D006828}");
} // namespace

HRESULT CLibraryItem::RemoveFromSourceCache(bool)
{
    QMCheckCondition(g_sourceCache, E_UNEXPECTED);
    return E_NOTIMPL;
}

HRESULT CLibraryItem::put_CachedSourceInfo(ICachedSourceInfo* info)
{
    Standard::ScopedLock lock(m_lock);
    m_cachedSourceInfo = info;
    m_cachedSourceResult = S_OK;
    return S_OK;
}

HRESULT CLibraryItem::get_CachedSourceInfo(ICachedSourceInfo** ppVal)
{
    QMCheckCondition(ppVal != 0, E_POINTER);
    *ppVal = nullptr;
    Standard::ScopedLock lock(m_lock);
    if (m_cachedSourceInfo)
    {
        *ppVal = ComPtr<ICachedSourceInfo>(m_cachedSourceInfo).Detach();
        return S_OK;
    }
    // No cache, no entry: building one needs the engine.
    return m_cachedSourceResult;
}

HRESULT CLibraryItem::get_Duration(REFERENCE_TIME* pVal)
{
    QMCheckCondition(pVal != nullptr, E_POINTER);
    *pVal = m_duration;
    if (m_duration != kTimeNotSet || m_itemType != ItemKindVideo)
        return S_OK;
    ComPtr<ICachedSourceInfo> entry;
    const HRESULT hr = get_CachedSourceInfo(entry.GetAddressOf());
    if (FAILED(hr))
    {
        QMLog(1, u"Failed to get or create cached source info, hres=0x%08x", static_cast<unsigned>(hr));
        return hr;
    }
    if (!entry)
        return S_OK;
    ComPtr<ICachedStreamSourceInfo> cachedStreamSourceInfo;
    entry.As(&cachedStreamSourceInfo);
    QMCheckCondition(cachedStreamSourceInfo, E_NOINTERFACE);
    QMLogHRESULT(cachedStreamSourceInfo->get_Duration(pVal));
    return S_OK;
}

bool CLibraryItem::HasSourceInfo()
{
    if (m_itemType == ItemKindVideo && g_sourceCache)
    {
        Standard::ScopedLock lock(m_lock);
        if (m_cachedSourceInfo)
            return true;
    }
    return m_duration != kTimeNotSet;
}

HRESULT CLibraryItem::QueryService(REFGUID service, REFIID, void** ppv)
{
    if (ppv)
        *ppv = nullptr;
    if (service != kCachedSourceService)
        return E_NOTIMPL;
    if (!m_isAttachedToFile || m_itemType != ItemKindVideo)
        return E_NOINTERFACE;
    return E_NOTIMPL;
}

HRESULT CLibraryItem::GetThumbnail(REFERENCE_TIME, SIZE, HBITMAP*, SIZE*, SIZE*, LONG*) { return E_NOTIMPL; }

HRESULT CLibraryItem::GetThumbnailEx(REFERENCE_TIME, SIZE, HBITMAP*, SIZE*, SIZE*, LONG*, wstring*, bool)
{
    return E_NOTIMPL;
}

HRESULT CLibraryItem::GetIndexFile(bool, HWND, wstring*) { return E_NOTIMPL; }

HRESULT CLibraryItem::BeginIndexing(Standard::IAsyncCallback* pCallback, IUnknown*)
{
    QMCheckCondition(pCallback, E_INVALIDARG);
    return E_NOTIMPL;
}

HRESULT CLibraryItem::EndIndexing(Standard::IAsyncResult*) { return E_NOTIMPL; }

// No indexing can be running without the engine.
HRESULT CLibraryItem::AbortIndexing() { return S_OK; }

HRESULT CLibraryItem::ReloadSourceInfo(LPCWSTR) { return E_NOTIMPL; }

HRESULT CLibraryItem::CreateSource(IUnknown** ppSource, bool)
{
    if (ppSource)
        *ppSource = nullptr;
    return E_NOTIMPL;
}
} // namespace Quillmar::Library::Native
