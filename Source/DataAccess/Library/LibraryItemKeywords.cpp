// The keywords of a clip: the reading operations answer from the map as it stands; the
// writing ones load the item first, so that a flush cannot lose what the file held.
#include "qm/Library/CLibraryItem.h"

#include "Logging/QMLog.h"
#include "Platform/Xml/XmlChars.h"

#include <algorithm>

namespace Quillmar::Library::Native
{
namespace
{
// Keyword text that XML cannot carry is refused before it enters the map: once there, it
// would fail every later save of the clip.
bool IsStorable(wstring_view text) { return qm::xml::IsValidText(text); }
bool IsStorable(const Keyword& keyword) { return IsStorable(keyword.first) && IsStorable(keyword.second); }
bool IsStorable(const std::vector<wstring>& values)
{
    return std::all_of(values.begin(), values.end(), [](const wstring& v) { return IsStorable(v); });
}
} // namespace

HRESULT CLibraryItem::LoadForWrite()
{
    QMCheckHRESULT(EnsureLoaded());
    return S_OK;
}

HRESULT CLibraryItem::ReadKeywords()
{
    QMCheckCondition(m_node != nullptr, E_UNEXPECTED);
    return m_keywords.Read(m_node.Get());
}

HRESULT CLibraryItem::FlushKeywords()
{
    if (!m_keywords.IsDirty())
        return S_FALSE;
    QMCheckHRESULT(LoadForWrite());
    QMCheckCondition(m_node != nullptr, E_UNEXPECTED);
    return m_keywords.Flush(m_node.Get());
}

std::vector<Keyword> CLibraryItem::get_Keywords() { return m_keywords.get_Keywords(); }
std::vector<wstring> CLibraryItem::get_Categories() { return m_keywords.get_Categories(); }
std::vector<Keyword> CLibraryItem::GetKeywordsOfCategory(const wstring& category)
{
    return m_keywords.GetKeywordsOfCategory(category);
}
std::uint64_t CLibraryItem::GetValueCount(const wstring& category) { return m_keywords.GetValueCount(category); }
HRESULT CLibraryItem::GetValuesIntoBuffer(const wstring& category, WCHAR* dst, size_t size)
{
    return m_keywords.GetValuesIntoBuffer(category, dst, size);
}
wstring CLibraryItem::GetValuesAsString(const wstring& category) { return m_keywords.GetValuesAsString(category); }
wstring CLibraryItem::GetValueAt(const wstring& category, std::uint64_t index)
{
    return m_keywords.GetValueAt(category, index);
}
wstring CLibraryItem::GetValueAtIndex(const wstring& category, std::uint64_t index)
{
    return m_keywords.GetValueAtIndex(category, index);
}
bool CLibraryItem::get_HasKeywords() { return m_keywords.get_HasKeywords(); }
bool CLibraryItem::HasValues(const wstring& category) { return m_keywords.HasValues(category); }
bool CLibraryItem::HasKeyword(const wstring& category, const wstring& value)
{
    return m_keywords.HasKeyword(category, value);
}
bool CLibraryItem::HasCategory(const wstring& category) { return m_keywords.HasCategory(category); }

std::int32_t CLibraryItem::CompareCategory(ILibraryItem* other, const wstring& category)
{
    const ComPtr<CLibraryItem> otherItem = From(other);
    if (!QMReportCondition(otherItem != nullptr))
        return 0;
    return m_keywords.CompareCategory(otherItem->m_keywords, category);
}

HRESULT CLibraryItem::SetCategoryValues(const wstring& category, const std::vector<wstring>& values)
{
    QMCheckCondition(!category.empty(), E_INVALIDARG);
    QMCheckCondition(IsStorable(category) && IsStorable(values), E_INVALIDARG);
    QMCheckHRESULT(LoadForWrite());
    return m_keywords.SetCategoryValues(category, values);
}

HRESULT CLibraryItem::SetCategoryValue(wstring_view category, wstring_view value)
{
    QMCheckCondition(!category.empty(), E_INVALIDARG);
    QMCheckCondition(!value.empty(), E_INVALIDARG);
    QMCheckCondition(IsStorable(category) && IsStorable(value), E_INVALIDARG);
    QMCheckHRESULT(LoadForWrite());
    return m_keywords.SetCategoryValue(category, value);
}

HRESULT CLibraryItem::SetKeyword(const Keyword& keyword)
{
    QMCheckCondition(keyword.IsValid(), E_INVALIDARG);
    QMCheckCondition(IsStorable(keyword), E_INVALIDARG);
    QMCheckHRESULT(LoadForWrite());
    return m_keywords.SetKeyword(keyword);
}

HRESULT CLibraryItem::AddCategoryValues(const wstring& category, const std::vector<wstring>& values)
{
    QMCheckCondition(!category.empty(), E_INVALIDARG);
    QMCheckCondition(IsStorable(category) && IsStorable(values), E_INVALIDARG);
    QMCheckHRESULT(LoadForWrite());
    return m_keywords.AddCategoryValues(category, values);
}

HRESULT CLibraryItem::RemoveCategory(const wstring& category)
{
    QMCheckCondition(!category.empty(), E_INVALIDARG);
    QMCheckHRESULT(LoadForWrite());
    return m_keywords.RemoveCategory(category);
}

HRESULT CLibraryItem::ClearKeywords()
{
    QMCheckHRESULT(LoadForWrite());
    return m_keywords.ClearKeywords();
}

HRESULT CLibraryItem::AddCategoryValue(wstring_view category, wstring_view value)
{
    if (category.empty() || value.empty())
        return S_FALSE;
    QMCheckCondition(IsStorable(category) && IsStorable(value), E_INVALIDARG);
    QMCheckHRESULT(LoadForWrite());
    return m_keywords.AddCategoryValue(category, value);
}

HRESULT CLibraryItem::AddKeyword(const Keyword& keyword)
{
    if (!keyword.IsValid())
        return S_FALSE;
    QMCheckCondition(IsStorable(keyword), E_INVALIDARG);
    QMCheckHRESULT(LoadForWrite());
    return m_keywords.AddKeyword(keyword);
}

HRESULT CLibraryItem::RemoveKeyword(const Keyword& keyword)
{
    QMCheckCondition(!keyword.first.empty(), E_INVALIDARG);
    QMCheckHRESULT(LoadForWrite());
    return m_keywords.RemoveKeyword(keyword);
}

HRESULT CLibraryItem::RenameCategory(const wstring& oldCategory, const wstring& newCategory)
{
    QMCheckCondition(!oldCategory.empty(), E_INVALIDARG);
    QMCheckCondition(IsStorable(newCategory), E_INVALIDARG);
    QMCheckHRESULT(LoadForWrite());
    return m_keywords.RenameCategory(oldCategory, newCategory);
}

HRESULT CLibraryItem::ReplaceKeyword(const Keyword& oldKeyword, const Keyword& newKeyword)
{
    QMCheckCondition(IsStorable(newKeyword.second), E_INVALIDARG);
    QMCheckHRESULT(LoadForWrite());
    return m_keywords.ReplaceKeyword(oldKeyword, newKeyword);
}
} // namespace Quillmar::Library::Native
