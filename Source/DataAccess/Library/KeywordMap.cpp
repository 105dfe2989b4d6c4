#include "qm/Library/KeywordMap.h"

#include "DataAccess/Library/ModuleFrame.h"
#include "DataAccess/Library/ValueList.h"
#include "DataAccess/Library/XmlNodeAccess.h"
#include "Logging/QMLog.h"

#include <algorithm>
#include <optional>

namespace Quillmar::Library::Native
{
namespace
{
using Values = KeywordMap::Values;

wstring_view Name(BSTR name) { return qm::BstrView(name); }

void AppendValues(Values& target, const std::vector<wstring>& values)
{
    for (const wstring& value : values)
        target.Append(value);
}

// The values of source that target lacks go to the end of target.
void MergeValues(Values& target, const Values& source)
{
    source.ForEach([&](const wstring& value) {
        if (!target.Holds(value))
            target.Append(value);
    });
}

// The caller reserves the room: growing per category would move every keyword again.
void AppendKeywords(std::vector<Keyword>& keywords, const KeywordMap::Map::value_type& entry)
{
    entry.second.ForEach([&](const wstring& value) {
        // Keyword's own constructor and the pair's are both viable for two lvalues.
        Keyword& keyword = keywords.emplace_back();
        keyword.first = entry.first;
        keyword.second = value;
    });
}

// The order of two items of which at least one lacks something (a category, or values
// in it): the one lacking it comes first only when the other has it. Nothing when both
// have it.
std::optional<std::int32_t> OrderByPresence(bool mine, bool theirs)
{
    if (mine && theirs)
        return std::nullopt;
    return !mine && theirs ? -1 : 1;
}

constexpr bool IsHighSurrogate(char16_t c) { return (c & 0xFC00) == 0xD800; }

HRESULT FindOrAppendCategories(IXMLDOMNode* itemNode, ComPtr<IXMLDOMNode>& categories)
{
    QMCheckHRESULT(SelectNode(itemNode, Name(CategoriesElementName()), categories));
    if (categories)
        return S_OK;
    ComPtr<IXMLDOMElement> element;
    QMCheckHRESULT(CreateElement(itemNode, Name(CategoriesElementName()), element));
    QMCheckHRESULT(itemNode->appendChild(element.Get(), nullptr));
    categories = element;
    return S_OK;
}

HRESULT RemoveCategoryElements(IXMLDOMNode* categories)
{
    NodeList elements;
    QMCheckHRESULT(SelectNodes(categories, Name(CategoryElementName()), elements));
    for (const ComPtr<IXMLDOMNode>& element : elements)
        QMCheckHRESULT(categories->removeChild(element.Get(), nullptr));
    return S_OK;
}

HRESULT AppendCategoryElement(IXMLDOMNode* categories, const wstring& category, const wstring& value)
{
    ComPtr<IXMLDOMElement> element;
    QMCheckHRESULT(CreateElement(categories, Name(CategoryElementName()), element));
    QMCheckHRESULT(SetAttribute(element.Get(), Name(NameAttributeName()), CComVariant(wstring_view(category))));
    QMCheckHRESULT(SetNodeText(element.Get(), value));
    QMCheckHRESULT(categories->appendChild(element.Get(), nullptr));
    return S_OK;
}
} // namespace

// Reading

const Values* KeywordMap::Find(wstring_view category) const
{
    const auto it = m_keywords.find(category);
    return it == m_keywords.end() ? nullptr : &it->second;
}

std::vector<Keyword> KeywordMap::get_Keywords() const
{
    std::vector<Keyword> keywords;
    std::size_t count = 0;
    for (const auto& entry : m_keywords)
        count += entry.second.size();
    keywords.reserve(count);
    for (const auto& entry : m_keywords)
        AppendKeywords(keywords, entry);
    return keywords;
}

std::vector<wstring> KeywordMap::get_Categories() const
{
    std::vector<wstring> categories;
    categories.reserve(m_keywords.size());
    for (const auto& entry : m_keywords)
        categories.push_back(entry.first);
    return categories;
}

std::vector<Keyword> KeywordMap::GetKeywordsOfCategory(const wstring& category) const
{
    std::vector<Keyword> keywords;
    const auto it = m_keywords.find(category);
    if (it != m_keywords.end())
    {
        keywords.reserve(it->second.size());
        AppendKeywords(keywords, *it);
    }
    return keywords;
}

std::uint64_t KeywordMap::GetValueCount(const wstring& category) const
{
    const Values* values = Find(category);
    return values ? values->size() : 0;
}

HRESULT KeywordMap::GetValuesIntoBuffer(const wstring& category, WCHAR* dst, size_t size) const
{
    const wstring text = GetValuesAsString(category);
    if (text.empty() || dst == nullptr || size == 0)
        return S_OK;
    size_t count = std::min(text.size(), size - 1);
    // A cut never leaves half of a surrogate pair behind.
    if (count < text.size() && count > 0 && IsHighSurrogate(text[count - 1]))
        --count;
    std::copy_n(text.data(), count, dst);
    dst[count] = 0;
    return S_OK;
}

wstring KeywordMap::GetValuesAsString(const wstring& category) const
{
    const Values* values = Find(category);
    return values ? FormatValueList(values->ToVector()) : wstring();
}

wstring KeywordMap::GetValueAt(const wstring& category, std::uint64_t index) const
{
    const Values* values = Find(category);
    const wstring* value = values ? values->At(index) : nullptr;
    return value ? *value : wstring();
}

wstring KeywordMap::GetValueAtIndex(const wstring& category, std::uint64_t index) const
{
    return GetValueAt(category, index);
}

bool KeywordMap::HasValues(const wstring& category) const
{
    const Values* values = Find(category);
    return values && !values->empty();
}

bool KeywordMap::HasKeyword(const wstring& category, const wstring& value) const
{
    const Values* values = Find(category);
    return values && (value.empty() || values->Holds(value));
}

bool KeywordMap::HasCategory(const wstring& category) const { return Find(category) != nullptr; }

std::int32_t KeywordMap::CompareCategory(const KeywordMap& other, const wstring& category) const
{
    const Values* mine = Find(category);
    const Values* theirs = other.Find(category);
    if (const auto order = OrderByPresence(mine != nullptr, theirs != nullptr))
        return *order;
    if (const auto order = OrderByPresence(!mine->empty(), !theirs->empty()))
        return *order;
    const size_t common = std::min(mine->size(), theirs->size());
    for (size_t i = 0; i < common; ++i)
        if (const int order = qm::CompareNoCase(*mine->At(i), *theirs->At(i)); order != 0)
            return order;
    return 0;
}

// Writing

HRESULT KeywordMap::AddValue(wstring_view category, wstring_view value)
{
    QMCheckCondition(!category.empty(), E_INVALIDARG);
    QMCheckCondition(!value.empty(), E_INVALIDARG);
    const auto it = m_keywords.find(category);
    if (it != m_keywords.end())
    {
        it->second.Append(value);
        return S_OK;
    }
    Values values;
    values.Append(value);
    return InsertCategory(category, std::move(values));
}

HRESULT KeywordMap::InsertCategory(wstring_view category, Values&& values)
{
    const auto res = m_keywords.emplace(wstring(category), std::move(values));
    QMCheckCondition(res.second, E_UNEXPECTED);
    return S_OK;
}

bool KeywordMap::Erase(wstring_view category)
{
    const auto it = m_keywords.find(category);
    if (it == m_keywords.end())
        return false;
    m_keywords.erase(it);
    return true;
}

HRESULT KeywordMap::SetCategoryValues(const wstring& category, const std::vector<wstring>& values)
{
    QMCheckCondition(!category.empty(), E_INVALIDARG);
    Erase(category);
    return AddCategoryValues(category, values);
}

HRESULT KeywordMap::SetCategoryValue(wstring_view category, wstring_view value)
{
    QMCheckCondition(!category.empty(), E_INVALIDARG);
    QMCheckCondition(!value.empty(), E_INVALIDARG);
    Erase(category);
    return AddCategoryValue(category, value);
}

HRESULT KeywordMap::SetKeyword(const Keyword& keyword)
{
    QMCheckCondition(keyword.IsValid(), E_INVALIDARG);
    Erase(keyword.first);
    return AddKeyword(keyword);
}

HRESULT KeywordMap::AddCategoryValues(const wstring& category, const std::vector<wstring>& values)
{
    QMCheckCondition(!category.empty(), E_INVALIDARG);
    const auto it = m_keywords.find(category);
    if (it != m_keywords.end())
    {
        AppendValues(it->second, values);
    }
    else
    {
        Values fresh;
        AppendValues(fresh, values);
        QMCheckHRESULT(InsertCategory(category, std::move(fresh)));
    }
    m_keywordsDirty = true;
    return S_OK;
}

HRESULT KeywordMap::RemoveCategory(const wstring& category)
{
    QMCheckCondition(!category.empty(), E_INVALIDARG);
    if (!Erase(category))
        return S_FALSE;
    m_keywordsDirty = true;
    return S_OK;
}

HRESULT KeywordMap::ClearKeywords()
{
    m_keywords.clear();
    m_keywordsDirty = true;
    return S_OK;
}

HRESULT KeywordMap::AddCategoryValue(wstring_view category, wstring_view value)
{
    if (category.empty() || value.empty())
        return S_FALSE;
    QMCheckHRESULT(AddValue(category, value));
    m_keywordsDirty = true;
    return S_OK;
}

HRESULT KeywordMap::AddKeyword(const Keyword& keyword)
{
    if (!keyword.IsValid())
        return S_FALSE;
    return AddCategoryValue(keyword.first, keyword.second);
}

HRESULT KeywordMap::RemoveKeyword(const Keyword& keyword)
{
    QMCheckCondition(!keyword.first.empty(), E_INVALIDARG);
    // Every way on from here marks the map, whether or not something goes.
    m_keywordsDirty = true;
    const auto it = m_keywords.find(keyword.first);
    if (it == m_keywords.end())
        return S_OK;
    if (keyword.second.empty())
    {
        m_keywords.erase(it);
        return S_OK;
    }
    Values& values = it->second;
    if (values.Remove(keyword.second) && values.empty())
        m_keywords.erase(it);
    return S_OK;
}

HRESULT KeywordMap::RenameCategory(const wstring& oldCategory, const wstring& newCategory)
{
    QMCheckCondition(!oldCategory.empty(), E_INVALIDARG);
    if (newCategory.empty())
        return RemoveCategory(oldCategory);
    const auto it = m_keywords.find(oldCategory);
    if (it == m_keywords.end())
        return S_FALSE;
    const auto target = m_keywords.find(newCategory);
    if (target == m_keywords.end() || target == it)
    {
        // A new entry, or the same one in a new spelling: the values move with the key.
        auto entry = m_keywords.extract(it);
        entry.key() = newCategory;
        m_keywords.insert(std::move(entry));
    }
    else
    {
        MergeValues(target->second, it->second);
        m_keywords.erase(it);
    }
    m_keywordsDirty = true;
    return S_OK;
}

HRESULT KeywordMap::ReplaceKeyword(const Keyword& oldKeyword, const Keyword& newKeyword)
{
    const auto it = m_keywords.find(oldKeyword.first);
    if (it == m_keywords.end())
        return S_FALSE;
    Values& values = it->second;
    if (!values.Remove(oldKeyword.second))
        return S_FALSE;
    // A value occurs once: one that is there already moves to the end.
    if (!newKeyword.second.empty())
        values.Append(newKeyword.second);
    m_keywordsDirty = true;
    return S_OK;
}

// XML

HRESULT KeywordMap::Read(IXMLDOMNode* itemNode)
{
    QMCheckCondition(itemNode != nullptr, E_UNEXPECTED);
    m_keywords.clear();
    m_keywordsDirty = false;
    ComPtr<IXMLDOMNode> categories;
    QMCheckHRESULT(SelectNode(itemNode, Name(CategoriesElementName()), categories));
    if (!categories)
        return S_FALSE;
    NodeList elements;
    QMCheckHRESULT(SelectNodes(categories.Get(), Name(CategoryElementName()), elements));
    for (const ComPtr<IXMLDOMNode>& element : elements)
        QMCheckHRESULT(ReadCategory(element.Get()));
    return S_OK;
}

HRESULT KeywordMap::ReadCategory(IXMLDOMNode* node)
{
    ComPtr<IXMLDOMElement> category;
    AsElement(node, category);
    QMCheckCondition(category, E_NOINTERFACE);
    std::optional<wstring> name;
    QMCheckHRESULT(GetAttributeText(category.Get(), Name(NameAttributeName()), name));
    wstring value;
    QMCheckHRESULT(GetNodeText(node, value));
    if (!name || name->empty() || value.empty())
        return S_FALSE;
    return AddValue(*name, value);
}

HRESULT KeywordMap::Flush(IXMLDOMNode* itemNode)
{
    if (!m_keywordsDirty)
        return S_FALSE;
    QMCheckCondition(itemNode != nullptr, E_UNEXPECTED);
    ComPtr<IXMLDOMNode> categories;
    QMCheckHRESULT(FindOrAppendCategories(itemNode, categories));
    QMCheckHRESULT(RemoveCategoryElements(categories.Get()));
    QMCheckHRESULT(WriteCategories(categories.Get()));
    m_keywordsDirty = false;
    return S_OK;
}

HRESULT KeywordMap::WriteCategories(IXMLDOMNode* categories) const
{
    for (const auto& [category, values] : m_keywords)
        for (std::size_t i = 0; i < values.size(); ++i)
            QMCheckHRESULT(AppendCategoryElement(categories, category, *values.At(i)));
    return S_OK;
}
} // namespace Quillmar::Library::Native
