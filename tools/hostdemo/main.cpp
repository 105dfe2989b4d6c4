// A small host: it loads the library, prints what it is and how it is set, opens and
// annotates a clip, and goes.
#include "qm/Library.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include <unistd.h>

using Quillmar::Library::Native::LibrarySettings;

namespace
{
std::string Utf8(const std::u16string& text)
{
    std::string out;
    return SUCCEEDED(qm::ToUtf8(text, out)) ? out : std::string("?");
}

const char* YesNo(bool value) { return value ? "yes" : "no"; }

std::u16string Utf16(const std::string& text)
{
    std::u16string out;
    return SUCCEEDED(qm::ToUtf16(text, out)) ? out : std::u16string();
}

// Opens a clip through the factory, annotates it, saves it and prints its sidecar. With no
// path given, a clip is made in a temporary folder and removed again.
bool ShowClip(const std::string& givenPath)
{
    namespace fs = std::filesystem;
    fs::path folder;
    std::string mediaPath = givenPath;
    if (mediaPath.empty())
    {
        folder = fs::temp_directory_path() / ("qm_hostdemo-" + std::to_string(::getpid()));
        fs::create_directories(folder);
        mediaPath = (folder / "Match day.mp4").string();
        std::ofstream(mediaPath) << "media";
    }
    ComPtr<ILibraryItemFactory> factory;
    ComPtr<ILibraryItem> clip;
    HRESULT hr = CreateLibraryItemFactory(factory.GetAddressOf());
    if (SUCCEEDED(hr))
        hr = factory->GetLibraryItem(Utf16(mediaPath).c_str(), clip.GetAddressOf());
    if (SUCCEEDED(hr) && folder.empty())
        std::printf("Clip %s\n", mediaPath.c_str());
    if (SUCCEEDED(hr) && !folder.empty())
    {
        ComPtr<ILibraryItemMarker> marker, goal;
        clip.As(&marker);
        marker->put_Title(u"Match day");
        clip->AddKeyword({u"Équipe", u"Rouge"});
        marker->CreateMarker(MarkerTypeEvent, goal.GetAddressOf());
        goal->put_Title(u"Goal");
        goal->SetCuePoints(150000000, 200000000);
        hr = clip->Save();
    }
    if (SUCCEEDED(hr))
    {
        std::printf("Clip \"%s\" (kind %d)\n", Utf8(clip->get_Name()).c_str(), clip->get_ItemKind());
        for (const Keyword& keyword : clip->get_Keywords())
            std::printf("  keyword  %s: %s\n", Utf8(keyword.first).c_str(), Utf8(keyword.second).c_str());
        std::ifstream sidecar(Utf8(clip->get_SidecarPath()));
        std::stringstream text;
        text << sidecar.rdbuf();
        std::printf("  sidecar  %s\n", text.str().c_str());
    }
    else
        std::printf("Clip %s: failed, 0x%08x\n", mediaPath.c_str(), static_cast<unsigned>(hr));
    clip.Reset();
    if (factory)
    {
        ComPtr<Quillmar::Library::Native::ILibraryItemFactoryEx> ex;
        factory.As(&ex);
        ex->Terminate();
    }
    if (!folder.empty())
        fs::remove_all(folder);
    return SUCCEEDED(hr);
}
} // namespace

int main(int argc, char** argv)
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

    const bool clipShown = ShowClip(argc > 1 ? argv[1] : "");

    // The library releases the provider at unload; a host clears it before it ends.
    LibrarySettings::SetVideoAccelerationServiceProvider(nullptr);
    return kept && clipShown ? 0 : 1;
}
