// The item collection: references it owns, its two comparisons, the batch keyword
// operations and the total duration of markers.
#include "DataAccess/Library/LibraryItemCollection.h"

#include "DataAccess/Library/StubLibraryItem.h"
#include "Support/LogCapture.h"
#include "qm/Logging.h"

#include <gtest/gtest.h>

#include <limits>
#include <optional>
#include <string>
#include <vector>

using namespace Quillmar::Library::Native;
using qmtest::LogCapture;

namespace
{
using Journal = std::vector<std::string>;

std::string Narrow(const wstring& text)
{
    return std::string(text.begin(), text.end());
}

// An item that notes each call the collection makes in a journal and answers as told.
class TestItem : public StubLibraryItem
{
public:
    TestItem(std::string name, Journal* journal = nullptr) : m_name(std::move(name)), m_journal(journal) {}

    bool get_IsReadOnly() override { return m_readOnly; }
    HRESULT RemoveKeyword(const Keyword& keyword) override { return Note("RemoveKeyword " + Narrow(keyword.second), m_changeResult); }
    HRESULT RenameCategory(const wstring& from, const wstring& to) override
    {
        return Note("RenameCategory " + Narrow(from) + ">" + Narrow(to), m_changeResult);
    }
    HRESULT ReplaceKeyword(const Keyword& from, const Keyword& to) override
    {
        return Note("ReplaceKeyword " + Narrow(from.second) + ">" + Narrow(to.second), m_changeResult);
    }
    HRESULT Save() override { return Note("Save", m_saveResult); }
    bool HasId(wstring_view id) override { return id == m_id; }

    HRESULT m_changeResult = S_OK;
    HRESULT m_saveResult = S_OK;
    bool m_readOnly = false;
    wstring m_id;

private:
    HRESULT Note(const std::string& call, HRESULT hr)
    {
        if (m_journal != nullptr)
            m_journal->push_back(m_name + "." + call);
        return hr;
    }

    std::string m_name;
    Journal* m_journal;
};

// A second ILibraryItem pointer of another item's object, as a tear-off would give.
class TearOff : public StubLibraryItem
{
public:
    explicit TearOff(ILibraryItem* owner) : m_owner(owner) {}
    HRESULT QueryInterface(REFIID riid, void** ppv) override
    {
        return riid == IID_IUnknown ? m_owner->QueryInterface(riid, ppv) : StubLibraryItem::QueryInterface(riid, ppv);
    }
    ComPtr<ILibraryItem> m_owner;
};

// A marker that knows its cue points only.
class MarkerItem : public TestItem, public ILibraryItemMarker
{
public:
    MarkerItem(std::optional<REFERENCE_TIME> in, std::optional<REFERENCE_TIME> out) : TestItem("marker"), m_in(in), m_out(out) {}
    QM_IUNKNOWN_IMPL(MarkerItem, ILibraryItem, ILibraryItemMarker)

    HRESULT get_CueIn(REFERENCE_TIME* p) override { return Cue(m_in, p); }
    HRESULT get_CueOut(REFERENCE_TIME* p) override { return Cue(m_out, p); }

    HRESULT CopyMarker(ILibraryItemMarker*, ILibraryItemMarker**) override { return E_NOTIMPL; }
    HRESULT MoveMarker(std::int32_t, std::int32_t, ILibraryItemMarker*) override { return E_NOTIMPL; }
    HRESULT SetSynchMarker(ILibraryItemMarker*) override { return E_NOTIMPL; }
    HRESULT GetSynchMarker(ILibraryItemMarker**) override { return E_NOTIMPL; }
    HRESULT GetMarkerByTitle(std::int32_t, const wstring&, ILibraryItemMarker**) override { return E_NOTIMPL; }
    HRESULT CreateMarker(std::int32_t, ILibraryItemMarker**) override { return E_NOTIMPL; }
    HRESULT RemoveMarker(std::int32_t, ILibraryItemMarker*) override { return E_NOTIMPL; }
    HRESULT RemoveMarkers(std::int32_t) override { return E_NOTIMPL; }
    HRESULT GetMarker(std::int32_t, std::int64_t, ILibraryItemMarker**) override { return E_NOTIMPL; }
    bool HasMarkers(std::int32_t) override { return false; }
    std::vector<ComPtr<ILibraryItem>> GetMarkers(std::int32_t) override { return {}; }
    std::int64_t GetMarkerCount(std::int32_t) override { return 0; }
    bool ContainsMarker(std::int32_t, ILibraryItemMarker*) override { return false; }
    HRESULT get_IsRootItem(std::int32_t*) override { return E_NOTIMPL; }
    HRESULT put_CueIn(REFERENCE_TIME) override { return E_NOTIMPL; }
    HRESULT put_CueOut(REFERENCE_TIME) override { return E_NOTIMPL; }
    HRESULT SetCuePoints(REFERENCE_TIME, REFERENCE_TIME) override { return E_NOTIMPL; }
    HRESULT AsCollection(ILibraryItemCollection**) override { return E_NOTIMPL; }
    bool get_IsSynchMarker() override { return false; }
    HRESULT put_IsSynchMarker(bool) override { return E_NOTIMPL; }
    HRESULT put_Title(const wstring&) override { return E_NOTIMPL; }
    wstring get_Title() override { return {}; }
    HRESULT put_Comment(const wstring&) override { return E_NOTIMPL; }
    wstring get_Comment() override { return {}; }
    std::uint32_t get_ColorValue() override { return 0; }
    std::uint32_t get_MarkerFlags() override { return 0; }
    void put_MarkerFlags(std::uint32_t) override {}
    bool HasMarkerFlags(std::uint32_t) override { return false; }
    wstring get_ID() override { return {}; }
    std::optional<std::int64_t> get_AudioAnnotationDuration() override { return {}; }
    std::optional<wstring> get_AudioAnnotationPath() override { return {}; }
    HRESULT put_AudioAnnotationPath(LPCWSTR) override { return E_NOTIMPL; }
    HRESULT RemoveAudioAnnotation() override { return E_NOTIMPL; }
    HRESULT Clone(ILibraryItemMarker**) override { return E_NOTIMPL; }

private:
    static HRESULT Cue(std::optional<REFERENCE_TIME> value, REFERENCE_TIME* p)
    {
        *p = value.value_or(0);
        return value ? S_OK : S_FALSE;
    }

    std::optional<REFERENCE_TIME> m_in;
    std::optional<REFERENCE_TIME> m_out;
};

ComPtr<ILibraryItemCollection> NewCollection(const std::vector<ILibraryItem*>& items = {})
{
    ComPtr<ILibraryItemCollection> collection;
    EXPECT_EQ(S_OK, CreateLibraryItemCollection(items, collection.GetAddressOf()));
    return collection;
}

ULONG RefCount(IUnknown* object)
{
    object->AddRef();
    return object->Release();
}

std::int32_t CountOf(ILibraryItemCollection* collection)
{
    std::int32_t count = -1;
    EXPECT_EQ(S_OK, collection->get_Count(&count));
    return count;
}

using Items = std::vector<ILibraryItem*>;

class LibraryItemCollection : public testing::Test
{
protected:
    // The last error reported.
    std::string LastError() const
    {
        const std::vector<std::string> lines = m_log.Lines(1);
        return lines.empty() ? std::string() : lines.back();
    }

    LogCapture m_log;
    Journal m_journal;
    ComPtr<TestItem> a = qm::MakeObject<TestItem>("a", &m_journal);
    ComPtr<TestItem> b = qm::MakeObject<TestItem>("b", &m_journal);
    ComPtr<TestItem> c = qm::MakeObject<TestItem>("c", &m_journal);
};
} // namespace

TEST_F(LibraryItemCollection, KeepsDuplicatesAndGivesItsReferencesBack)
{
    {
        auto collection = NewCollection();
        EXPECT_EQ(S_OK, collection->Add(a.Get()));
        EXPECT_EQ(S_OK, collection->Add(a.Get()));
        EXPECT_EQ(2, CountOf(collection.Get()));
        EXPECT_EQ(3u, RefCount(a.Get()));
        EXPECT_EQ(S_OK, collection->Remove(a.Get()));
        EXPECT_EQ(0, CountOf(collection.Get()));
        EXPECT_EQ(1u, RefCount(a.Get()));
        EXPECT_EQ(S_FALSE, collection->Remove(a.Get()));

        EXPECT_EQ(S_OK, collection->AddRange({a.Get(), nullptr, b.Get(), a.Get()}));
        EXPECT_EQ((Items{a.Get(), nullptr, b.Get(), a.Get()}), collection->get_Items());
        EXPECT_EQ(S_OK, collection->Clear());
        EXPECT_EQ(1u, RefCount(a.Get()));
        EXPECT_EQ(S_OK, collection->AddRange({a.Get(), b.Get()}));
        EXPECT_EQ(E_POINTER, collection->get_Count(nullptr));
    }
    EXPECT_EQ(1u, RefCount(a.Get()));
    EXPECT_EQ(1u, RefCount(b.Get()));

    EXPECT_EQ(E_POINTER, CreateLibraryItemCollection({}, nullptr));
    EXPECT_EQ("QMCheckCondition: ppInstance != 0", LastError());
}

TEST_F(LibraryItemCollection, GetItemChecksItsIndexAndQueriesAnswerForEntries)
{
    auto collection = NewCollection({a.Get(), b.Get()});
    ComPtr<ILibraryItem> item;
    EXPECT_EQ(E_INVALIDARG, collection->get_Item(-1, item.GetAddressOf()));
    EXPECT_EQ(E_INVALIDARG, collection->get_Item(2, item.GetAddressOf()));
    EXPECT_EQ("QMCheckCondition: n >= 0 && n < long(m_items.size())", LastError());
    EXPECT_EQ(E_POINTER, collection->get_Item(0, nullptr));
    ASSERT_EQ(S_OK, collection->get_Item(1, item.GetAddressOf()));
    EXPECT_EQ(b.Get(), item.Get());
    EXPECT_EQ(3u, RefCount(b.Get()));

    ComPtr<IUnknown> unknown;
    EXPECT_EQ(E_NOTIMPL, collection->get_Enumerator(unknown.GetAddressOf()));
    EXPECT_EQ(S_OK, collection->GetItemAs(1, IID_IUnknown, reinterpret_cast<void**>(unknown.GetAddressOf())));
    EXPECT_EQ(static_cast<IUnknown*>(b.Get()), unknown.Get());
    ComPtr<ILibraryItemMarker> marker;
    EXPECT_EQ(E_NOINTERFACE, collection->QueryFirst(IID_ILibraryItemMarker, reinterpret_cast<void**>(marker.GetAddressOf())));
    EXPECT_EQ(S_FALSE, NewCollection()->QueryFirst(IID_IUnknown, reinterpret_cast<void**>(unknown.ReleaseAndGetAddressOf())));
    EXPECT_EQ(nullptr, unknown.Get());
}

TEST_F(LibraryItemCollection, SamePointerRemovesWhileSameObjectFindsAndReplaces)
{
    auto tearOff = qm::MakeObject<TearOff>(a.Get());
    auto collection = NewCollection({b.Get(), a.Get(), a.Get()});
    std::uint32_t index = 0;
    EXPECT_EQ(S_OK, collection->Contains(tearOff.Get()));
    EXPECT_EQ(S_OK, collection->IndexOf(tearOff.Get(), &index));
    EXPECT_EQ(1u, index);
    EXPECT_EQ(S_FALSE, collection->Remove(tearOff.Get()));
    EXPECT_EQ(S_FALSE, collection->Contains(c.Get()));
    EXPECT_EQ(S_FALSE, collection->Replace(c.Get()));

    EXPECT_EQ(S_OK, collection->Replace(tearOff.Get()));
    EXPECT_EQ((Items{b.Get(), tearOff.Get(), a.Get()}), collection->get_Items());
    EXPECT_EQ(2u, RefCount(tearOff.Get()));

    // A null is found only where one was added.
    EXPECT_EQ(S_FALSE, collection->IndexOf(nullptr, &index));
    EXPECT_EQ(0xFFFFFFFFu, index);
    EXPECT_EQ(S_FALSE, collection->Contains(nullptr));
    collection->Add(nullptr);
    EXPECT_EQ(S_OK, collection->IndexOf(nullptr, &index));
    EXPECT_EQ(3u, index);
    EXPECT_EQ(S_OK, collection->IndexOf(b.Get(), nullptr));

    c->m_id = u"{C}";
    collection->Add(c.Get());
    EXPECT_EQ(S_OK, collection->IndexOfId(u"{C}", &index));
    EXPECT_EQ(4u, index);
    EXPECT_EQ(S_FALSE, collection->IndexOfId(u"{D}", &index));
    EXPECT_EQ(0xFFFFFFFFu, index);
    index = 0;
    EXPECT_EQ(S_FALSE, collection->IndexOfId(nullptr, &index));
    EXPECT_EQ(0xFFFFFFFFu, index);
}

TEST_F(LibraryItemCollection, AddUniqueSearchesOnlyTheEntriesAlreadyHere)
{
    auto collection = NewCollection({a.Get()});
    std::int32_t added = -1;
    EXPECT_EQ(S_OK, collection->AddUnique(nullptr, &added));
    EXPECT_EQ(0, added);

    auto tearOff = qm::MakeObject<TearOff>(a.Get());
    auto other = NewCollection({tearOff.Get(), b.Get(), b.Get(), c.Get()});
    EXPECT_EQ(S_OK, collection->AddUnique(other.Get(), &added));
    EXPECT_EQ(3, added);
    EXPECT_EQ((Items{a.Get(), b.Get(), b.Get(), c.Get()}), collection->get_Items());
    EXPECT_EQ(5u, RefCount(b.Get()));
    EXPECT_EQ(S_OK, collection->AddUnique(collection.Get(), &added));
    EXPECT_EQ(0, added);
}

TEST_F(LibraryItemCollection, RemoveCollectionStopsAtTheFirstMissingItem)
{
    auto collection = NewCollection({a.Get(), b.Get(), a.Get(), c.Get()});
    auto missing = qm::MakeObject<TestItem>("x");
    EXPECT_EQ(E_FAIL, collection->RemoveCollection(NewCollection({a.Get(), missing.Get(), c.Get()}).Get()));
    EXPECT_EQ((Items{b.Get(), c.Get()}), collection->get_Items());
    EXPECT_EQ("Attempting to remove an inexistant item from the collection.", LastError());
    EXPECT_EQ(1u, RefCount(a.Get()));

    EXPECT_EQ(E_INVALIDARG, collection->RemoveCollection(nullptr));
    EXPECT_EQ("QMCheckCondition: pLibraryItemCollection != 0", LastError());
    EXPECT_EQ(S_OK, collection->RemoveCollection(collection.Get()));
    EXPECT_EQ(0, CountOf(collection.Get()));
}

TEST_F(LibraryItemCollection, BatchChangesStopAtTheFirstFailure)
{
    b->m_changeResult = E_ACCESSDENIED;
    auto collection = NewCollection({a.Get(), nullptr, b.Get(), c.Get()});
    EXPECT_EQ(E_ACCESSDENIED, collection->RenameCategoryOnAll(u"Old", u"New", true));
    EXPECT_EQ((Journal{"a.RenameCategory Old>New", "a.Save", "b.RenameCategory Old>New"}), m_journal);

    m_journal.clear();
    b->m_changeResult = S_OK;
    b->m_saveResult = E_FAIL;
    EXPECT_EQ(E_FAIL, collection->ReplaceKeywordOnAll({u"Team", u"x"}, {u"Team", u"y"}, true));
    EXPECT_EQ((Journal{"a.ReplaceKeyword x>y", "a.Save", "b.ReplaceKeyword x>y", "b.Save"}), m_journal);

    m_journal.clear();
    EXPECT_EQ(E_FAIL, collection->SaveAll());
    EXPECT_EQ((Journal{"a.Save", "b.Save"}), m_journal);

    m_journal.clear();
    EXPECT_EQ(E_INVALIDARG, collection->RenameCategoryOnAll(u"", u"New", true));
    EXPECT_EQ("QMCheckCondition: !oldCategory.empty()", LastError());
    EXPECT_TRUE(m_journal.empty());
}

TEST_F(LibraryItemCollection, OnlyRemoveKeywordSavesItemsThatDidNotChange)
{
    a->m_changeResult = S_FALSE;
    auto collection = NewCollection({a.Get(), b.Get()});
    EXPECT_EQ(S_OK, collection->RenameCategoryOnAll(u"Old", u"New", true));
    EXPECT_EQ(S_OK, collection->ReplaceKeywordOnAll({u"Team", u"x"}, {u"Team", u"y"}, true));
    EXPECT_EQ(S_OK, collection->RemoveKeywordOnAll({u"Team", u"x"}, true));
    EXPECT_EQ(S_OK, collection->RemoveKeywordOnAll({u"Team", u"z"}, false));
    EXPECT_EQ((Journal{"a.RenameCategory Old>New", "b.RenameCategory Old>New", "b.Save",
                       "a.ReplaceKeyword x>y", "b.ReplaceKeyword x>y", "b.Save",
                       "a.RemoveKeyword x", "a.Save", "b.RemoveKeyword x", "b.Save",
                       "a.RemoveKeyword z", "b.RemoveKeyword z"}),
              m_journal);

    EXPECT_FALSE(collection->AnyReadOnly());
    b->m_readOnly = true;
    EXPECT_TRUE(collection->AnyReadOnly());
}

TEST_F(LibraryItemCollection, TotalDurationAddsPositiveCueSpansOfMarkers)
{
    EXPECT_EQ(0, NewCollection()->get_TotalDuration());
    auto span = qm::MakeObject<MarkerItem>(10, 50);
    auto inAlone = qm::MakeObject<MarkerItem>(30, std::nullopt);
    auto outAlone = qm::MakeObject<MarkerItem>(std::nullopt, 20);
    auto reversed = qm::MakeObject<MarkerItem>(60, 50);
    auto collection = NewCollection({span.Get(), inAlone.Get(), outAlone.Get(), reversed.Get(), a.Get(), nullptr});
    EXPECT_EQ(60, collection->get_TotalDuration());

    constexpr REFERENCE_TIME kMax = std::numeric_limits<REFERENCE_TIME>::max();
    auto open = qm::MakeObject<MarkerItem>(-10, kMax);
    EXPECT_EQ(kMax, NewCollection({open.Get(), span.Get()})->get_TotalDuration());
}

TEST_F(LibraryItemCollection, CloneHoldsTheSameEntriesIndependently)
{
    auto collection = NewCollection({a.Get(), nullptr, a.Get()});
    EXPECT_EQ(E_POINTER, collection->Clone(nullptr));
    EXPECT_EQ("QMCheckCondition: ppInstance != nullptr", LastError());
    ComPtr<ILibraryItemCollection> copy;
    ASSERT_EQ(S_OK, collection->Clone(copy.GetAddressOf()));
    EXPECT_EQ(collection->get_Items(), copy->get_Items());
    EXPECT_EQ(5u, RefCount(a.Get()));
    copy->Remove(a.Get());
    EXPECT_EQ(3, CountOf(collection.Get()));
    EXPECT_EQ(3u, RefCount(a.Get()));
}
