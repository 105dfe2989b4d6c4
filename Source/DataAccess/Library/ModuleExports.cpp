// The module's exports: no class is created by identifier, and the lock count decides
// whether the module may go.
#include "qm/Module.h"

#include "Platform/Com/ModuleLock.h"
#include "qm/Platform/Text/Utf8Conversion.h"

#include <dlfcn.h>

// The module serves no class by identifier: hosts get every object from an exported
// creation function. So the class table is empty, and so is what registration writes.

extern "C" HRESULT DllCanUnloadNow() { return qm::ModuleLockCount() == 0 ? S_OK : S_FALSE; }

extern "C" HRESULT DllGetClassObject(REFCLSID, REFIID, void** ppv)
{
    if (ppv == nullptr)
        return E_POINTER;
    *ppv = nullptr;
    return CLASS_E_CLASSNOTAVAILABLE;
}

extern "C" HRESULT DllRegisterServer() { return S_OK; }

extern "C" HRESULT DllUnregisterServer() { return S_OK; }

namespace qm
{
wstring ModulePath()
{
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(&DllCanUnloadNow), &info) == 0 || info.dli_fname == nullptr)
        return {};
    wstring path;
    ToUtf16(info.dli_fname, path);
    return path;
}

wstring ModuleVersion()
{
    const std::string_view version = QM_LIBRARY_VERSION;
    return wstring(version.begin(), version.end());
}
} // namespace qm
