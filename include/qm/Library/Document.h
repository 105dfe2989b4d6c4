// Notebook documents and device tracks: a notebook ties several videos and tracks
// together. The factory makes device tracks and keeps the documents it hands out.
#pragma once

#include "qm/Platform/Com/ComPtr.h"
#include "qm/Runtime/Event.h"
#include "qm/Runtime/PropertyEvent.h"

#include <vector>

struct ILibraryItem;
struct ILibraryItemMarker;
struct ILibraryItemMarkerManager;

struct IDeviceTrack : IUnknown
{
    virtual HRESULT put_Name(const wstring& name) = 0;
    virtual wstring get_Name() = 0;
};
QM_DECLARE_IID(IDeviceTrack, "{F3B7B213-41C3-4CCE-89B4-5D97BAC877B2}")

struct IDocument : IUnknown
{
    virtual HRESULT QueryMarkerManager(ILibraryItemMarkerManager** pp) = 0;
    virtual HRESULT QueryMarker(ILibraryItemMarker** pp) = 0;
    virtual HRESULT get_PrimaryItem(ILibraryItem** pp) = 0;
    virtual bool ContainsItem(ILibraryItem* item) = 0;
    virtual bool IsPrimaryPath(wstring_view path) = 0;
    virtual bool IsPrimaryItem(ILibraryItem* item) = 0;
    virtual HRESULT AddVideo(ILibraryItem* pLibraryItem, wstring_view name) = 0;
    virtual HRESULT RemoveVideo(ILibraryItem* pLibraryItem) = 0;
    virtual HRESULT MoveTrack(size_t destination, size_t source) = 0;
    virtual HRESULT SetTracks(const std::vector<ILibraryItem*>& tracks) = 0;
    virtual MVVM::PropertyEvent<size_t, size_t>& get_TrackMoved() = 0;
    virtual std::vector<ComPtr<ILibraryItem>> GetTracks() = 0;
    virtual size_t GetTrackCount() = 0;
    virtual size_t GetVideoCount() = 0;
    virtual bool HasTracks() = 0;
    virtual HRESULT GetTrack(size_t index, ILibraryItem** pp) = 0;
    virtual ComPtr<ILibraryItem> GetTrackAt(size_t index) = 0;
    virtual std::int64_t GetFirstTrackDuration() = 0;
    virtual size_t IndexOfTrack(ILibraryItem* item) = 0;
    virtual wstring GetTrackName(size_t index) = 0;
    virtual HRESULT SetTrackName(size_t index, const wstring& name) = 0;
    virtual std::vector<ComPtr<ILibraryItem>> GetItems() = 0;
    virtual wstring GetFolder() = 0;
    virtual bool HasNotebook() = 0;
    virtual void Compact() = 0;
    virtual void put_SelectedTrack(size_t index) = 0;
    virtual size_t get_SelectedTrack() = 0;
    virtual MVVM::Event& get_SelectedTrackChanged() = 0;
    virtual MVVM::PropertyEvent<ILibraryItem*>& get_VideoAdded() = 0;
    virtual MVVM::PropertyEvent<ILibraryItem*>& get_VideoRemoved() = 0;
};
QM_DECLARE_IID(IDocument, "{E1257A69-7290-4364-9526-A044A5FDB0E7}")
