// Takes any bytes as the text form of a repository's folders. What loads is saved, loaded
// into a new repository and must give the same folders. A crash, a leak or a difference
// is a finding.
#include "FuzzCheck.h"

#include "qm/Library/LibraryItemFactory.h"
#include "qm/PersistXML.h"
#include "qm/Platform/Text/Utf8Conversion.h"

#include <cstdint>
#include <string_view>

namespace
{
ILibraryItemFactory& Factory()
{
    static ILibraryItemFactory* factory = [] {
        ILibraryItemFactory* made = nullptr;
        qmfuzz::Check(CreateLibraryItemFactory(&made) == S_OK, "factory");
        return made;
    }();
    return *factory;
}

struct Repository
{
    Repository()
    {
        qmfuzz::Check(Factory().CreateRepository(repository.GetAddressOf()) == S_OK, "repository");
        repository.As(&persist);
        repository.As(&folders);
    }
    ComPtr<ILibraryRepository> repository;
    ComPtr<IQMPersistXML> persist;
    ComPtr<ILibraryRepositoryCollection> folders;
};
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    wstring text;
    if (FAILED(qm::ToUtf16(std::string_view(reinterpret_cast<const char*>(data), size), text)))
        return 0;
    Repository first;
    if (first.persist->Load(0, CComBSTR(text)) != S_OK)
        return 0;
    const std::vector<wstring> folders = first.folders->GetDirectories();
    for (std::size_t i = 1; i < folders.size(); ++i)
        qmfuzz::Check(folders[i - 1] < folders[i], "folders out of order");
    CComBSTR saved;
    qmfuzz::Check(first.persist->Save(0, saved.GetAddressOf()) == S_OK, "save failed");
    Repository second;
    qmfuzz::Check(second.persist->Load(0, saved) == S_OK, "a saved text does not load");
    qmfuzz::Check(second.folders->GetDirectories() == folders, "the folders changed on their way through the text");
    return 0;
}
