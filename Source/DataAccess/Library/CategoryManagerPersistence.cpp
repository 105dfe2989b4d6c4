// The stores of the vocabulary: the category XML, the keyword text file and the keywords
// of items. Loads and imports add to the model and never roll back.
#include "DataAccess/Library/CategoryManager.h"

#include "DataAccess/Library/CategoryTextFile.h"
#include "DataAccess/Library/XmlNodeAccess.h"
#include "Logging/QMLog.h"
#include "Platform/Kernel/FileSystem.h"
#include "Platform/Kernel/Path.h"
#include "Platform/Xml/XmlDocumentHelpers.h"
#include "Runtime/Guarded.h"

#include "qm/Platform/Text/Utf8Conversion.h"

namespace Quillmar::Library::Native
{
namespace
{
HRESULT AppendElement(IXMLDOMNode* parent, wstring_view name, ComPtr<IXMLDOMElement>& element)
{
    QMCheckHRESULT(CreateElement(parent, name, element));
    return parent->appendChild(element.Get(), nullptr);
}

HRESULT AppendNamed(IXMLDOMNode* parent, wstring_view name, const wstring& nameAttribute, ComPtr<IXMLDOMElement>& element)
{
    QMCheckHRESULT(AppendElement(parent, name, element));
    return SetAttribute(element.Get(), u"Name", CComVariant(wstring_view(nameAttribute)));
}

const std::vector<ILibraryItem*>& ItemsOf(ILibraryItemCollection* pItems) { return pItems->get_Items(); }
} // namespace

HRESULT CCategoryManager::BuildDocument(bool fileNamesOnly, ComPtr<IXMLDOMDocument>& document)
{
    QMCheckHRESULT(CreateDocument(document.ReleaseAndGetAddressOf(), false));
    ComPtr<IXMLDOMElement> root;
    QMCheckHRESULT(CreateElement(document.Get(), u"Categories", root));
    QMCheckHRESULT(SetAttribute(root.Get(), u"Version", CComVariant(u"1.0")));
    QMCheckHRESULT(document->putref_documentElement(root.Get()));
    for (const auto& [name, keywords] : m_categories)
    {
        ComPtr<IXMLDOMElement> category;
        QMCheckHRESULT(AppendNamed(root.Get(), u"Category", name, category));
        for (const wstring& keyword : keywords)
        {
            ComPtr<IXMLDOMElement> value;
            QMCheckHRESULT(AppendElement(category.Get(), u"Value", value));
            QMCheckHRESULT(SetNodeText(value.Get(), keyword));
        }
    }
    for (const auto& [name, info] : m_categorieInfos)
    {
        // An image that has gone is not written; the model keeps the association.
        if (info.fileName.empty() || qm::FileSystem().Exists(info.fileName) != S_OK)
            continue;
        ComPtr<IXMLDOMElement> association;
        QMCheckHRESULT(AppendNamed(root.Get(), u"ImageAssociation", name, association));
        const wstring_view fileName = fileNamesOnly ? PathFindFileNameW(info.fileName) : wstring_view(info.fileName);
        QMCheckHRESULT(SetAttribute(association.Get(), u"FileName", CComVariant(fileName)));
    }
    return S_OK;
}

HRESULT CCategoryManager::SaveAs(const WCHAR* szFileName, bool fileNamesOnly)
{
    QMCheckCondition(szFileName != nullptr, E_INVALIDARG);
    return qm::Guarded([&] {
        ComPtr<IXMLDOMDocument> document;
        QMCheckHRESULT(BuildDocument(fileNamesOnly, document));
        CComBSTR xml;
        QMCheckHRESULT(document->get_xml(xml.GetAddressOf()));
        std::string bytes;
        QMCheckHRESULT(qm::ToUtf8(qm::BstrView(xml), bytes));
        // Whole or not at all: a failed save leaves the old file as it was.
        QMCheckHRESULT(qm::WriteWholeFile(szFileName, bytes));
        return S_OK;
    });
}

HRESULT CCategoryManager::SaveToXml(BSTR* pXml)
{
    QMCheckCondition(pXml != nullptr, E_POINTER);
    *pXml = nullptr;
    return qm::Guarded([&] {
        ComPtr<IXMLDOMDocument> document;
        QMCheckHRESULT(BuildDocument(false, document));
        return document->get_xml(pXml);
    });
}

HRESULT CCategoryManager::LoadCategory(IXMLDOMNode* node)
{
    ComPtr<IXMLDOMElement> element;
    if (FAILED(AsElement(node, element)))
        return S_OK;
    std::optional<wstring> name;
    QMCheckHRESULT(GetAttributeText(element.Get(), u"Name", name));
    if (!name || name->empty())
        return S_OK;
    QMCheckHRESULT(AddCategory(*name));
    NodeList values;
    QMCheckHRESULT(SelectNodes(element.Get(), u"Value", values));
    for (const ComPtr<IXMLDOMNode>& value : values)
    {
        Keyword keyword(*name, wstring());
        if (SUCCEEDED(GetNodeText(value.Get(), keyword.second)) && !keyword.second.empty())
            AddKeyword(keyword);
    }
    return S_OK;
}

HRESULT CCategoryManager::LoadImageAssociations(IXMLDOMDocument* doc)
{
    NodeList nodes;
    QMCheckHRESULT(SelectNodes(doc, u"//ImageAssociation", nodes));
    for (const ComPtr<IXMLDOMNode>& node : nodes)
    {
        ComPtr<IXMLDOMElement> element;
        if (FAILED(AsElement(node.Get(), element)))
            continue;
        std::optional<wstring> name, fileName;
        GetAttributeText(element.Get(), u"Name", name);
        GetAttributeText(element.Get(), u"FileName", fileName);
        SetCategoryImage(name.value_or(wstring()).c_str(), fileName.value_or(wstring()).c_str());
    }
    return S_OK;
}

HRESULT CCategoryManager::LoadFromDocument(IXMLDOMDocument* doc)
{
    QMCheckCondition(doc != nullptr, E_INVALIDARG);
    return qm::Guarded([&] {
        NodeList categories;
        QMCheckHRESULT(SelectNodes(doc, u"//Category", categories));
        for (const ComPtr<IXMLDOMNode>& node : categories)
            QMCheckHRESULT(LoadCategory(node.Get()));
        QMCheckHRESULT(LoadImageAssociations(doc));
        return S_OK;
    });
}

HRESULT CCategoryManager::LoadFromFile(const WCHAR* szFileName)
{
    QMCheckCondition(szFileName != nullptr, E_UNEXPECTED);
    ComPtr<IXMLDOMDocument> doc;
    QMCheckHRESULT(LoadDocumentFromFile(szFileName, doc.GetAddressOf(), nullptr, false));
    return LoadFromDocument(doc.Get());
}

HRESULT CCategoryManager::LoadFromXml(BSTR xml)
{
    ComPtr<IXMLDOMDocument> doc;
    QMCheckHRESULT(CreateDocument(doc.GetAddressOf(), false));
    VARIANT_BOOL success = VARIANT_FALSE;
    QMCheckHRESULT(doc->loadXML(xml, &success));
    QMCheckCondition(success == ((VARIANT_BOOL)-1), E_FAIL);
    return LoadFromDocument(doc.Get());
}

HRESULT CCategoryManager::ExportToTextFile(const WCHAR* szFileName)
{
    QMCheckCondition(szFileName != nullptr, E_INVALIDARG);
    return qm::Guarded([&] {
        std::string bytes("\xFF\xFE", 2);
        for (const auto& [category, keywords] : m_categories)
            for (const wstring& keyword : keywords)
                AppendKeywordLine(Keyword(category, keyword), bytes);
        // Written whole or not at all, so that a failed export keeps an older file.
        QMCheckHRESULT(qm::WriteWholeFile(szFileName, bytes));
        return S_OK;
    });
}

HRESULT CCategoryManager::ImportFromTextFile(const WCHAR* szFileName)
{
    QMCheckCondition(szFileName != nullptr, E_INVALIDARG);
    return qm::Guarded([&] {
        wstring text;
        QMCheckHRESULT(ReadKeywordText(szFileName, text));
        std::vector<Keyword> keywords;
        QMCheckHRESULT(ParseKeywordText(text, keywords));
        for (const Keyword& keyword : keywords)
        {
            AddCategory(keyword.first);
            AddKeyword(keyword);
        }
        return S_OK;
    });
}

HRESULT CCategoryManager::AddCategoryKeywordsFromItems(ILibraryItemCollection* pItems, const WCHAR* category)
{
    QMCheckCondition(pItems != nullptr, E_INVALIDARG);
    return qm::Guarded([&] {
        const wstring wanted = category ? wstring(category) : wstring();
        for (ILibraryItem* item : ItemsOf(pItems))
            if (item != nullptr)
                for (const Keyword& keyword : item->get_Keywords())
                    if (qm::EqualsNoCase(keyword.first, wanted))
                        AddKeyword(keyword);
        return S_OK;
    });
}

HRESULT CCategoryManager::ReplaceFromItems(ILibraryItemCollection* pItems, bool* pChanged)
{
    QMCheckCondition(pItems != nullptr, E_INVALIDARG);
    QMCheckCondition(pChanged != nullptr, E_POINTER);
    return qm::Guarded([&] {
        *pChanged = true;
        const std::vector<wstring> previous = GetCategories();
        m_categories.clear();
        for (ILibraryItem* item : ItemsOf(pItems))
            if (item != nullptr)
                for (const Keyword& keyword : item->get_Keywords())
                {
                    AddCategory(keyword.first);
                    AddKeyword(keyword);
                }
        for (const wstring& name : previous)
        {
            m_categorieInfos.erase(name);
            if (!HasCategory(name))
                m_categoryRemoved.Fire(nullptr, name);
        }
        return S_OK;
    });
}

HRESULT CCategoryManager::MergeFromItems(ILibraryItemCollection* pItems)
{
    QMCheckCondition(pItems, E_INVALIDARG);
    return qm::Guarded([&] {
        for (ILibraryItem* item : ItemsOf(pItems))
            if (item != nullptr)
                for (const Keyword& keyword : item->get_Keywords())
                {
                    const auto found = m_categories.find(keyword.first);
                    if (found == m_categories.end())
                    {
                        m_categories.emplace(keyword.first, Keywords{keyword.second});
                        m_categoryAdded.Fire(nullptr, keyword.first);
                    }
                    else if (!found->second.insert(keyword.second).second)
                        continue;
                    m_keywordAdded.Fire(nullptr, keyword);
                }
        return S_OK;
    });
}
} // namespace Quillmar::Library::Native
