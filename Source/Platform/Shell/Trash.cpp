#include "Platform/Shell/Trash.h"

#include "Platform/Com/LastError.h"
#include "Platform/Kernel/FileSystem.h"
#include "Platform/Kernel/KnownFolders.h"
#include "Platform/Kernel/Path.h"
#include "Platform/Text/Format.h"
#include "qm/Platform/Text/Utf8Conversion.h"

#include <cstdlib>
#include <ctime>
#include <sys/stat.h>
#include <unistd.h>

namespace qm
{
namespace
{
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

// Bytes of a file name on Linux file systems.
constexpr std::size_t kNameMax = 255;
constexpr wstring_view kInfoExtension = u".trashinfo";
// Past this many names in use the trash counts as full.
constexpr unsigned kMaxAttempts = 10000;

HRESULT Refuse(DWORD error)
{
    SetLastError(error);
    return HRESULT_FROM_WIN32(error);
}

bool IsNameTaken(HRESULT hr)
{
    return hr == HRESULT_FROM_WIN32(ERROR_FILE_EXISTS) || hr == HRESULT_FROM_WIN32(ERROR_ALREADY_EXISTS);
}

// A shared $topdir/.Trash is used only if it is a real folder with the sticky bit.
bool IsValidSharedTrash(wstring_view folder)
{
    FileAttributes attributes;
    return SUCCEEDED(FileSystem().GetAttributes(folder, attributes, true)) && attributes.isDirectory &&
           !attributes.isSymlink && (attributes.mode & S_ISVTX) != 0;
}

// A trash of the user's own at the top of a mount: a real folder, not a link, owned by
// the user; made with mode 0700 when missing, so that no one else reads what it holds.
HRESULT OwnTrashFolder(const wstring& folder)
{
    IFileSystem& fileSystem = FileSystem();
    HRESULT hr = fileSystem.Exists(folder);
    if (FAILED(hr))
        return hr;
    const bool made = hr == S_FALSE;
    if (made && FAILED(hr = fileSystem.CreateFolders(folder)))
        return hr;
    FileAttributes attributes;
    if (FAILED(hr = fileSystem.GetAttributes(folder, attributes, true)))
        return hr;
    if (!attributes.isDirectory || attributes.isSymlink || attributes.owner != ::getuid())
        return Refuse(ERROR_ACCESS_DENIED);
    return made ? fileSystem.SetPermissions(folder, 0700) : S_OK;
}

std::size_t NativeSize(const wstring& name)
{
    std::string native;
    return SUCCEEDED(ToUtf8(name, native)) ? native.size() : std::string::npos;
}

// The name of the attempt-th try: the file's own name, then "name.2", "name.3"...; a name
// whose info file would be too long loses characters before its extension.
wstring TrashName(wstring_view fileName, unsigned attempt)
{
    const wstring suffix = attempt == 1 ? wstring() : FormatW(u".%u", attempt);
    wstring_view extension = PathFindExtensionW(fileName);
    if (extension.size() > 16 || extension.size() == fileName.size())
        extension = {};
    wstring stem(fileName.substr(0, fileName.size() - extension.size()));
    auto whole = [&] { return stem + wstring(extension) + suffix; };
    // A cut through a surrogate pair is no text and does not fit either.
    while (stem.size() > 1 && NativeSize(whole() + wstring(kInfoExtension)) > kNameMax)
        stem.pop_back();
    return whole();
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

HRESULT Trash::FolderFor(wstring_view folder, wstring& trash)
{
    IFileSystem& fileSystem = FileSystem();
    std::uint64_t fileDevice = 0, homeDevice = 0;
    HRESULT hr = fileSystem.Device(folder, fileDevice);
    if (FAILED(hr))
        return hr;
    const wstring home = HomeTrash();
    if (!home.empty() && SUCCEEDED(fileSystem.Device(home, homeDevice)) && homeDevice == fileDevice)
    {
        trash = home;
        return MakeTrashFolders(trash);
    }
    wstring top;
    hr = fileSystem.MountTop(folder, top);
    if (FAILED(hr))
        return hr;
    const wstring uid = FormatW(u"%u", static_cast<unsigned>(::getuid()));
    const wstring shared = PathCombineW(top, u".Trash");
    trash = PathCombineW(shared, uid);
    if (!IsValidSharedTrash(shared) || FAILED(OwnTrashFolder(trash)))
    {
        trash = PathCombineW(top, u".Trash-" + uid);
        if (FAILED(hr = OwnTrashFolder(trash)))
            return hr;
    }
    return MakeTrashFolders(trash);
}

HRESULT Trash::Reserve(wstring_view trash, wstring_view name)
{
    return FileSystem().CreateExclusive(PathCombineW(trash, u"info/" + wstring(name) + wstring(kInfoExtension)));
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
    const wstring_view fileName = PathFindFileNameW(original);
    if (fileName.empty())
        return E_INVALIDARG;
    // A symbolic link goes itself, on the device of the folder that holds it.
    FileAttributes attributes;
    HRESULT hr = FileSystem().GetAttributes(original, attributes, true);
    if (FAILED(hr))
        return hr;
    wstring folder = original, trash;
    PathRemoveFileSpecW(folder);
    hr = FolderFor(folder, trash);
    if (FAILED(hr))
        return hr;
    for (unsigned attempt = 1; attempt < kMaxAttempts; ++attempt)
    {
        const wstring name = TrashName(fileName, attempt);
        hr = Reserve(trash, name);
        if (IsNameTaken(hr))
            continue;
        if (FAILED(hr))
            return hr;
        const wstring info = PathCombineW(trash, u"info/" + name + wstring(kInfoExtension));
        const wstring target = PathCombineW(trash, u"files/" + name);
        hr = WriteInfo(info, original);
        if (SUCCEEDED(hr))
            hr = FileSystem().Rename(original, target);
        if (SUCCEEDED(hr))
        {
            if (trashedPath)
                *trashedPath = target;
            return S_OK;
        }
        // Nothing moved: the reservation goes. A name that files/ holds without an info
        // file (left by another tool) is skipped; any other failure is the caller's.
        const DWORD error = GetLastError();
        FileSystem().DeleteFile(info);
        SetLastError(error);
        if (!IsNameTaken(hr))
            return hr;
    }
    return Refuse(ERROR_FILE_EXISTS);
}
} // namespace qm
