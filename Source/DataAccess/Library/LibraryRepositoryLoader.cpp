#include "DataAccess/Library/LibraryRepositoryLoader.h"

#include "DataAccess/Library/ItemKinds.h"
#include "Logging/QMLog.h"
#include "Platform/Kernel/Path.h"

#include "qm/Platform/Text/CaseFolding.h"

#include <algorithm>

namespace Quillmar::Library::Native
{
namespace
{
// The order of a folder's entries: by the case rule, ties by code units, so that every
// machine lists a library alike whatever order the file system keeps.
bool EntryBefore(const qm::FolderEntry& a, const qm::FolderEntry& b)
{
    const int order = qm::CompareNoCase(a.name, b.name);
    return order != 0 ? order < 0 : a.name < b.name;
}

wstring ChildPath(const wstring& folder, const wstring& name)
{
    wstring path;
    path.reserve(folder.size() + 1 + name.size());
    path += folder;
    if (path.empty() || path.back() != u'/')
        path += u'/';
    path += name;
    return path;
}

// Folders by length, and each kept unless it lies inside one kept before it (a folder
// equal to a kept one too, so that no clip is found twice).
std::vector<wstring> ReduceNested(std::vector<wstring> folders)
{
    std::stable_sort(folders.begin(), folders.end(), [](const wstring& a, const wstring& b) { return a.size() < b.size(); });
    std::vector<wstring> kept;
    for (wstring& folder : folders)
    {
        const bool inside = std::any_of(kept.begin(), kept.end(), [&](const wstring& k) { return qm::PathLiesInside(folder, k); });
        if (!inside)
            kept.push_back(std::move(folder));
    }
    return kept;
}
} // namespace

LibraryRepositoryLoader::LibraryRepositoryLoader(ILibraryItemFactory* factory, Standard::ManualResetEvent* stopEvent)
    : m_factory(factory), m_stopEvent(stopEvent)
{
}

bool LibraryRepositoryLoader::StopRequested() const { return m_stopEvent != nullptr && m_stopEvent->Wait(0); }

HRESULT LibraryRepositoryLoader::Scan(std::vector<wstring> folders, std::vector<ComPtr<ILibraryItem>>& result)
{
    QMLog(3, u"----------> Scan started");
    m_items.clear();
    bool aborted = false;
    for (const wstring& folder : ReduceNested(std::move(folders)))
    {
        if (StopRequested())
        {
            aborted = true;
            break;
        }
        if (!PathFileExistsW(folder))
        {
            QMLog(3, u"----------> Parsing folder: '%s' -> Folder not found, consider removing it to speed-up load time.",
                  folder.c_str());
            continue;
        }
        QMLog(3, u"----------> Parsing folder: '%s'", folder.c_str());
        if (!VisitFolder(folder))
            QMLog(3, u"----------> Parsing returned an error");
    }
    if (aborted || StopRequested())
    {
        QMLog(3, u"----------> Scan aborted");
        return E_ABORT;
    }
    QMLog(3, u"----------> Found %d library items", static_cast<int>(m_items.size()));
    result.swap(m_items);
    return S_OK;
}

bool LibraryRepositoryLoader::VisitFolder(const wstring& folder)
{
    std::vector<qm::FolderEntry> entries;
    // A folder that cannot be read (no permission, gone meanwhile) holds nothing to visit.
    if (FAILED(qm::FileSystem().ListFolder(folder, entries)))
        return true;
    std::sort(entries.begin(), entries.end(), EntryBefore);
    for (const qm::FolderEntry& entry : entries)
    {
        if (StopRequested())
            return false;
        if (!entry.name.empty() && entry.name[0] != u'.')
            VisitEntry(folder, entry);
    }
    return true;
}

void LibraryRepositoryLoader::VisitEntry(const wstring& folder, const qm::FolderEntry& entry)
{
    const wstring path = ChildPath(folder, entry.name);
    // A link to a folder is not followed: a link loop must not hold a scan.
    if (entry.isDirectory && !entry.isSymlink)
    {
        VisitFolder(path);
        return;
    }
    if (ItemKindOfPath(entry.name) == ItemKindUnknown)
        return;
    if (entry.isSymlink)
    {
        qm::FileAttributes target;
        if (FAILED(qm::FileSystem().GetAttributes(path, target, false)) || target.isDirectory)
            return;
    }
    ComPtr<ILibraryItem> item;
    if (SUCCEEDED(m_factory->GetLibraryItemEx(path.c_str(), false, item.GetAddressOf())) && item)
        m_items.push_back(std::move(item));
}
} // namespace Quillmar::Library::Native
