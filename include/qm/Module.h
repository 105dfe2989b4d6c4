// The module's own exports.
#pragma once

#include "qm/Platform/Com/Guid.h"

// S_OK when no object holds the module, S_FALSE otherwise.
extern "C" HRESULT DllCanUnloadNow();
// Nothing is created by class identifier: CLASS_E_CLASSNOTAVAILABLE and null, always.
extern "C" HRESULT DllGetClassObject(REFCLSID clsid, REFIID riid, void** ppv);
extern "C" HRESULT DllRegisterServer();
extern "C" HRESULT DllUnregisterServer();

namespace qm
{
// The library's file, and its version ("0.1.0").
wstring ModulePath();
wstring ModuleVersion();
} // namespace qm
