// A clip that only knows its media path, for tests of the parts that take an item but ask
// it for no more than that. Every other operation answers E_NOTIMPL or an empty value.
#pragma once

#include "qm/Library/LibraryItem.h"
#include "qm/Platform/Com/ObjectRoot.h"

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-parameter"

class StubLibraryItem : public Standard::CComObjectRootEx<Standard::CComMultiThreadModel>, public ILibraryItem
{
public:
    explicit StubLibraryItem(wstring path = {}) : m_path(std::move(path)) {}
    QM_IUNKNOWN_IMPL(StubLibraryItem, ILibraryItem)

    HRESULT Save() override { return E_NOTIMPL; }
    HRESULT Unload() override { return E_NOTIMPL; }
    HRESULT CopyTo(LPCWSTR path, ILibraryItem** ppLibraryItem) override { return E_NOTIMPL; }
    HRESULT ApplySpeedFactor(double speedFactor) override { return E_NOTIMPL; }
    HRESULT ApplyTrim(REFERENCE_TIME desiredInPoint, REFERENCE_TIME desiredOutPoint, REFERENCE_TIME trueInPoint, REFERENCE_TIME trueOutPoint) override { return E_NOTIMPL; }
    wstring get_Name() override { return {}; }
    HRESULT get_MediaWriteTime(DATE* pVal) override { return E_NOTIMPL; }
    HRESULT get_SidecarWriteTime(DATE* pVal) override { return E_NOTIMPL; }
    HRESULT get_MediaCreationTime(DATE* pVal) override { return E_NOTIMPL; }
    wstring get_MediaPath() override { return m_path; }
    HRESULT put_MediaPath(const wstring& path, bool load) override { return E_NOTIMPL; }
    std::int32_t get_ItemKind() override { return {}; }
    HRESULT get_MediaSize(std::uint64_t* pVal) override { return E_NOTIMPL; }
    wstring get_SidecarPath() override { return {}; }
    HRESULT get_SidecarSize(std::uint64_t* pVal) override { return E_NOTIMPL; }
    bool get_IsReadOnly() override { return {}; }
    HRESULT put_IsReadOnly(bool value) override { return E_NOTIMPL; }
    HRESULT ResetMetadata() override { return E_NOTIMPL; }
    std::vector<Keyword> get_Keywords() override { return {}; }
    std::vector<wstring> get_Categories() override { return {}; }
    std::vector<Keyword> GetKeywordsOfCategory(const wstring& category) override { return {}; }
    std::uint64_t GetValueCount(const wstring& category) override { return {}; }
    HRESULT GetValuesIntoBuffer(const wstring& category, WCHAR* dst, size_t size) override { return E_NOTIMPL; }
    wstring GetValuesAsString(const wstring& category) override { return {}; }
    wstring GetValueAt(const wstring& category, std::uint64_t index) override { return {}; }
    wstring GetValueAtIndex(const wstring& category, std::uint64_t index) override { return {}; }
    HRESULT SetCategoryValues(const wstring& category, const std::vector<wstring>& values) override { return E_NOTIMPL; }
    HRESULT SetCategoryValue(wstring_view category, wstring_view value) override { return E_NOTIMPL; }
    HRESULT SetKeyword(const Keyword& keyword) override { return E_NOTIMPL; }
    bool get_HasKeywords() override { return {}; }
    bool HasValues(const wstring& category) override { return {}; }
    HRESULT AddCategoryValues(const wstring& category, const std::vector<wstring>& values) override { return E_NOTIMPL; }
    HRESULT RemoveCategory(const wstring& category) override { return E_NOTIMPL; }
    HRESULT ClearKeywords() override { return E_NOTIMPL; }
    HRESULT AddCategoryValue(wstring_view category, wstring_view value) override { return E_NOTIMPL; }
    HRESULT AddKeyword(const Keyword& keyword) override { return E_NOTIMPL; }
    HRESULT RemoveKeyword(const Keyword& keyword) override { return E_NOTIMPL; }
    std::int32_t CompareCategory(ILibraryItem* other, const wstring& category) override { return {}; }
    HRESULT RenameCategory(const wstring& oldCategory, const wstring& newCategory) override { return E_NOTIMPL; }
    HRESULT ReplaceKeyword(const Keyword& oldKeyword, const Keyword& newKeyword) override { return E_NOTIMPL; }
    HRESULT InvalidateMarkers() override { return E_NOTIMPL; }
    HRESULT InsertInto(IXMLDOMNode* pParentNode, IXMLDOMNode* before) override { return E_NOTIMPL; }
    HRESULT RemoveFrom(IXMLDOMNode* pParentNode) override { return E_NOTIMPL; }
    HRESULT GetOrCreateChildNode(BSTR name, IXMLDOMNode** ppNode) override { return E_NOTIMPL; }
    HRESULT GetChildNode(BSTR name, IXMLDOMNode** ppNode) override { return E_NOTIMPL; }
    bool HasKeyword(const wstring& category, const wstring& value) override { return {}; }
    bool HasCategory(const wstring& category) override { return {}; }
    HRESULT put_Color(wstring_view color) override { return E_NOTIMPL; }
    wstring get_Color() override { return {}; }
    bool HasId(wstring_view id) override { return {}; }
    bool HasPath(wstring_view path) override { return {}; }
    HRESULT AddExtension(IMDExtension* pExtension) override { return E_NOTIMPL; }
    HRESULT RemoveExtension(IMDExtension* pExtension) override { return E_NOTIMPL; }
    HRESULT GetOrCreateExtension(REFGUID type, REFIID iid, void** ppv) override { return E_NOTIMPL; }
    HRESULT GetExtension(REFGUID type, REFIID iid, void** ppv) override { return E_NOTIMPL; }
    REFERENCE_TIME get_SynchronizationHandicap() override { return {}; }
    HRESULT put_SynchronizationHandicap(REFERENCE_TIME value) override { return E_NOTIMPL; }
    bool get_IsTransient() override { return {}; }
    void put_IsTransient(bool value) override {}
    MVVM::PropertyEvent<const PROPERTYKEY&>& get_PropertyChanged() override { return m_propertyChanged; }

    wstring m_path;
    MVVM::PropertyEvent<const PROPERTYKEY&> m_propertyChanged;
};

#pragma GCC diagnostic pop
