// The module's own exports.
#pragma once

#include "qm/Platform/Com/Guid.h"

// S_OK when no object holds the module, S_FALSE otherwise.
extern "C" QM_API HRESULT DllCanUnloadNow();
// Nothing is created by class identifier: CLASS_E_CLASSNOTAVAILABLE and null, always.
extern "C" QM_API HRESULT DllGetClassObject(REFCLSID clsid, REFIID riid, void** ppv);
extern "C" QM_API HRESULT DllRegisterServer();
extern "C" QM_API HRESULT DllUnregisterServer();

namespace qm
{
// The library's file, and its version ("0.1.0").
QM_API wstring ModulePath();
QM_API wstring ModuleVersion();
} // namespace qm
