// What the user or the system overrode about how a clip's video is to be read: aspect
// ratio, interlacing, rotation, flips and the stream's rate. Each value has an unset form,
// and only values that are set reach the clip's "MediaSourceInfo" element.
#pragma once

#include "DataAccess/Library/MDExtension.h"

namespace Quillmar::Library::Native
{
class CMDMediaSourceInfo : public MDExtension<CMDMediaSourceInfo, IMDMediaSourceInfo>
{
public:
    static constexpr GUID kType = MDTYPE_MediaSourceInfo;
    static constexpr bool kCanUnload = false;
    static constexpr wstring_view kNodeName = u"MediaSourceInfo";

    CMDMediaSourceInfo() = default;

    HRESULT Clone(IMDExtension** ppExtension, int deepClone) override;

    void Reset() override;
    HRESULT put_AspectRatio(const AspectRatio& value) override;
    AspectRatio get_AspectRatio() override { return m_values.aspectRatio; }
    HRESULT put_InterlaceFlags(std::uint32_t value) override { return Put(m_values.interlaceFlags, value); }
    std::uint32_t get_InterlaceFlags() override { return m_values.interlaceFlags; }
    HRESULT put_Rotation(VideoRotation value) override { return Put(m_values.rotation, value); }
    VideoRotation get_Rotation() override { return m_values.rotation; }
    HRESULT put_FlipVertical(bool value) override { return Put(m_values.flipVertical, value); }
    bool get_FlipVertical() override { return m_values.flipVertical; }
    HRESULT put_FlipHorizontal(bool value) override { return Put(m_values.flipHorizontal, value); }
    bool get_FlipHorizontal() override { return m_values.flipHorizontal; }
    HRESULT Commit() override;
    HRESULT put_VideoStreamRate(const Fraction& value) override;
    Fraction get_VideoStreamRate() override { return m_values.videoStreamRate; }

    HRESULT Load(IXMLDOMNode* parentNode, ILibraryItem* pLibraryItem) override;
    HRESULT Delete(IXMLDOMNode* parentNode, ILibraryItem* pLibraryItem) override;

private:
    friend MDExtension;

    // Every value starts unset.
    struct Values
    {
        AspectRatio aspectRatio{0, 0};
        std::uint32_t interlaceFlags = kInterlaceUnset;
        VideoRotation rotation = VideoRotationUnset;
        bool flipVertical = false;
        bool flipHorizontal = false;
        Fraction videoStreamRate{0, 1};
    };

    template <class T>
    HRESULT Put(T& field, T value)
    {
        if (field != value)
        {
            field = value;
            m_dirty = true;
        }
        return S_OK;
    }

    // Every save, clean or not, remembers the clip for a later Commit.
    HRESULT PrepareSave(ILibraryItem* pLibraryItem);
    // Appends an element that holds the values that are set, if any is.
    HRESULT Write(IXMLDOMNode* parentNode, IXMLDOMDocument* document, ILibraryItem* pLibraryItem);
    HRESULT ReadChildren(IXMLDOMNode* extensionNode);

    Values m_values;
    ILibraryItem* m_pLibraryItem = nullptr;
};
} // namespace Quillmar::Library::Native
