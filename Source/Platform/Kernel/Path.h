// Path functions on POSIX paths with "/", of any length. "\" is an ordinary character
// of a file name here; paths read from files go through qm::PathFromFile first. A
// Windows absolute path ("D:\...", "\\server\...") counts as absolute and simply names
// no file here. Comparisons are exact, character by character.
#pragma once

#include "qm/Platform/Types.h"

bool PathIsRelativeW(wstring_view path);
// file when it is absolute, else dir and file joined; "." and ".." folded, never above
// the root.
wstring PathCombineW(wstring_view dir, wstring_view file);
// Appends more to path as PathCombineW does; false for an empty result.
bool PathAppendW(wstring& path, wstring_view more);
// Removes the last part ("/a/b" to "/a", "/a" to "/", "a" to ""); false when nothing
// was removed.
bool PathRemoveFileSpecW(wstring& path);
// The way from `from` (a folder, or a file whose folder counts) to `to`: "./..." to a
// descendant, "../..." to elsewhere. False when either path is not absolute or they
// share no root.
bool PathRelativePathToW(wstring& result, wstring_view from, bool fromIsFolder, wstring_view to, bool toIsFolder);
// On the same file system, as two paths on one drive are.
bool PathIsSameRootW(wstring_view a, wstring_view b);
// prefix is path or one of its ancestors.
bool PathIsPrefixW(wstring_view prefix, wstring_view path);
bool PathFileExistsW(wstring_view path);
// A scheme of two or more characters before ":" ("file:", "http:"); "D:\x" is no URL.
bool PathIsURLW(wstring_view path);
// Removes the quotes around a path; false when there were none.
bool PathUnquoteSpacesW(wstring& path);
wstring_view PathFindFileNameW(wstring_view path);
// The extension of the file name with its dot, or empty.
wstring_view PathFindExtensionW(wstring_view path);
void PathRemoveExtensionW(wstring& path);
// Replaces (or adds) the extension; extension includes its dot.
bool PathRenameExtensionW(wstring& path, wstring_view extension);
// Adds the extension when the file name has none.
bool PathAddExtensionW(wstring& path, wstring_view extension);

namespace qm
{
// A path read from a file: in a path written on Windows (no "/" in it) backslashes become
// slashes; a Windows absolute path and a path in POSIX form are kept as they stand.
wstring PathFromFile(wstring_view path);
bool IsWindowsAbsolutePath(wstring_view path) noexcept;
// The path made absolute against the working folder, with ".", ".." and doubled "/"
// folded; empty for an empty path.
wstring AbsoluteNormalPath(wstring_view path);
// path is folder or lies under it: the components of both, made absolute and normal,
// compared exactly. "/a/bc" does not lie inside "/a/b".
bool PathLiesInside(wstring_view path, wstring_view folder);
} // namespace qm
