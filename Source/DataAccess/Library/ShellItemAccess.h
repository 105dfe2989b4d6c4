// The shell item calls of the factory's file operations, with the task allocator's
// strings freed.
#pragma once

#include "qm/Platform/Shell/ShellItem.h"
#include "qm/Platform/Com/ComPtr.h"

namespace Quillmar::Library::Native
{
HRESULT DisplayName(IShellItem* item, SIGDN form, wstring& name);
HRESULT ShellItemOf(const wstring& path, ComPtr<IShellItem>& item);
HRESULT StringProperty(IShellItem* item, const PROPERTYKEY& key, wstring& value);
} // namespace Quillmar::Library::Native
