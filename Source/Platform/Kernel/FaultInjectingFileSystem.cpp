#include "Platform/Kernel/FaultInjectingFileSystem.h"

#include "Platform/Com/LastError.h"

namespace qm
{
FaultInjectingFileSystem::FaultInjectingFileSystem(IFileSystem& inner) : m_inner(inner) {}

void FaultInjectingFileSystem::Fail(Operation operation, int error, int count, wstring pathPart)
{
    std::lock_guard guard(m_lock);
    m_faults.push_back({operation, error, count, std::move(pathPart)});
}

void FaultInjectingFileSystem::SetDevice(wstring prefix, std::uint64_t device)
{
    std::lock_guard guard(m_lock);
    m_devices.emplace_back(std::move(prefix), device);
}

void FaultInjectingFileSystem::SetMountTop(wstring prefix, wstring top)
{
    std::lock_guard guard(m_lock);
    m_mountTops.emplace_back(std::move(prefix), std::move(top));
}

int FaultInjectingFileSystem::Calls(Operation operation) const
{
    std::lock_guard guard(m_lock);
    auto found = m_calls.find(operation);
    return found == m_calls.end() ? 0 : found->second;
}

template <class Value>
std::optional<Value> FaultInjectingFileSystem::LongestPrefix(const std::vector<std::pair<wstring, Value>>& table,
                                                             wstring_view path) const
{
    std::lock_guard guard(m_lock);
    std::optional<Value> found;
    std::size_t longest = 0;
    for (const auto& [prefix, value] : table)
        if (path.substr(0, prefix.size()) == prefix && prefix.size() >= longest)
        {
            longest = prefix.size();
            found = value;
        }
    return found;
}

bool FaultInjectingFileSystem::Inject(Operation operation, wstring_view path, HRESULT& hr)
{
    std::lock_guard guard(m_lock);
    ++m_calls[operation];
    for (Fault& fault : m_faults)
    {
        if (fault.operation != operation || fault.remaining == 0)
            continue;
        if (!fault.pathPart.empty() && path.find(fault.pathPart) == wstring_view::npos)
            continue;
        if (fault.remaining > 0)
            --fault.remaining;
        hr = HRESULT_FROM_WIN32(static_cast<long>(SetLastErrorFromErrno(fault.error)));
        return true;
    }
    return false;
}

HRESULT FaultInjectingFileSystem::Exists(wstring_view path)
{
    return Call(Operation::Exists, path, [&] { return m_inner.Exists(path); });
}

HRESULT FaultInjectingFileSystem::GetAttributes(wstring_view path, FileAttributes& attributes, bool ofLinkItself)
{
    return Call(Operation::GetAttributes, path, [&] { return m_inner.GetAttributes(path, attributes, ofLinkItself); });
}

HRESULT FaultInjectingFileSystem::IsReadOnlyVolume(wstring_view path)
{
    return Call(Operation::IsReadOnlyVolume, path, [&] { return m_inner.IsReadOnlyVolume(path); });
}

HRESULT FaultInjectingFileSystem::IsFolderWritable(wstring_view folder)
{
    return Call(Operation::IsFolderWritable, folder, [&] { return m_inner.IsFolderWritable(folder); });
}

HRESULT FaultInjectingFileSystem::SetReadOnly(wstring_view path, bool readOnly)
{
    return Call(Operation::SetReadOnly, path, [&] { return m_inner.SetReadOnly(path, readOnly); });
}

HRESULT FaultInjectingFileSystem::DeleteFile(wstring_view path)
{
    return Call(Operation::DeleteFile, path, [&] { return m_inner.DeleteFile(path); });
}

HRESULT FaultInjectingFileSystem::Rename(wstring_view from, wstring_view to)
{
    return Call(Operation::Rename, from, [&] { return m_inner.Rename(from, to); });
}

HRESULT FaultInjectingFileSystem::RenameReplacing(wstring_view from, wstring_view to)
{
    return Call(Operation::RenameReplacing, from, [&] { return m_inner.RenameReplacing(from, to); });
}

HRESULT FaultInjectingFileSystem::HardLink(wstring_view from, wstring_view to)
{
    return Call(Operation::HardLink, from, [&] { return m_inner.HardLink(from, to); });
}

HRESULT FaultInjectingFileSystem::CopyFile(wstring_view from, wstring_view to)
{
    return Call(Operation::CopyFile, from, [&] { return m_inner.CopyFile(from, to); });
}

HRESULT FaultInjectingFileSystem::SetPermissions(wstring_view path, std::uint32_t mode)
{
    return Call(Operation::SetPermissions, path, [&] { return m_inner.SetPermissions(path, mode); });
}

HRESULT FaultInjectingFileSystem::CreateFolders(wstring_view path)
{
    return Call(Operation::CreateFolders, path, [&] { return m_inner.CreateFolders(path); });
}

HRESULT FaultInjectingFileSystem::RemoveEmptyFolder(wstring_view path)
{
    return Call(Operation::RemoveEmptyFolder, path, [&] { return m_inner.RemoveEmptyFolder(path); });
}

HRESULT FaultInjectingFileSystem::MountTop(wstring_view path, wstring& top)
{
    return Call(Operation::MountTop, path, [&] {
        if (auto chosen = LongestPrefix(m_mountTops, path))
        {
            top = *chosen;
            return S_OK;
        }
        return m_inner.MountTop(path, top);
    });
}

HRESULT FaultInjectingFileSystem::CreateExclusive(wstring_view path)
{
    return Call(Operation::CreateExclusive, path, [&] { return m_inner.CreateExclusive(path); });
}

HRESULT FaultInjectingFileSystem::ReadWholeFile(wstring_view path, std::vector<std::uint8_t>& bytes)
{
    return Call(Operation::ReadWholeFile, path, [&] { return m_inner.ReadWholeFile(path, bytes); });
}

HRESULT FaultInjectingFileSystem::ListFolder(wstring_view path, std::vector<FolderEntry>& entries)
{
    return Call(Operation::ListFolder, path, [&] { return m_inner.ListFolder(path, entries); });
}

HRESULT FaultInjectingFileSystem::OpenRead(wstring_view path, FileHandle& file)
{
    return Call(Operation::OpenRead, path, [&] { return m_inner.OpenRead(path, file); });
}

HRESULT FaultInjectingFileSystem::OpenExclusiveWrite(wstring_view path, FileHandle& file)
{
    return Call(Operation::OpenExclusiveWrite, path, [&] { return m_inner.OpenExclusiveWrite(path, file); });
}

HRESULT FaultInjectingFileSystem::Read(FileHandle& file, void* buffer, std::size_t size, std::size_t& done)
{
    return Call(Operation::Read, wstring_view(), [&] { return m_inner.Read(file, buffer, size, done); });
}

HRESULT FaultInjectingFileSystem::Write(FileHandle& file, const void* data, std::size_t size)
{
    return Call(Operation::Write, wstring_view(), [&] { return m_inner.Write(file, data, size); });
}

HRESULT FaultInjectingFileSystem::Seek(FileHandle& file, std::int64_t offset, int origin, std::uint64_t& position)
{
    return Call(Operation::Seek, wstring_view(), [&] { return m_inner.Seek(file, offset, origin, position); });
}

HRESULT FaultInjectingFileSystem::Size(FileHandle& file, std::uint64_t& size)
{
    return Call(Operation::Size, wstring_view(), [&] { return m_inner.Size(file, size); });
}

HRESULT FaultInjectingFileSystem::Fsync(FileHandle& file)
{
    return Call(Operation::Fsync, wstring_view(), [&] { return m_inner.Fsync(file); });
}

HRESULT FaultInjectingFileSystem::FsyncFolder(wstring_view folder)
{
    return Call(Operation::FsyncFolder, folder, [&] { return m_inner.FsyncFolder(folder); });
}

HRESULT FaultInjectingFileSystem::Close(FileHandle& file)
{
    return Call(Operation::Close, wstring_view(), [&] { return m_inner.Close(file); });
}

HRESULT FaultInjectingFileSystem::Device(wstring_view path, std::uint64_t& device)
{
    return Call(Operation::Device, path, [&] {
        if (auto chosen = LongestPrefix(m_devices, path))
        {
            device = *chosen;
            return S_OK;
        }
        return m_inner.Device(path, device);
    });
}
} // namespace qm
