#include "Platform/Shell/Trash.h"

#include "Platform/Com/LastError.h"
#include "Platform/Kernel/FileSystem.h"
#include "Platform/Kernel/Path.h"
#include "Platform/Text/Format.h"

#include <cstdlib>
#include <ctime>
#include <sys/stat.h>
#include <unistd.h>

namespace qm
{
namespace
{
wstring Environment(const char* name)
{
    const char* value = std::getenv(name);
    wstring text;
    if (value && *value)
        FromNativePath(value, text);
    return text;
}

// $XDG_DATA_HOME/Trash, read at the time of the call; ~/.local/share/Trash without it.
wstring HomeTrash()
{
    wstring data = Environment("XDG_DATA_HOME");
    if (data.empty())
    {
        const wstring home = Environment("HOME");
        if (home.empty())
            return {};
        data = PathCombineW(home, u".local/share");
    }
    return PathCombineW(data, u"Trash");
}

// A shared $topdir/.Trash is used only if it is a real folder with the sticky bit.
bool IsValidSharedTrash(wstring_view folder)
{
    FileAttributes attributes;
    return SUCCEEDED(FileSystem().GetAttributes(folder, attributes, true)) && attributes.isDirectory &&
           !attributes.isSymlink && (attributes.mode & S_ISVTX) != 0;
}

HRESULT MakeTrashFolders(wstring_view trash)
{
    IFileSystem& fileSystem = FileSystem();
    HRESULT hr = fileSystem.CreateFolders(PathCombineW(trash, u"files"));
    if (SUCCEEDED(hr))
        hr = fileSystem.CreateFolders(PathCombineW(trash, u"info"));
    return hr;
}

// Percent-encodes what a path may hold but a .trashinfo line may not.
std::string EscapePath(const std::string& path)
{
    static const char kHex[] = "0123456789ABCDEF";
    std::string out;
    for (unsigned char c : path)
    {
        const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                           c == '/' || c == '-' || c == '_' || c == '.' || c == '~';
        if (plain)
        {
            out += static_cast<char>(c);
        }
        else
        {
            out += '%';
            out += kHex[c >> 4];
            out += kHex[c & 0xF];
        }
    }
    return out;
}
} // namespace

HRESULT Trash::FolderFor(wstring_view path, wstring& trash)
{
    IFileSystem& fileSystem = FileSystem();
    std::uint64_t fileDevice = 0, homeDevice = 0;
    HRESULT hr = fileSystem.Device(path, fileDevice);
    if (FAILED(hr))
        return hr;
    const wstring home = HomeTrash();
    if (!home.empty() && SUCCEEDED(fileSystem.Device(home, homeDevice)) && homeDevice == fileDevice)
    {
        trash = home;
        return MakeTrashFolders(trash);
    }
    wstring top;
    hr = fileSystem.MountTop(path, top);
    if (FAILED(hr))
        return hr;
    const wstring uid = FormatW(u"%u", static_cast<unsigned>(::getuid()));
    const wstring shared = PathCombineW(top, u".Trash");
    trash = IsValidSharedTrash(shared) ? PathCombineW(shared, uid) : PathCombineW(top, u".Trash-" + uid);
    return MakeTrashFolders(trash);
}

HRESULT Trash::Reserve(wstring_view trash, wstring_view fileName, wstring& name)
{
    for (unsigned attempt = 1; attempt < 10000; ++attempt)
    {
        name = attempt == 1 ? wstring(fileName) : FormatW(u"%s.%u", wstring(fileName).c_str(), attempt);
        HRESULT hr = FileSystem().CreateExclusive(PathCombineW(trash, u"info/" + name + u".trashinfo"));
        if (SUCCEEDED(hr))
            return hr;
        if (hr != HRESULT_FROM_WIN32(ERROR_FILE_EXISTS))
            return hr;
    }
    SetLastError(ERROR_FILE_EXISTS);
    return HRESULT_FROM_WIN32(ERROR_FILE_EXISTS);
}

HRESULT Trash::WriteInfo(wstring_view infoPath, wstring_view originalPath)
{
    std::string native;
    HRESULT hr = ToNativePath(originalPath, native);
    if (FAILED(hr))
        return hr;
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    char date[32];
    std::strftime(date, sizeof(date), "%Y-%m-%dT%H:%M:%S", &local);
    const std::string content = "[Trash Info]\nPath=" + EscapePath(native) + "\nDeletionDate=" + date + "\n";
    IFileSystem& fileSystem = FileSystem();
    FileHandle file;
    hr = fileSystem.OpenExclusiveWrite(infoPath, file);
    if (SUCCEEDED(hr))
        hr = fileSystem.Write(file, content.data(), content.size());
    if (SUCCEEDED(hr))
        hr = fileSystem.Fsync(file);
    const HRESULT closed = fileSystem.Close(file);
    return FAILED(hr) ? hr : closed;
}

HRESULT Trash::MoveToTrash(wstring_view path, wstring* trashedPath)
{
    if (path.empty() || PathIsRelativeW(path))
        return E_INVALIDARG;
    const wstring original = PathCombineW(u"", path);
    wstring trash, name;
    HRESULT hr = FolderFor(original, trash);
    if (FAILED(hr))
        return hr;
    hr = Reserve(trash, PathFindFileNameW(original), name);
    if (FAILED(hr))
        return hr;
    const wstring info = PathCombineW(trash, u"info/" + name + u".trashinfo");
    const wstring target = PathCombineW(trash, u"files/" + name);
    hr = WriteInfo(info, original);
    if (SUCCEEDED(hr))
        hr = FileSystem().Rename(original, target);
    if (FAILED(hr))
    {
        // Nothing moved: the reservation goes, and the failure is the caller's.
        const DWORD error = GetLastError();
        FileSystem().DeleteFile(info);
        SetLastError(error);
        return hr;
    }
    if (trashedPath)
        *trashedPath = target;
    return S_OK;
}
} // namespace qm
