#include "DataAccess/Library/MDAudioMatrix.h"

#include "DataAccess/Library/XmlNodeAccess.h"
#include "Logging/QMLog.h"
#include "Runtime/Guarded.h"

#include <algorithm>
#include <array>
#include <optional>

namespace Quillmar::Library::Native::details
{
namespace
{
constexpr wstring_view kOutputName = u"Output";
constexpr wstring_view kOutputsQuery = u"AudioMatrix/Output";

// A channel's index is its place here, in the order of the speaker positions of a channel
// mask. Top front left is "tlf".
constexpr std::array<wstring_view, 18> kChannelCodes = {
    u"fl", u"fr", u"fc", u"lf", u"bl", u"br", u"flc", u"frc", u"bc",
    u"sl", u"sr", u"tc", u"tlf", u"tfc", u"tfr", u"tbl", u"tbc", u"tbr",
};

// The matrix holds at most this many outputs and input channels, so that its dense form
// stays within 4 MB: far beyond any audio layout, and small enough that no value of a
// caller or of a file can make it exhaust memory.
constexpr std::uint64_t kMaxOutputs = 1024;
constexpr std::uint32_t kMaxChannels = 1024;

std::optional<std::uint32_t> ChannelOfCode(wstring_view code)
{
    const auto it = std::find(kChannelCodes.begin(), kChannelCodes.end(), code);
    if (it == kChannelCodes.end())
        return std::nullopt;
    return static_cast<std::uint32_t>(it - kChannelCodes.begin());
}
} // namespace

void CMDAudioMatrix::put_OutputCount(std::uint64_t count)
{
    if (count == m_outputs.size())
        return;
    if (!QMReportCondition(count <= kMaxOutputs))
        return;
    QMLogHRESULT(qm::Guarded([&] {
        // A new count starts over, also when it grows: the identity, channel i to output i.
        std::vector<Output> outputs(count);
        for (std::uint64_t i = 0; i < count; ++i)
            outputs[i].emplace(static_cast<std::uint32_t>(i), 1.0f);
        m_outputs.swap(outputs);
        m_dirty = true;
        return S_OK;
    }));
}

float CMDAudioMatrix::GetGain(std::uint32_t channel, std::uint64_t output)
{
    if (output >= m_outputs.size())
        return 0.0f;
    const auto it = m_outputs[output].find(channel);
    return it == m_outputs[output].end() ? 0.0f : it->second;
}

void CMDAudioMatrix::SetGain(std::uint32_t channel, std::uint64_t output, float gain)
{
    if (output >= m_outputs.size())
        return;
    if (!QMReportCondition(channel < kMaxChannels))
        return;
    QMLogHRESULT(qm::Guarded([&] {
        float& entry = m_outputs[output].try_emplace(channel, 0.0f).first->second;
        if (entry != gain)
        {
            entry = gain;
            m_dirty = true;
        }
        return S_OK;
    }));
}

std::vector<std::vector<float>> CMDAudioMatrix::GetMatrix()
{
    const size_t n = m_outputs.size();
    // Only a file can hold more outputs than the bound; its dense form is not given.
    if (!QMReportCondition(n <= kMaxOutputs))
        return {};
    try
    {
        std::vector<std::vector<float>> matrix(n, std::vector<float>(n, 0.0f));
        for (size_t i = 0; i < n; ++i)
            FillRow(m_outputs[i], matrix[i]);
        return matrix;
    }
    catch (const std::bad_alloc&)
    {
        QMLogHRESULT(E_OUTOFMEMORY);
        return {};
    }
}

void CMDAudioMatrix::FillRow(const Output& output, std::vector<float>& row)
{
    for (const auto& [channel, gain] : output)
    {
        if (!(gain > 0.0f))
            continue;
        if (channel >= row.size())
            row.resize(size_t{channel} + 1, 0.0f);
        row[channel] = gain;
    }
}

HRESULT CMDAudioMatrix::WriteOutput(IXMLDOMDocument* document, IXMLDOMElement* matrix, const Output& output)
{
    ComPtr<IXMLDOMElement> element;
    QMCheckHRESULT(CreateElement(document, kOutputName, element));
    for (const auto& [channel, gain] : output)
    {
        // Only what is heard is written; a channel beyond the table has no name to go under.
        if (gain > 0.0f && channel < kChannelCodes.size())
            QMCheckHRESULT(SetAttribute(element.Get(), kChannelCodes[channel], CComVariant(gain)));
    }
    QMCheckHRESULT(matrix->appendChild(element.Get(), nullptr));
    return S_OK;
}

// The outputs of every AudioMatrix element were read; they are written back as one.
HRESULT CMDAudioMatrix::Write(IXMLDOMNode* parentNode, IXMLDOMDocument* document, ILibraryItem*)
{
    if (m_outputs.empty())
        return S_OK;
    ComPtr<IXMLDOMElement> matrix;
    QMCheckHRESULT(CreateElement(document, kNodeName, matrix));
    for (const Output& output : m_outputs)
        QMCheckHRESULT(WriteOutput(document, matrix.Get(), output));
    QMCheckHRESULT(parentNode->appendChild(matrix.Get(), nullptr));
    return S_OK;
}

HRESULT CMDAudioMatrix::ReadOutput(IXMLDOMNode* node, Output& output)
{
    ComPtr<IXMLDOMNamedNodeMap> attributes;
    QMCheckHRESULT(node->get_attributes(attributes.GetAddressOf()));
    if (!attributes)
        return S_OK;
    LONG length = 0;
    QMCheckHRESULT(attributes->get_length(&length));
    for (LONG i = 0; i < length; ++i)
    {
        ComPtr<IXMLDOMNode> attribute;
        QMCheckHRESULT(attributes->get_item(i, attribute.GetAddressOf()));
        CComBSTR name;
        QMCheckHRESULT(attribute->get_nodeName(name.GetAddressOf()));
        const auto channel = ChannelOfCode(name.View());
        if (!channel)
            continue;
        CComVariant value;
        QMCheckHRESULT(attribute->get_nodeValue(&value));
        CComVariant gain;
        if (FAILED(VariantChangeType(&gain, &value, 0, VT_R4)))
            continue;
        // A channel named twice keeps its first gain.
        output.try_emplace(*channel, gain.fltVal);
    }
    return S_OK;
}

HRESULT CMDAudioMatrix::Load(IXMLDOMNode* parentNode, ILibraryItem*)
{
    QMCheckCondition(parentNode != nullptr, E_INVALIDARG);
    m_outputs.clear();
    m_dirty = false;
    NodeList nodes;
    QMCheckHRESULT(SelectNodes(parentNode, kOutputsQuery, nodes));
    const HRESULT hr = qm::Guarded([&] {
        m_outputs.reserve(nodes.size());
        for (const auto& node : nodes)
        {
            Output output;
            QMCheckHRESULT(ReadOutput(node.Get(), output));
            m_outputs.push_back(std::move(output));
        }
        return S_OK;
    });
    if (hr == E_OUTOFMEMORY)
        m_outputs.clear();
    QMCheckHRESULT(hr);
    return S_OK;
}

HRESULT CMDAudioMatrix::Delete(IXMLDOMNode* parentNode, ILibraryItem*)
{
    QMCheckHRESULT(RemoveElements(parentNode));
    return S_OK;
}
} // namespace Quillmar::Library::Native::details
