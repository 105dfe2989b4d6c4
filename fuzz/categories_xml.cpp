// Takes any bytes as the text of a category document. What loads is saved, loaded into a
// new manager and must come back equal. A crash, a leak or a difference is a finding.
#include "FuzzCheck.h"

#include "qm/Library/CategoryManager.h"
#include "qm/Platform/Com/ComPtr.h"
#include "qm/Platform/Text/Utf8Conversion.h"

#include <cstdint>
#include <string_view>

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
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    wstring text;
    if (FAILED(qm::ToUtf16(std::string_view(reinterpret_cast<const char*>(data), size), text)))
        return 0;
    const ComPtr<ICategoryManagerPrivate> manager = NewManager();
    const CComBSTR xml(text);
    if (manager->LoadFromXml(xml) != S_OK)
        return 0;
    CComBSTR saved;
    // Names that XML cannot hold are refused by the save, never written broken.
    if (manager->SaveToXml(saved.GetAddressOf()) != S_OK)
        return 0;
    const ComPtr<ICategoryManagerPrivate> again = NewManager();
    qmfuzz::Check(again->LoadFromXml(saved) == S_OK, "a saved vocabulary does not load");
    qmfuzz::Check(Vocabulary(again.Get()) == Vocabulary(manager.Get()), "the vocabulary changed on its way through a file");
    return 0;
}
