// Takes any bytes as a keyword text file. What imports is exported, imported into a new
// manager and must come back equal. A crash, a leak or a difference is a finding.
#include "FuzzVocabulary.h"

#include <cstdint>
#include <fstream>

namespace
{
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
    const ComPtr<ICategoryManagerPrivate> manager = qmfuzz::NewManager();
    if (manager->ImportFromTextFile(input.c_str()) != S_OK)
        return 0;
    qmfuzz::Check(manager->ExportToTextFile(output.c_str()) == S_OK, "export failed");
    const ComPtr<ICategoryManagerPrivate> again = qmfuzz::NewManager();
    const bool empty = manager->GetCategories().empty();
    // An export of nothing is a byte order mark alone, which no import takes.
    qmfuzz::Check(again->ImportFromTextFile(output.c_str()) == (empty ? HRESULT_FROM_WIN32(ERROR_HANDLE_EOF) : S_OK),
                  "an exported file does not import");
    qmfuzz::Check(qmfuzz::Vocabulary(again.Get()) == qmfuzz::Vocabulary(manager.Get()),
                  "the vocabulary changed on its way through a file");
    return 0;
}
