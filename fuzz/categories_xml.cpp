// Takes any bytes as the text of a category document. What loads is saved, loaded into a
// new manager and must come back equal. A crash, a leak or a difference is a finding.
#include "FuzzVocabulary.h"

#include "qm/Platform/Text/Utf8Conversion.h"

#include <cstdint>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    wstring text;
    if (FAILED(qm::ToUtf16(std::string_view(reinterpret_cast<const char*>(data), size), text)))
        return 0;
    const ComPtr<ICategoryManagerPrivate> manager = qmfuzz::NewManager();
    const CComBSTR xml(text);
    if (manager->LoadFromXml(xml) != S_OK)
        return 0;
    CComBSTR saved;
    // Names that XML cannot hold are refused by the save, never written broken.
    if (manager->SaveToXml(saved.GetAddressOf()) != S_OK)
        return 0;
    const ComPtr<ICategoryManagerPrivate> again = qmfuzz::NewManager();
    qmfuzz::Check(again->LoadFromXml(saved) == S_OK, "a saved vocabulary does not load");
    qmfuzz::Check(qmfuzz::Vocabulary(again.Get()) == qmfuzz::Vocabulary(manager.Get()),
                  "the vocabulary changed on its way through a file");
    return 0;
}
