#include "Platform/Kernel/Path.h"

#include "Platform/Kernel/FileSystem.h"

#include "qm/Platform/Text/Utf8Conversion.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <vector>

namespace
{
// A backslash is an ordinary character of a Linux file name; only PathFromFile turns it
// into a separator.
bool IsSeparator(char16_t c) { return c == u'/'; }

std::size_t LastSeparator(wstring_view path)
{
    for (std::size_t i = path.size(); i > 0; --i)
        if (IsSeparator(path[i - 1]))
            return i - 1;
    return wstring_view::npos;
}

std::vector<wstring_view> Parts(wstring_view path)
{
    std::vector<wstring_view> parts;
    std::size_t start = 0;
    for (std::size_t i = 0; i <= path.size(); ++i)
    {
        if (i == path.size() || IsSeparator(path[i]))
        {
            if (i > start)
                parts.push_back(path.substr(start, i - start));
            start = i + 1;
        }
    }
    return parts;
}

// Folds "." and ".." of a path; an absolute path never climbs above "/".
wstring Normalize(wstring_view path)
{
    const bool absolute = !path.empty() && IsSeparator(path[0]);
    std::vector<wstring_view> kept;
    for (wstring_view part : Parts(path))
    {
        if (part == u".")
            continue;
        if (part == u"..")
        {
            if (!kept.empty() && kept.back() != u"..")
                kept.pop_back();
            else if (!absolute)
                kept.push_back(part);
            continue;
        }
        kept.push_back(part);
    }
    wstring result = absolute ? u"/" : u"";
    for (std::size_t i = 0; i < kept.size(); ++i)
    {
        if (i > 0)
            result += u'/';
        result += kept[i];
    }
    if (result.empty() && !path.empty())
        result = u".";
    return result;
}
} // namespace

bool PathIsRelativeW(wstring_view path)
{
    return !(!path.empty() && IsSeparator(path[0])) && !qm::IsWindowsAbsolutePath(path);
}

wstring PathCombineW(wstring_view dir, wstring_view file)
{
    if (qm::IsWindowsAbsolutePath(file))
        return wstring(file);
    if (dir.empty() || !PathIsRelativeW(file))
        return file.empty() ? wstring() : Normalize(file);
    if (qm::IsWindowsAbsolutePath(dir))
        return wstring(dir) + u"\\" + wstring(file);
    wstring joined(dir);
    joined += u'/';
    joined += file;
    return Normalize(joined);
}

bool PathAppendW(wstring& path, wstring_view more)
{
    path = PathCombineW(path, more);
    return !path.empty();
}

bool PathRemoveFileSpecW(wstring& path)
{
    const std::size_t slash = LastSeparator(path);
    if (slash == wstring_view::npos)
    {
        const bool removed = !path.empty();
        path.clear();
        return removed;
    }
    if (slash == 0)
    {
        const bool removed = path.size() > 1;
        path.resize(1);
        return removed;
    }
    path.resize(slash);
    return true;
}

bool PathRelativePathToW(wstring& result, wstring_view from, bool fromIsFolder, wstring_view to, bool)
{
    if (from.empty() || to.empty() || !IsSeparator(from[0]) || !IsSeparator(to[0]))
        return false;
    wstring base = Normalize(from);
    if (!fromIsFolder)
        PathRemoveFileSpecW(base);
    const wstring target = Normalize(to);
    const std::vector<wstring_view> baseParts = Parts(base);
    const std::vector<wstring_view> targetParts = Parts(target);
    std::size_t common = 0;
    while (common < baseParts.size() && common < targetParts.size() && baseParts[common] == targetParts[common])
        ++common;
    wstring path;
    if (common == baseParts.size())
        path = u".";
    for (std::size_t i = common; i < baseParts.size(); ++i)
        path += i == common ? u".." : u"/..";
    for (std::size_t i = common; i < targetParts.size(); ++i)
    {
        path += u'/';
        path += targetParts[i];
    }
    result = path;
    return true;
}

bool PathIsSameRootW(wstring_view a, wstring_view b)
{
    std::uint64_t first = 0, second = 0;
    qm::IFileSystem& fileSystem = qm::FileSystem();
    return SUCCEEDED(fileSystem.Device(a, first)) && SUCCEEDED(fileSystem.Device(b, second)) && first == second;
}

bool PathIsPrefixW(wstring_view prefix, wstring_view path)
{
    const std::vector<wstring_view> prefixParts = Parts(prefix);
    const std::vector<wstring_view> pathParts = Parts(path);
    if (prefix.empty() || path.empty() || prefixParts.size() > pathParts.size() ||
        IsSeparator(prefix[0]) != IsSeparator(path[0]))
        return false;
    for (std::size_t i = 0; i < prefixParts.size(); ++i)
        if (prefixParts[i] != pathParts[i])
            return false;
    return true;
}

bool PathFileExistsW(wstring_view path) { return !path.empty() && qm::FileSystem().Exists(path) == S_OK; }

bool PathIsURLW(wstring_view path)
{
    const std::size_t colon = path.find(u':');
    if (colon == wstring_view::npos || colon < 2)
        return false;
    auto isLetter = [](char16_t c) { return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z'); };
    if (!isLetter(path[0]))
        return false;
    for (std::size_t i = 1; i < colon; ++i)
    {
        const char16_t c = path[i];
        if (!isLetter(c) && !(c >= u'0' && c <= u'9') && c != u'+' && c != u'-' && c != u'.')
            return false;
    }
    return true;
}

bool PathUnquoteSpacesW(wstring& path)
{
    if (path.size() < 2 || path.front() != u'"' || path.back() != u'"')
        return false;
    path = path.substr(1, path.size() - 2);
    return true;
}

wstring_view PathFindFileNameW(wstring_view path)
{
    const std::size_t slash = LastSeparator(path);
    return slash == wstring_view::npos ? path : path.substr(slash + 1);
}

wstring_view PathFindExtensionW(wstring_view path)
{
    const wstring_view name = PathFindFileNameW(path);
    const std::size_t dot = name.find_last_of(u'.');
    return dot == wstring_view::npos ? wstring_view() : name.substr(dot);
}

void PathRemoveExtensionW(wstring& path) { path.resize(path.size() - PathFindExtensionW(path).size()); }

bool PathRenameExtensionW(wstring& path, wstring_view extension)
{
    PathRemoveExtensionW(path);
    path += extension;
    return true;
}

bool PathAddExtensionW(wstring& path, wstring_view extension)
{
    if (!PathFindExtensionW(path).empty())
        return false;
    path += extension;
    return true;
}

namespace qm
{
bool IsWindowsAbsolutePath(wstring_view path) noexcept
{
    const bool drive = path.size() >= 3 && ((path[0] >= u'a' && path[0] <= u'z') || (path[0] >= u'A' && path[0] <= u'Z')) &&
                       path[1] == u':' && (path[2] == u'\\' || path[2] == u'/');
    const bool share = path.size() >= 2 && path[0] == u'\\' && path[1] == u'\\';
    return drive || share;
}

wstring PathFromFile(wstring_view path)
{
    wstring result(path);
    // A path with a "/" was written in POSIX form (this system writes "./" or "../" before
    // every relative path), so its backslashes belong to file names.
    if (!IsWindowsAbsolutePath(path) && path.find(u'/') == wstring_view::npos)
        for (char16_t& c : result)
            if (c == u'\\')
                c = u'/';
    return result;
}

wstring AbsoluteNormalPath(wstring_view path)
{
    if (path.empty())
        return wstring();
    if (!PathIsRelativeW(path))
        return IsWindowsAbsolutePath(path) ? wstring(path) : Normalize(path);
    std::string folder(256, '\0');
    while (::getcwd(folder.data(), folder.size()) == nullptr)
    {
        if (errno != ERANGE)
            return Normalize(wstring(u"/") + wstring(path));
        folder.resize(folder.size() * 2);
    }
    folder.resize(std::char_traits<char>::length(folder.c_str()));
    wstring base;
    if (FAILED(ToUtf16(folder, base)))
        base = u"/";
    return PathCombineW(base, path);
}

bool PathLiesInside(wstring_view path, wstring_view folder)
{
    if (path.empty() || folder.empty())
        return false;
    const wstring normalPath = AbsoluteNormalPath(path);
    const wstring normalFolder = AbsoluteNormalPath(folder);
    const std::vector<wstring_view> pathParts = Parts(normalPath);
    const std::vector<wstring_view> folderParts = Parts(normalFolder);
    if (folderParts.size() > pathParts.size() || IsWindowsAbsolutePath(normalPath) != IsWindowsAbsolutePath(normalFolder))
        return false;
    return std::equal(folderParts.begin(), folderParts.end(), pathParts.begin());
}
} // namespace qm
