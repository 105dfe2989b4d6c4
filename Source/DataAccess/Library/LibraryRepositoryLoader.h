// The folder scan of a repository: walks its folders depth first and asks the factory for
// an unloaded item for every supported file. It runs on the repository's thread and polls
// the stop event once per folder entry.
#pragma once

#include "Platform/Kernel/FileSystem.h"
#include "Runtime/ManualResetEvent.h"

#include "qm/Library/LibraryItemFactory.h"
#include "qm/Platform/Com/ComPtr.h"

#include <vector>

namespace Quillmar::Library::Native
{
class LibraryRepositoryLoader
{
public:
    // Takes a reference on the factory; the stop event is borrowed and may be null.
    LibraryRepositoryLoader(ILibraryItemFactory* factory, Standard::ManualResetEvent* stopEvent);

    // S_OK with the items found exchanged into result, or E_ABORT after a stop, with
    // result untouched. A missing or unreadable folder is no failure.
    HRESULT Scan(std::vector<wstring> folders, std::vector<ComPtr<ILibraryItem>>& result);

private:
    bool StopRequested() const;
    bool VisitFolder(const wstring& folder);
    void VisitEntry(const wstring& folder, const qm::FolderEntry& entry);

    ComPtr<ILibraryItemFactory> m_factory;
    std::vector<ComPtr<ILibraryItem>> m_items;
    Standard::ManualResetEvent* m_stopEvent;
};
} // namespace Quillmar::Library::Native
