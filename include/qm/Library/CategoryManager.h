// The vocabulary of the library: categories, each with its keywords, and an image file
// that a host may attach to a category. Category names and keywords compare ignoring
// case; image associations are keyed by the exact spelling of the name.
#pragma once

#include "qm/Library/Keyword.h"
#include "qm/Library/LibraryItemCollection.h"
#include "qm/Platform/Com/Bstr.h"
#include "qm/Platform/Com/EnumString.h"
#include "qm/Platform/Xml/XmlDom.h"
#include "qm/Runtime/PropertyEvent.h"

#include <vector>

struct ICategoryManager : IUnknown
{
    virtual HRESULT EnumCategories(IEnumString** ppEnum) = 0;
    // An unknown category gives an empty enumerator and S_OK.
    virtual HRESULT EnumKeywords(const wstring& category, IEnumString** ppEnum) = 0;
    // S_FALSE when a category of that name (in any case) exists.
    virtual HRESULT AddCategory(const wstring& category) = 0;
    // S_FALSE when unknown.
    virtual HRESULT RemoveCategory(const wstring& category) = 0;
    // S_FALSE when oldCategory is unknown; onto an existing category, the old keywords go.
    virtual HRESULT RenameCategory(const wstring& oldCategory, const wstring& newCategory) = 0;
    // Creates the category when unknown, and stores it under the spelling given.
    virtual HRESULT AddKeyword(const Keyword& keyword) = 0;
    // Removes the keyword of exactly that spelling; fires its event in any case.
    virtual HRESULT RemoveKeyword(const Keyword& keyword) = 0;
    virtual HRESULT RenameKeyword(const Keyword& oldKeyword, const Keyword& newKeyword) = 0;
    virtual HRESULT AddKeywordsFromItem(ILibraryItem* pLibraryItem) = 0;
    virtual std::vector<wstring> GetCategories() = 0;
    virtual std::vector<wstring> GetKeywords(const wstring& category) = 0;
    // The keywords whose lower-case form contains filter; an empty filter gives them all.
    virtual std::vector<wstring> GetMatchingKeywords(const wstring& category, const wstring& filter) = 0;
    virtual bool HasCategory(const wstring& category) = 0;
    // The category exists and has at least one keyword.
    virtual bool HasKeywords(const wstring& category) = 0;
    virtual bool HasKeyword(const Keyword& keyword) = 0;
    // The events fire after the change, with a null sender.
    virtual MVVM::PropertyEvent<const wstring&>& get_CategoryAdded() = 0;
    virtual MVVM::PropertyEvent<const wstring&>& get_CategoryRemoved() = 0;
    // Old name, new name.
    virtual MVVM::PropertyEvent<const wstring&, const wstring&>& get_CategoryRenamed() = 0;
    virtual MVVM::PropertyEvent<const Keyword&>& get_KeywordAdded() = 0;
    virtual MVVM::PropertyEvent<const Keyword&>& get_KeywordRemoved() = 0;
    // Old keyword, new keyword.
    virtual MVVM::PropertyEvent<const Keyword&, const Keyword&>& get_KeywordRenamed() = 0;
};
QM_DECLARE_IID(ICategoryManager, "{6669FD3E-7EFE-4794-B247-455742214242}")

// The stores of the vocabulary (a category XML file or text, a keyword text file, the
// keywords of items) and the image associations.
struct ICategoryManagerPrivate : ICategoryManager
{
    // Adds the items' keywords of that category (compared ignoring case).
    virtual HRESULT AddCategoryKeywordsFromItems(ILibraryItemCollection* pItems, const WCHAR* category) = 0;
    // Rebuilds the vocabulary from the items; image associations of the old categories go.
    virtual HRESULT ReplaceFromItems(ILibraryItemCollection* pItems, bool* pChanged) = 0;
    // Adds what the items have and the vocabulary lacks; nothing is removed.
    virtual HRESULT MergeFromItems(ILibraryItemCollection* pItems) = 0;
    // fileNamesOnly: image associations keep only the last part of their path.
    virtual HRESULT SaveAs(const WCHAR* szFileName, bool fileNamesOnly) = 0;
    virtual HRESULT Save(const WCHAR* szFileName) = 0;
    virtual HRESULT SaveToXml(BSTR* pXml) = 0;
    // The loads add to the vocabulary and never roll back.
    virtual HRESULT LoadFromDocument(IXMLDOMDocument* doc) = 0;
    virtual HRESULT LoadFromFile(const WCHAR* szFileName) = 0;
    virtual HRESULT LoadFromXml(BSTR xml) = 0;
    // UTF-16LE with a byte order mark, a line "category<TAB>keyword" per keyword.
    virtual HRESULT ExportToTextFile(const WCHAR* szFileName) = 0;
    // UTF-8 or UTF-16LE by the byte order mark, UTF-8 without one; TAB or ";" separates.
    virtual HRESULT ImportFromTextFile(const WCHAR* szFileName) = 0;
    // S_FALSE, and the output left alone, when there is no association.
    virtual HRESULT GetCategoryImage(const WCHAR* category, BSTR* pFileName) = 0;
    virtual HRESULT SetCategoryImage(const WCHAR* category, const WCHAR* fileName) = 0;
    virtual HRESULT RemoveCategoryImage(const WCHAR* category) = 0;
    virtual HRESULT GetCategoryImageCount(unsigned int* pCount) = 0;
    // By position in the order of the exact names; E_INVALIDARG out of range.
    virtual HRESULT GetCategoryImageAt(long index, BSTR* pFileName) = 0;
    virtual HRESULT SetCategoryImageAt(long index, const WCHAR* fileName) = 0;
    // 0 when there is no association.
    virtual unsigned int GetCategoryImageTag(const WCHAR* category) = 0;
    virtual HRESULT SetCategoryImageTag(const WCHAR* category, unsigned int tag) = 0;
};
QM_DECLARE_IID(ICategoryManagerPrivate, "{F816447F-EB94-4F14-8CA8-83DA2592B13D}")

// A new, empty manager; the host owns it.
QM_API HRESULT CreateCategoryManager(ICategoryManager** ppManager);
