// How the audio channels of a clip mix into output channels: per output, a sparse set of
// input channels with a gain. Kept in the clip's "AudioMatrix" element, one "Output" child
// per output and one attribute per gain, named by the channel's code.
#pragma once

#include "DataAccess/Library/MDExtension.h"

#include <map>

namespace Quillmar::Library::Native::details
{
class CMDAudioMatrix : public MDExtension<CMDAudioMatrix, IMDAudioMatrix>
{
public:
    static constexpr GUID kType = MDTYPE_AudioMatrix;
    static constexpr bool kCanUnload = true;
    static constexpr wstring_view kNodeName = u"AudioMatrix";

    CMDAudioMatrix() = default;

    // The one kind that cannot be copied.
    HRESULT Clone(IMDExtension**, int) override { return E_NOTIMPL; }

    std::uint64_t get_OutputCount() override { return m_outputs.size(); }
    void put_OutputCount(std::uint64_t count) override;
    float GetGain(std::uint32_t channel, std::uint64_t output) override;
    void SetGain(std::uint32_t channel, std::uint64_t output, float gain) override;
    std::vector<std::vector<float>> GetMatrix() override;

    HRESULT Load(IXMLDOMNode* parentNode, ILibraryItem* pLibraryItem) override;
    HRESULT Delete(IXMLDOMNode* parentNode, ILibraryItem* pLibraryItem) override;

private:
    friend MDExtension;

    // Input channel index to gain, ascending.
    using Output = std::map<std::uint32_t, float>;

    // The dense form of one output: its gains above 0.0 at their channels' places.
    static void FillRow(const Output& output, std::vector<float>& row);
    static HRESULT WriteOutput(IXMLDOMDocument* document, IXMLDOMElement* matrix, const Output& output);
    static HRESULT ReadOutput(IXMLDOMNode* node, Output& output);
    HRESULT Write(IXMLDOMNode* parentNode, IXMLDOMDocument* document, ILibraryItem* pLibraryItem);

    std::vector<Output> m_outputs;
};
} // namespace Quillmar::Library::Native::details
