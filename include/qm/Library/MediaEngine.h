// The media engine's cache interfaces, as the clip layer holds and calls them. The engine
// is bound at run time; until a host hands in a cache, clips have no cache entries.
#pragma once

#include "qm/Platform/Com/Unknown.h"
#include "qm/Platform/Kernel/FileTime.h"
#include "qm/Platform/Types.h"

// A bitmap handle of the imaging layer.
using HBITMAP = struct HBITMAP__*;
using HWND = struct HWND__*;

struct SIZE
{
    LONG cx = 0;
    LONG cy = 0;
};

// A cache entry of one media file.
struct ICachedSourceInfo : IUnknown
{
};

struct ICachedFileSourceInfo : IUnknown
{
    virtual bool HasIndexFile() = 0;
    virtual HRESULT GetIndexFile(wstring* path) = 0;
    virtual HRESULT SetIndexFile(const wstring& path) = 0;
    virtual bool RequiresIndex() = 0;
};
QM_DECLARE_IID(ICachedFileSourceInfo, "{EF7496CC-E98C-410B-A96E-148A8E5B5CF8}")

struct ICachedStreamSourceInfo : IUnknown
{
    virtual HRESULT get_Duration(REFERENCE_TIME* duration) = 0;
};
QM_DECLARE_IID(ICachedStreamSourceInfo, "{B40FE58D-F91E-472C-B038-22E8C3BA604B}")

// The host's source cache.
struct ISourceCache : IUnknown
{
    virtual HRESULT StopIndexing() = 0;
    virtual HRESULT FindThumbnail(LPCWSTR mediaPath, REFERENCE_TIME time, wstring* thumbnailPath, SIZE* size,
                                  SIZE* nativeSize, LONG* rotation) = 0;
    virtual HRESULT FindSourceInfo(LPCWSTR mediaPath, ICachedSourceInfo** entry) = 0;
    virtual HRESULT AddSourceInfo(IUnknown* sourceInfo, ICachedSourceInfo** entry) = 0;
    virtual HRESULT AddThumbnail(LPCWSTR mediaPath, HBITMAP bitmap, REFERENCE_TIME time) = 0;
    virtual HRESULT Remove(LPCWSTR mediaPath) = 0;
    virtual HRESULT Purge() = 0;
    virtual HRESULT Flush(DWORD flags) = 0;
    virtual HRESULT Rename(LPCWSTR oldPath, LPCWSTR newPath) = 0;
    virtual HRESULT GetFileInCache(LPCWSTR mediaPath, LPCWSTR extension, wstring* path) = 0;
};

namespace qm_ChannelIO
{
// Told by the engine's indexing thread how an index scan ended.
struct FileSourceIndexerCallback
{
    virtual void OnIndexingDone() = 0;
    virtual void OnIndexingFailed(HRESULT error) = 0;

protected:
    ~FileSourceIndexerCallback() = default;
};
} // namespace qm_ChannelIO
