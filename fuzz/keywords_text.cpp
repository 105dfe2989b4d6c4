// Takes any bytes as a keyword text file. What imports is exported, imported into a new
// manager and must come back equal. A crash, a leak or a difference is a finding.
#include "FuzzCheck.h"

#include "qm/Library/CategoryManager.h"
#include "qm/Platform/Com/ComPtr.h"

#include <cstdint>
#include <fstream>

namespace
{
ComPtr<ICategoryManagerPrivate> NewManager()
{
    ComPtr<ICategoryManager> manager;
    qmfuzz::Check(CreateCategoryManager(manager.GetAddressOf()) == S_OK, "create");
    ComPtr<ICategoryManagerPrivate> result;
    manager.As(&result);
    return result;
}

std::vector<std::vector<wstring>> Vocabulary(ICategoryManager* manager)
{
    std::vector<std::vector<wstring>> vocabulary;
    for (const wstring& category : manager->GetCategories())
    {
        vocabulary.push_back(manager->GetKeywords(category));
        vocabulary.back().insert(vocabulary.back().begin(), category);
    }
    return vocabulary;
}

const qmfuzz::TempFolder& Folder()
{
    static const qmfuzz::TempFolder folder("qm-fuzz-keywords");
    return folder;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::u16string input = (Folder() / "in.txt").u16string();
    const std::u16string output = (Folder() / "out.txt").u16string();
    std::ofstream(Folder() / "in.txt", std::ios::binary | std::ios::trunc).write(reinterpret_cast<const char*>(data),
                                                                                  static_cast<std::streamsize>(size));
    const ComPtr<ICategoryManagerPrivate> manager = NewManager();
    if (manager->ImportFromTextFile(input.c_str()) != S_OK)
        return 0;
    qmfuzz::Check(manager->ExportToTextFile(output.c_str()) == S_OK, "export failed");
    const ComPtr<ICategoryManagerPrivate> again = NewManager();
    const bool empty = manager->GetCategories().empty();
    // An export of nothing is a byte order mark alone, which no import takes.
    qmfuzz::Check(again->ImportFromTextFile(output.c_str()) == (empty ? HRESULT_FROM_WIN32(ERROR_HANDLE_EOF) : S_OK),
                  "an exported file does not import");
    qmfuzz::Check(Vocabulary(again.Get()) == Vocabulary(manager.Get()), "the vocabulary changed on its way through a file");
    return 0;
}
