// A folder with media files and a factory over it, for the tests of clips.
#pragma once

#include "Support/LogCapture.h"
#include "Support/TempDir.h"
#include "qm/Library/CLibraryItem.h"
#include "qm/Library/LibraryItemFactory.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace qmtest
{
inline void WriteFile(const std::string& path, const std::string& content)
{
    std::ofstream(path, std::ios::binary) << content;
}

inline std::string ReadFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// The text with every GUID in braces replaced by "{ID}".
inline std::string WithoutIds(const std::string& text)
{
    const auto isGuid = [&](size_t at) {
        if (at + 38 > text.size() || text[at + 37] != '}')
            return false;
        for (size_t i = 1; i < 37; ++i)
        {
            const char c = text[at + i];
            const bool dash = i == 9 || i == 14 || i == 19 || i == 24;
            if (dash ? c != '-' : !((c >= '0' && c <= '9') || (c >= 'A' && c <= 'F')))
                return false;
        }
        return true;
    };
    std::string out;
    for (size_t at = 0; at < text.size();)
    {
        if (text[at] == '{' && isGuid(at))
        {
            out += "{ID}";
            at += 38;
        }
        else
            out += text[at++];
    }
    return out;
}

class ClipTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_EQ(CreateLibraryItemFactory(m_factory.ReleaseAndGetAddressOf()), S_OK); }
    void TearDown() override
    {
        ComPtr<Quillmar::Library::Native::ILibraryItemFactoryEx> ex;
        m_factory.As(&ex);
        ex->Terminate();
    }

    // A media file of that name in the folder (its content does not matter).
    std::u16string Media(const std::string& name)
    {
        WriteFile(m_dir / name, "media");
        return m_dir.U16(name);
    }
    std::string Sidecar(const std::string& name) { return m_dir / (name + ".quilclip"); }

    ComPtr<ILibraryItem> Get(const std::u16string& path)
    {
        ComPtr<ILibraryItem> item;
        EXPECT_EQ(m_factory->GetLibraryItem(path.c_str(), item.GetAddressOf()), S_OK);
        return item;
    }
    ComPtr<ILibraryItem> Clip(const std::string& name) { return Get(Media(name)); }

    static ComPtr<ILibraryItemMarker> Marker(ILibraryItem* item)
    {
        ComPtr<ILibraryItemMarker> marker;
        item->QueryInterface(IID_ILibraryItemMarker, reinterpret_cast<void**>(marker.GetAddressOf()));
        return marker;
    }
    static std::u16string NodeXml(ILibraryItem* item)
    {
        ComPtr<IXMLDOMNode> node;
        Quillmar::Library::Native::CLibraryItem::From(item)->get_NodePrivate(node.GetAddressOf());
        BSTR xml = nullptr;
        node->get_xml(&xml);
        std::u16string text(qm::BstrView(xml));
        SysFreeString(xml);
        return text;
    }

    TempDir m_dir;
    ComPtr<ILibraryItemFactory> m_factory;
};
} // namespace qmtest
