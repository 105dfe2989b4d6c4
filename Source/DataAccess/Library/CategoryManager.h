// The vocabulary: categories with their keywords, compared ignoring case, and image files
// attached to categories by the exact spelling of their names. Events fire after each
// change, with a null sender. The manager holds no lock: one thread at a time.
#pragma once

#include "qm/Library/CategoryManager.h"
#include "qm/PersistXML.h"
#include "qm/Platform/Com/ObjectRoot.h"
#include "qm/Platform/Text/CaseFolding.h"

#include <map>
#include <set>

namespace Quillmar::Library::Native
{
struct CategoryInfo
{
    wstring fileName;
    // The host's value; it is not stored in any file.
    unsigned int tag = 0;
};

class CCategoryManager final : public Standard::CComObjectRootEx<Standard::CComMultiThreadModel>,
                               public ICategoryManagerPrivate,
                               public IQMPersistXMLImpl<CCategoryManager>,
                               public Standard::AllocatedResource<CCategoryManager>
{
public:
    QM_IUNKNOWN_IMPL(CCategoryManager, ICategoryManager, ICategoryManagerPrivate, IQMPersistXML)

    // ICategoryManager
    HRESULT EnumCategories(IEnumString** ppEnum) override;
    HRESULT EnumKeywords(const wstring& category, IEnumString** ppEnum) override;
    HRESULT AddCategory(const wstring& category) override;
    HRESULT RemoveCategory(const wstring& category) override;
    HRESULT RenameCategory(const wstring& oldCategory, const wstring& newCategory) override;
    HRESULT AddKeyword(const Keyword& keyword) override;
    HRESULT RemoveKeyword(const Keyword& keyword) override;
    HRESULT RenameKeyword(const Keyword& oldKeyword, const Keyword& newKeyword) override;
    HRESULT AddKeywordsFromItem(ILibraryItem* pLibraryItem) override;
    std::vector<wstring> GetCategories() override;
    std::vector<wstring> GetKeywords(const wstring& category) override;
    std::vector<wstring> GetMatchingKeywords(const wstring& category, const wstring& filter) override;
    bool HasCategory(const wstring& category) override { return m_categories.count(category) != 0; }
    bool HasKeywords(const wstring& category) override;
    bool HasKeyword(const Keyword& keyword) override;
    MVVM::PropertyEvent<const wstring&>& get_CategoryAdded() override { return m_categoryAdded; }
    MVVM::PropertyEvent<const wstring&>& get_CategoryRemoved() override { return m_categoryRemoved; }
    MVVM::PropertyEvent<const wstring&, const wstring&>& get_CategoryRenamed() override { return m_categoryRenamed; }
    MVVM::PropertyEvent<const Keyword&>& get_KeywordAdded() override { return m_keywordAdded; }
    MVVM::PropertyEvent<const Keyword&>& get_KeywordRemoved() override { return m_keywordRemoved; }
    MVVM::PropertyEvent<const Keyword&, const Keyword&>& get_KeywordRenamed() override { return m_keywordRenamed; }

    // ICategoryManagerPrivate
    HRESULT AddCategoryKeywordsFromItems(ILibraryItemCollection* pItems, const WCHAR* category) override;
    HRESULT ReplaceFromItems(ILibraryItemCollection* pItems, bool* pChanged) override;
    HRESULT MergeFromItems(ILibraryItemCollection* pItems) override;
    HRESULT SaveAs(const WCHAR* szFileName, bool fileNamesOnly) override;
    HRESULT Save(const WCHAR* szFileName) override { return SaveAs(szFileName, false); }
    HRESULT SaveToXml(BSTR* pXml) override;
    HRESULT LoadFromDocument(IXMLDOMDocument* doc) override;
    HRESULT LoadFromFile(const WCHAR* szFileName) override;
    HRESULT LoadFromXml(BSTR xml) override;
    HRESULT ExportToTextFile(const WCHAR* szFileName) override;
    HRESULT ImportFromTextFile(const WCHAR* szFileName) override;
    HRESULT GetCategoryImage(const WCHAR* category, BSTR* pFileName) override;
    HRESULT SetCategoryImage(const WCHAR* category, const WCHAR* fileName) override;
    HRESULT RemoveCategoryImage(const WCHAR* category) override;
    HRESULT GetCategoryImageCount(unsigned int* pCount) override;
    HRESULT GetCategoryImageAt(long index, BSTR* pFileName) override;
    HRESULT SetCategoryImageAt(long index, const WCHAR* fileName) override;
    unsigned int GetCategoryImageTag(const WCHAR* category) override;
    HRESULT SetCategoryImageTag(const WCHAR* category, unsigned int tag) override;

    // The text form, through IQMPersistXML.
    HRESULT LoadXmlText(BSTR xmlText) { return LoadFromXml(xmlText); }
    HRESULT SaveXmlText(BSTR* pXmlText) { return SaveToXml(pXmlText); }

private:
    using Keywords = std::set<wstring, qm::NoCaseLess>;
    using Categories = std::map<wstring, Keywords, qm::NoCaseLess>;

    // The steps of an add and a remove of a keyword, without their events.
    void InsertKeyword(const Keyword& keyword);
    void EraseKeywordExactly(const Keyword& keyword);
    HRESULT BuildDocument(bool fileNamesOnly, ComPtr<IXMLDOMDocument>& document);
    HRESULT LoadCategory(IXMLDOMNode* node);
    HRESULT LoadImageAssociations(IXMLDOMDocument* doc);
    // The entry at a position of the image associations, after the range check.
    HRESULT ImageAt(long index, std::map<wstring, CategoryInfo>::iterator& entry);

    Categories m_categories;
    std::map<wstring, CategoryInfo> m_categorieInfos;
    MVVM::PropertyEvent<const wstring&> m_categoryAdded;
    MVVM::PropertyEvent<const wstring&> m_categoryRemoved;
    MVVM::PropertyEvent<const wstring&, const wstring&> m_categoryRenamed;
    MVVM::PropertyEvent<const Keyword&> m_keywordAdded;
    MVVM::PropertyEvent<const Keyword&> m_keywordRemoved;
    MVVM::PropertyEvent<const Keyword&, const Keyword&> m_keywordRenamed;
};
} // namespace Quillmar::Library::Native
