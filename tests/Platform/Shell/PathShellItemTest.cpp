#include "Platform/Shell/PathShellItem.h"

#include "Platform/Shell/ShellTestSupport.h"
#include "Support/TempDir.h"

#include <gtest/gtest.h>

#include <fstream>

using namespace qmtest;

TEST(PathShellItem, NamesPropertiesAndParent)
{
    TempDir folder;
    std::ofstream(folder / "Game 1.mp4") << "12345";
    ComPtr<IShellItem2> item;
    ASSERT_EQ(S_OK, SHCreateItemFromParsingName(folder.U16("sub/../Game 1.mp4").c_str(), nullptr, IID_IShellItem2,
                                                reinterpret_cast<void**>(item.GetAddressOf())));
    EXPECT_EQ(folder.U16("Game 1.mp4"), DisplayName(item.Get(), SIGDN_FILESYSPATH));
    EXPECT_EQ(folder.U16("Game 1.mp4"), DisplayName(item.Get(), SIGDN_DESKTOPABSOLUTEPARSING));
    EXPECT_EQ(u"Game 1.mp4", DisplayName(item.Get(), SIGDN_NORMALDISPLAY));

    LPWSTR text = nullptr;
    ASSERT_EQ(S_OK, item->GetString(PKEY_FileName, &text));
    EXPECT_EQ(u"Game 1.mp4", std::u16string(text));
    CoTaskMemFree(text);
    ASSERT_EQ(S_OK, item->GetString(PKEY_FileExtension, &text));
    EXPECT_EQ(u".mp4", std::u16string(text));
    CoTaskMemFree(text);
    ULONGLONG size = 0;
    ASSERT_EQ(S_OK, item->GetUInt64(PKEY_Size, &size));
    EXPECT_EQ(5u, size);

    ComPtr<IShellItem> parent;
    ASSERT_EQ(S_OK, item->GetParent(parent.GetAddressOf()));
    EXPECT_EQ(folder.U16(), DisplayName(parent.Get(), SIGDN_FILESYSPATH));
    SFGAOF attributes = 0;
    EXPECT_EQ(S_OK, parent->GetAttributes(SFGAO_FOLDER | SFGAO_FILESYSTEM, &attributes));
    EXPECT_EQ(S_FALSE, item->GetAttributes(SFGAO_FOLDER, &attributes));

    ComPtr<IShellItem> again;
    ASSERT_EQ(S_OK, SHCreateItemFromParsingName(folder.U16("Game 1.mp4").c_str(), nullptr, IID_IShellItem,
                                                reinterpret_cast<void**>(again.GetAddressOf())));
    int order = 1;
    EXPECT_EQ(S_OK, again->Compare(item.Get(), 0, &order));
    EXPECT_EQ(0, order);

    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND),
              SHCreateItemFromParsingName(folder.U16("missing.mp4").c_str(), nullptr, IID_IShellItem,
                                          reinterpret_cast<void**>(again.ReleaseAndGetAddressOf())));
    EXPECT_EQ(E_INVALIDARG, SHCreateItemFromParsingName(u"relative.mp4", nullptr, IID_IShellItem,
                                                        reinterpret_cast<void**>(again.ReleaseAndGetAddressOf())));
}
