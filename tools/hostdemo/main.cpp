// A small host: it loads the library, prints what it is and how it is set, and goes.
#include "qm/Library.h"

#include <cstdio>
#include <string>

using Quillmar::Library::Native::LibrarySettings;

namespace
{
std::string Utf8(const std::u16string& text)
{
    std::string out;
    return SUCCEEDED(qm::ToUtf8(text, out)) ? out : std::string("?");
}

const char* YesNo(bool value) { return value ? "yes" : "no"; }
} // namespace

int main()
{
    qm_log::SetReportLevel(2);
    std::printf("qm_Library %s\n", Utf8(qm::ModuleVersion()).c_str());
    std::printf("  loaded from         %s\n", Utf8(qm::ModulePath()).c_str());
    std::printf("  can unload now      %s\n", YesNo(DllCanUnloadNow() == S_OK));

    ComPtr<IServiceProvider> provider;
    LibrarySettings::GetVideoAccelerationServiceProvider(provider.GetAddressOf());
    std::printf("Settings\n");
    std::printf("  DisableSafeWrite            %s\n", YesNo(LibrarySettings::DisableSafeWrite()));
    std::printf("  KeepBackupFile              %s\n", YesNo(LibrarySettings::KeepBackupFile()));
    std::printf("  SaveMPEGIndexAsSideCarFile  %s\n", YesNo(LibrarySettings::SaveMPEGIndexAsSideCarFile()));
    std::printf("  UsePackageFormat            %s\n", YesNo(LibrarySettings::UsePackageFormat()));
    std::printf("  video acceleration provider %s\n", provider ? "set" : "none");

    // A setting written by the host reads back, and goes back to its default.
    LibrarySettings::KeepBackupFile(true);
    const bool kept = LibrarySettings::KeepBackupFile();
    LibrarySettings::KeepBackupFile(false);
    std::printf("Setting round trip   %s\n", kept ? "ok" : "FAILED");

    // The library releases the provider at unload; a host clears it before it ends.
    LibrarySettings::SetVideoAccelerationServiceProvider(nullptr);
    return kept ? 0 : 1;
}
