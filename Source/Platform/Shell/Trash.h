// The freedesktop.org Trash, where a delete that allows undo puts a file: the home trash
// for files on its device, else the trash at the top of the file's mount. Files are
// renamed into a trash, never copied across devices; a file with no usable trash is not
// deleted.
#pragma once

#include "qm/Platform/Com/HResult.h"

namespace qm
{
class Trash
{
public:
    // Moves the file, folder or symbolic link at the absolute path into its trash, with
    // the .trashinfo that lets a desktop restore it; trashedPath tells where it went.
    static HRESULT MoveToTrash(wstring_view path, wstring* trashedPath = nullptr);

private:
    // The trash folder for files in that folder, made if it must be.
    static HRESULT FolderFor(wstring_view folder, wstring& trash);
    // Reserves a name in the trash by making its info file; ERROR_FILE_EXISTS when taken.
    static HRESULT Reserve(wstring_view trash, wstring_view name);
    static HRESULT WriteInfo(wstring_view infoPath, wstring_view originalPath);
};
} // namespace qm
