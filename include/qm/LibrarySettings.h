// The process-wide settings of the library. Nothing in the library writes them and
// nothing persists them: they start false at every load and only the host sets them.
//
// The video acceleration service provider is handed to the media engine when channels
// and sources are opened. The library releases the stored reference when it is unloaded,
// which is after the host's own statics may be gone: a host must clear the provider
// (SetVideoAccelerationServiceProvider(nullptr)) before it ends.
#pragma once

#include "qm/Platform/Com/Unknown.h"

namespace Quillmar::Library::Native
{
class QM_API LibrarySettings
{
public:
    LibrarySettings() = delete;

    // True: a sidecar is written in place. False: through a temporary file, a replace
    // and a backup.
    static void DisableSafeWrite(bool value);
    static bool DisableSafeWrite();
    // True: the backup that a safe write leaves is kept.
    static void KeepBackupFile(bool value);
    static bool KeepBackupFile();
    // True: a media file's index file lies beside it (media path + ".qmidx").
    static void SaveMPEGIndexAsSideCarFile(bool value);
    static bool SaveMPEGIndexAsSideCarFile();
    // Kept for the host; the library does not read it.
    static void UsePackageFormat(bool value);
    static bool UsePackageFormat();

    // E_POINTER for null; else S_OK with the stored provider and one more reference
    // (null when none is stored).
    static HRESULT GetVideoAccelerationServiceProvider(IServiceProvider** pp);
    // Keeps a reference on provider, then releases the previous one; nothing happens for
    // the stored one. Always S_OK.
    static HRESULT SetVideoAccelerationServiceProvider(IServiceProvider* provider);
};
} // namespace Quillmar::Library::Native
