#include "qm/LibrarySettings.h"

#include "DataAccess/Library/ModuleFrame.h"

namespace Quillmar::Library::Native
{
namespace
{
// Plain bytes without a lock, read on whatever thread does the work.
bool g_disableSafeWrite = false;
bool g_keepBackupFile = false;
bool g_saveMPEGIndexAsSideCarFile = false;
bool g_usePackageFormat = false;
} // namespace

void LibrarySettings::DisableSafeWrite(bool value) { g_disableSafeWrite = value; }
bool LibrarySettings::DisableSafeWrite() { return g_disableSafeWrite; }
void LibrarySettings::KeepBackupFile(bool value) { g_keepBackupFile = value; }
bool LibrarySettings::KeepBackupFile() { return g_keepBackupFile; }
void LibrarySettings::SaveMPEGIndexAsSideCarFile(bool value) { g_saveMPEGIndexAsSideCarFile = value; }
bool LibrarySettings::SaveMPEGIndexAsSideCarFile() { return g_saveMPEGIndexAsSideCarFile; }
void LibrarySettings::UsePackageFormat(bool value) { g_usePackageFormat = value; }
bool LibrarySettings::UsePackageFormat() { return g_usePackageFormat; }

HRESULT LibrarySettings::GetVideoAccelerationServiceProvider(IServiceProvider** pp)
{
    if (pp == nullptr)
        return E_POINTER;
    *pp = ModuleFrame::Instance().VideoAccelerationServiceProvider();
    if (*pp)
        (*pp)->AddRef();
    return S_OK;
}

HRESULT LibrarySettings::SetVideoAccelerationServiceProvider(IServiceProvider* provider)
{
    ModuleFrame::Instance().SetVideoAccelerationServiceProvider(provider);
    return S_OK;
}
} // namespace Quillmar::Library::Native
