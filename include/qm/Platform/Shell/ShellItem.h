// Shell items: files named by path, with the properties and the file operations that
// the library uses for deletes and renames.
#pragma once

#include "qm/Platform/Com/PropVariant.h"

using SFGAOF = ULONG;
using SICHINTF = DWORD;

enum SIGDN : DWORD
{
    SIGDN_NORMALDISPLAY = 0x00000000,
    SIGDN_PARENTRELATIVEPARSING = 0x80018001,
    SIGDN_DESKTOPABSOLUTEPARSING = 0x80028000,
    SIGDN_FILESYSPATH = 0x80058000,
};

constexpr SFGAOF SFGAO_FOLDER = 0x20000000;
constexpr SFGAOF SFGAO_FILESYSTEM = 0x40000000;
constexpr SFGAOF SFGAO_FILESYSANCESTOR = 0x10000000;
constexpr SFGAOF SFGAO_HIDDEN = 0x00080000;
constexpr SFGAOF SFGAO_READONLY = 0x00040000;

inline constexpr PROPERTYKEY PKEY_FileName{qm::ParseGuid("{41CF5AE0-F75A-4806-BD87-59C7D9248EB9}"), 100};
inline constexpr PROPERTYKEY PKEY_FileExtension{qm::ParseGuid("{E4F10A3C-49E6-405D-8288-A23BD4EEAA6C}"), 100};
inline constexpr PROPERTYKEY PKEY_Size{qm::ParseGuid("{B725F130-47EF-101A-A5F1-02608C9EEBAC}"), 12};
inline constexpr PROPERTYKEY PKEY_DateModified{qm::ParseGuid("{B725F130-47EF-101A-A5F1-02608C9EEBAC}"), 14};

struct IShellItem : IUnknown
{
    virtual HRESULT BindToHandler(void* bindContext, REFGUID handler, REFIID riid, void** ppv) = 0;
    // S_OK and the folder; the root of the file system has no parent (E_FAIL).
    virtual HRESULT GetParent(IShellItem** parent) = 0;
    // The text from the task allocator: the full path for SIGDN_FILESYSPATH and
    // SIGDN_DESKTOPABSOLUTEPARSING, the file name for the others.
    virtual HRESULT GetDisplayName(SIGDN form, LPWSTR* name) = 0;
    virtual HRESULT GetAttributes(SFGAOF mask, SFGAOF* attributes) = 0;
    // 0 in *order when both items name the same path.
    virtual HRESULT Compare(IShellItem* other, SICHINTF hint, int* order) = 0;
};
QM_DECLARE_IID(IShellItem, "{43826D1E-E718-42EE-BC55-A1E261C37BFE}")

struct IShellItem2 : IShellItem
{
    virtual HRESULT GetPropertyStore(DWORD flags, REFIID riid, void** ppv) = 0;
    virtual HRESULT Update(void* bindContext) = 0;
    // PKEY_FileName and PKEY_FileExtension as VT_LPWSTR, PKEY_Size as VT_UI8,
    // PKEY_DateModified as VT_FILETIME; other keys give an empty value.
    virtual HRESULT GetProperty(REFPROPERTYKEY key, PROPVARIANT* value) = 0;
    virtual HRESULT GetString(REFPROPERTYKEY key, LPWSTR* value) = 0;
    virtual HRESULT GetUInt64(REFPROPERTYKEY key, ULONGLONG* value) = 0;
};
QM_DECLARE_IID(IShellItem2, "{7E9FB0D3-919F-4307-AB2E-9B1860310C93}")

struct IShellItemArray : IUnknown
{
    virtual HRESULT GetCount(DWORD* count) = 0;
    virtual HRESULT GetItemAt(DWORD index, IShellItem** item) = 0;
};
QM_DECLARE_IID(IShellItemArray, "{B63EA76D-1F85-456F-A19C-48159EFA858B}")

// A shell item for an existing file or folder; a missing one gives
// HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND). bindContext is not used.
QM_API HRESULT SHCreateItemFromParsingName(LPCWSTR path, void* bindContext, REFIID riid, void** ppv);
// An array holding the items given.
QM_API HRESULT SHCreateShellItemArrayFromShellItems(IShellItem* const* items, UINT count, IShellItemArray** array);
