#include "DataAccess/Library/ClipTestSupport.h"

#include "Support/FaultInjectingFileSystem.h"

#include "qm/Library/CategoryManager.h"
#include "qm/Platform/Com/CoTaskMem.h"

#include <gtest/gtest.h>

namespace
{
using qmtest::ReadFile;
using qmtest::WriteFile;

// Every event of a manager, as one line each, in the order they fired.
class EventLog
{
public:
    explicit EventLog(ICategoryManager* manager) : m_manager(manager)
    {
        manager->get_CategoryAdded().Subscribe(&m_categoryAdded, false);
        manager->get_CategoryRemoved().Subscribe(&m_categoryRemoved, false);
        manager->get_CategoryRenamed().Subscribe(&m_categoryRenamed, false);
        manager->get_KeywordAdded().Subscribe(&m_keywordAdded, false);
        manager->get_KeywordRemoved().Subscribe(&m_keywordRemoved, false);
        manager->get_KeywordRenamed().Subscribe(&m_keywordRenamed, false);
    }
    ~EventLog()
    {
        m_manager->get_CategoryAdded().Unsubscribe(&m_categoryAdded);
        m_manager->get_CategoryRemoved().Unsubscribe(&m_categoryRemoved);
        m_manager->get_CategoryRenamed().Unsubscribe(&m_categoryRenamed);
        m_manager->get_KeywordAdded().Unsubscribe(&m_keywordAdded);
        m_manager->get_KeywordRemoved().Unsubscribe(&m_keywordRemoved);
        m_manager->get_KeywordRenamed().Unsubscribe(&m_keywordRenamed);
    }
    std::vector<std::u16string> Take() { return std::exchange(m_lines, {}); }

private:
    static std::u16string Text(const Keyword& k) { return k.first + u"/" + k.second; }
    void Add(std::u16string line, Object* sender)
    {
        EXPECT_EQ(sender, nullptr);
        m_lines.push_back(std::move(line));
    }

    ICategoryManager* m_manager;
    std::vector<std::u16string> m_lines;
    MVVM::PropertyEvent<const wstring&>::Handler m_categoryAdded = [this](Object* s, const wstring& c) { Add(u"+C " + c, s); };
    MVVM::PropertyEvent<const wstring&>::Handler m_categoryRemoved = [this](Object* s, const wstring& c) { Add(u"-C " + c, s); };
    MVVM::PropertyEvent<const wstring&, const wstring&>::Handler m_categoryRenamed =
        [this](Object* s, const wstring& a, const wstring& b) { Add(u"~C " + a + u">" + b, s); };
    MVVM::PropertyEvent<const Keyword&>::Handler m_keywordAdded = [this](Object* s, const Keyword& k) { Add(u"+K " + Text(k), s); };
    MVVM::PropertyEvent<const Keyword&>::Handler m_keywordRemoved = [this](Object* s, const Keyword& k) { Add(u"-K " + Text(k), s); };
    MVVM::PropertyEvent<const Keyword&, const Keyword&>::Handler m_keywordRenamed =
        [this](Object* s, const Keyword& a, const Keyword& b) { Add(u"~K " + Text(a) + u">" + Text(b), s); };
};

using Lines = std::vector<std::u16string>;

class CategoryManagerTest : public qmtest::ClipTest
{
protected:
    void SetUp() override
    {
        ClipTest::SetUp();
        ComPtr<ICategoryManager> manager;
        ASSERT_EQ(CreateCategoryManager(manager.GetAddressOf()), S_OK);
        ASSERT_EQ(manager.As(&m_manager), S_OK);
    }

    // Categories with their keywords, "Category:k1,k2", in the manager's order.
    static Lines Vocabulary(ICategoryManager* manager)
    {
        Lines lines;
        for (const wstring& category : manager->GetCategories())
        {
            wstring line = category + u":";
            for (const wstring& keyword : manager->GetKeywords(category))
                line += keyword + u",";
            lines.push_back(line);
        }
        return lines;
    }
    Lines Vocabulary() { return Vocabulary(m_manager.Get()); }

    ComPtr<ICategoryManagerPrivate> Fresh()
    {
        ComPtr<ICategoryManager> manager;
        EXPECT_EQ(CreateCategoryManager(manager.GetAddressOf()), S_OK);
        ComPtr<ICategoryManagerPrivate> result;
        manager.As(&result);
        return result;
    }

    ComPtr<ILibraryItemCollection> ItemsWith(const std::vector<std::vector<Keyword>>& keywordsPerItem)
    {
        std::vector<ComPtr<ILibraryItem>> items;
        std::vector<ILibraryItem*> raw;
        for (std::size_t i = 0; i < keywordsPerItem.size(); ++i)
        {
            items.push_back(Clip("clip" + std::to_string(i) + ".mp4"));
            for (const Keyword& keyword : keywordsPerItem[i])
                EXPECT_EQ(items.back()->AddKeyword(keyword), S_OK);
            raw.push_back(items.back().Get());
        }
        ComPtr<ILibraryItemCollection> collection;
        EXPECT_EQ(m_factory->CreateCollectionFrom(raw, collection.GetAddressOf()), S_OK);
        return collection;
    }

    ComPtr<ICategoryManagerPrivate> m_manager;
};

TEST_F(CategoryManagerTest, CategoriesFoldCaseAndKeepTheirFirstSpellingWithTheirEvents)
{
    EventLog events(m_manager.Get());
    EXPECT_EQ(m_manager->AddCategory(u"Sport"), S_OK);
    EXPECT_EQ(m_manager->AddCategory(u"SPORT"), S_FALSE);
    EXPECT_EQ(m_manager->AddCategory(u"Équipe"), S_OK);
    EXPECT_EQ(m_manager->AddCategory(u"ÉQUIPE"), S_FALSE);
    EXPECT_EQ(m_manager->AddCategory(u""), E_INVALIDARG);
    EXPECT_EQ(Vocabulary(), (Lines{u"Sport:", u"Équipe:"}));
    EXPECT_TRUE(m_manager->HasCategory(u"équipe"));
    EXPECT_FALSE(m_manager->HasKeywords(u"sport"));
    EXPECT_EQ(m_manager->RemoveCategory(u"sPoRt"), S_OK);
    EXPECT_EQ(m_manager->RemoveCategory(u"Sport"), S_FALSE);
    EXPECT_EQ(m_manager->RemoveCategory(u""), E_INVALIDARG);
    EXPECT_EQ(events.Take(), (Lines{u"+C Sport", u"+C Équipe", u"-C sPoRt"}));
}

TEST_F(CategoryManagerTest, KeywordsCreateCategoriesSilentlyAndTakeTheNewSpellingOfTheCategory)
{
    EventLog events(m_manager.Get());
    EXPECT_EQ(m_manager->AddKeyword({u"Sport", u"Goal"}), S_OK);
    EXPECT_EQ(m_manager->AddKeyword({u"Sport", u"GOAL"}), S_OK);
    EXPECT_EQ(m_manager->AddKeyword({u"SPORT", u"Assist"}), S_OK);
    EXPECT_EQ(m_manager->AddKeyword({u"Sport", u""}), E_INVALIDARG);
    EXPECT_EQ(m_manager->AddKeyword({u"", u"x"}), E_INVALIDARG);
    EXPECT_EQ(Vocabulary(), (Lines{u"SPORT:Assist,Goal,"}));
    EXPECT_TRUE(m_manager->HasKeyword({u"sport", u"goal"}));
    EXPECT_EQ(events.Take(), (Lines{u"+K Sport/Goal", u"+K Sport/GOAL", u"+K SPORT/Assist"}));

    // Removal compares the keyword exactly, and tells of itself whatever it did.
    EXPECT_EQ(m_manager->RemoveKeyword({u"Sport", u"goal"}), S_OK);
    EXPECT_EQ(m_manager->RemoveKeyword({u"Nothing", u"x"}), S_OK);
    EXPECT_EQ(Vocabulary(), (Lines{u"SPORT:Assist,Goal,"}));
    EXPECT_EQ(m_manager->RemoveKeyword({u"sport", u"Goal"}), S_OK);
    EXPECT_EQ(Vocabulary(), (Lines{u"SPORT:Assist,"}));
    EXPECT_EQ(events.Take(), (Lines{u"-K Sport/goal", u"-K Nothing/x", u"-K sport/Goal"}));

    EXPECT_EQ(m_manager->RenameKeyword({u"Sport", u"Assist"}, {u"Team", u"Red"}), S_OK);
    EXPECT_EQ(Vocabulary(), (Lines{u"SPORT:", u"Team:Red,"}));
    EXPECT_EQ(events.Take(), (Lines{u"~K Sport/Assist>Team/Red"}));
}

TEST_F(CategoryManagerTest, RenameCategoryOntoAnotherDropsTheOldKeywordsAndLeavesImagesBehind)
{
    m_manager->AddKeyword({u"A", u"a1"});
    m_manager->AddKeyword({u"B", u"b1"});
    m_manager->SetCategoryImage(u"A", u"/img/a.png");
    EventLog events(m_manager.Get());
    EXPECT_EQ(m_manager->RenameCategory(u"A", u"b"), S_OK);
    EXPECT_EQ(Vocabulary(), (Lines{u"B:b1,"}));
    EXPECT_EQ(m_manager->RenameCategory(u"b", u"b"), S_OK);
    EXPECT_EQ(Vocabulary(), (Lines{u"b:b1,"}));
    EXPECT_EQ(m_manager->RenameCategory(u"Gone", u"X"), S_FALSE);
    EXPECT_EQ(m_manager->RenameCategory(u"", u"X"), E_INVALIDARG);
    EXPECT_EQ(events.Take(), (Lines{u"~C A>b", u"~C b>b"}));
    CComBSTR file;
    EXPECT_EQ(m_manager->GetCategoryImage(u"A", file.GetAddressOf()), S_OK);
    EXPECT_EQ(qm::BstrView(file), u"/img/a.png");
}

TEST_F(CategoryManagerTest, EnumeratorsAndMatchingKeywords)
{
    for (const char16_t* keyword : {u"Corner", u"Goal kick", u"Own goal", u"Été"})
        m_manager->AddKeyword({u"Events", keyword});
    ComPtr<IEnumString> enumerator;
    ASSERT_EQ(m_manager->EnumKeywords(u"EVENTS", enumerator.GetAddressOf()), S_OK);
    Lines listed;
    LPOLESTR text = nullptr;
    while (enumerator->Next(1, &text, nullptr) == S_OK)
    {
        listed.push_back(text);
        CoTaskMemFree(text);
    }
    EXPECT_EQ(listed, (Lines{u"Corner", u"Goal kick", u"Own goal", u"Été"}));
    ASSERT_EQ(m_manager->EnumKeywords(u"Unknown", enumerator.ReleaseAndGetAddressOf()), S_OK);
    EXPECT_EQ(enumerator->Next(1, &text, nullptr), S_FALSE);

    EXPECT_EQ(m_manager->GetMatchingKeywords(u"Events", u"goal"), (Lines{u"Goal kick", u"Own goal"}));
    EXPECT_EQ(m_manager->GetMatchingKeywords(u"Events", u"été"), (Lines{u"Été"}));
    // The filter is not lowered: callers pass it in lower case.
    EXPECT_EQ(m_manager->GetMatchingKeywords(u"Events", u"Goal"), Lines{});
    EXPECT_EQ(m_manager->GetMatchingKeywords(u"Events", u"").size(), 4u);
    EXPECT_EQ(m_manager->GetMatchingKeywords(u"Unknown", u"g"), Lines{});
}

TEST_F(CategoryManagerTest, ImageAssociationsAreKeyedByExactNames)
{
    EXPECT_EQ(m_manager->SetCategoryImageTag(u"Team", 7), S_OK);
    CComBSTR file;
    EXPECT_EQ(m_manager->GetCategoryImage(u"Team", file.GetAddressOf()), S_OK);
    EXPECT_EQ(qm::BstrView(file), u"");
    EXPECT_EQ(m_manager->SetCategoryImage(u"Team", u"/t.png"), S_OK);
    EXPECT_EQ(m_manager->GetCategoryImageTag(u"Team"), 0u);
    EXPECT_EQ(m_manager->SetCategoryImage(u"team", u"/lower.png"), S_OK);
    unsigned int count = 0;
    EXPECT_EQ(m_manager->GetCategoryImageCount(&count), S_OK);
    EXPECT_EQ(count, 2u);
    // Ordinal order: "Team" before "team".
    EXPECT_EQ(m_manager->GetCategoryImageAt(0, file.ReleaseAndGetAddressOf()), S_OK);
    EXPECT_EQ(qm::BstrView(file), u"/t.png");
    EXPECT_EQ(m_manager->SetCategoryImageAt(1, u"/new.png"), S_OK);
    EXPECT_EQ(m_manager->GetCategoryImage(u"team", file.ReleaseAndGetAddressOf()), S_OK);
    EXPECT_EQ(qm::BstrView(file), u"/new.png");
    EXPECT_EQ(m_manager->GetCategoryImageAt(2, file.ReleaseAndGetAddressOf()), E_INVALIDARG);
    EXPECT_EQ(m_manager->GetCategoryImageAt(-1, file.ReleaseAndGetAddressOf()), E_INVALIDARG);
    EXPECT_EQ(m_manager->SetCategoryImageAt(2, u"/x.png"), E_INVALIDARG);
    // Removing the category "TEAM" leaves both associations, spelled otherwise.
    m_manager->AddCategory(u"TEAM");
    m_manager->RemoveCategory(u"TEAM");
    EXPECT_EQ(m_manager->GetCategoryImageCount(&count), S_OK);
    EXPECT_EQ(count, 2u);
    EXPECT_EQ(m_manager->RemoveCategoryImage(u"team"), S_OK);
    EXPECT_EQ(m_manager->GetCategoryImage(u"team", file.ReleaseAndGetAddressOf()), S_FALSE);
}

TEST_F(CategoryManagerTest, ItemsFeedTheVocabularyByMergeReplaceAndCategory)
{
    const ComPtr<ILibraryItemCollection> items =
        ItemsWith({{{u"Team", u"Red"}, {u"Play", u"Goal"}}, {{u"team", u"BLUE"}, {u"Team", u"red"}}});
    m_manager->AddKeyword({u"Team", u"RED"});
    m_manager->AddCategory(u"Old");
    m_manager->SetCategoryImage(u"Old", u"/old.png");
    {
        EventLog events(m_manager.Get());
        EXPECT_EQ(m_manager->MergeFromItems(items.Get()), S_OK);
        EXPECT_EQ(Vocabulary(), (Lines{u"Old:", u"Play:Goal,", u"Team:BLUE,RED,"}));
        EXPECT_EQ(events.Take(), (Lines{u"+C Play", u"+K Play/Goal", u"+K team/BLUE"}));
    }
    ComPtr<ICategoryManagerPrivate> only = Fresh();
    EXPECT_EQ(only->AddCategoryKeywordsFromItems(items.Get(), u"TEAM"), S_OK);
    // An item keeps a category under its first spelling: the second item's is "team".
    EXPECT_EQ(Vocabulary(only.Get()), (Lines{u"team:BLUE,Red,"}));
    {
        EventLog events(m_manager.Get());
        bool changed = false;
        EXPECT_EQ(m_manager->ReplaceFromItems(items.Get(), &changed), S_OK);
        EXPECT_TRUE(changed);
        EXPECT_EQ(Vocabulary(), (Lines{u"Play:Goal,", u"team:BLUE,Red,"}));
        EXPECT_EQ(events.Take(), (Lines{u"+C Play", u"+K Play/Goal", u"+C Team", u"+K Team/Red", u"+K team/BLUE",
                                        u"+K team/red", u"-C Old"}));
        unsigned int count = 1;
        m_manager->GetCategoryImageCount(&count);
        EXPECT_EQ(count, 0u);
    }
    EXPECT_EQ(m_manager->MergeFromItems(nullptr), E_INVALIDARG);
    EXPECT_EQ(m_manager->AddKeywordsFromItem(nullptr), E_INVALIDARG);
}

TEST_F(CategoryManagerTest, AFileWrittenHereLoadsBackEqualWithItsImages)
{
    WriteFile(m_dir / "a.png", "png");
    m_manager->AddKeyword({u"Équipe", u"Rouge & <Noir>"});
    m_manager->AddKeyword({u"Équipe", u"Bleu"});
    m_manager->AddCategory(u"Empty");
    m_manager->SetCategoryImage(u"Équipe", m_dir.U16("a.png").c_str());
    m_manager->SetCategoryImage(u"Gone", m_dir.U16("gone.png").c_str());
    const std::u16string file = m_dir.U16("vocabulary.xml");
    ASSERT_EQ(m_manager->Save(file.c_str()), S_OK);

    ComPtr<ICategoryManagerPrivate> loaded = Fresh();
    ASSERT_EQ(loaded->LoadFromFile(file.c_str()), S_OK);
    EXPECT_EQ(Vocabulary(loaded.Get()), Vocabulary());
    unsigned int count = 0;
    loaded->GetCategoryImageCount(&count);
    EXPECT_EQ(count, 1u); // the association whose file has gone is not written
    CComBSTR image;
    EXPECT_EQ(loaded->GetCategoryImage(u"Équipe", image.GetAddressOf()), S_OK);
    EXPECT_EQ(qm::BstrView(image), m_dir.U16("a.png"));

    ASSERT_EQ(m_manager->SaveAs(file.c_str(), true), S_OK);
    EXPECT_NE(ReadFile(m_dir / "vocabulary.xml").find("FileName=\"a.png\""), std::string::npos);
    CComBSTR xml;
    ASSERT_EQ(m_manager->SaveToXml(xml.GetAddressOf()), S_OK);
    ComPtr<ICategoryManagerPrivate> fromText = Fresh();
    ASSERT_EQ(fromText->LoadFromXml(xml), S_OK);
    EXPECT_EQ(Vocabulary(fromText.Get()), Vocabulary());
}

TEST_F(CategoryManagerTest, XmlReaderSearchesTheWholeDocumentAndSkipsNamelessCategories)
{
    const CComBSTR xml(u"<Other><Deep><Category Name=\"A\"><Value>a1</Value><Value/></Category></Deep>"
                       u"<Category Name=\"\"><Value>lost</Value></Category><Category><Value>lost</Value></Category>"
                       u"<Category Name=\"B\"><Value>b1</Value></Category>"
                       u"<ImageAssociation Name=\"A\" FileName=\"a.png\"/></Other>");
    EventLog events(m_manager.Get());
    ASSERT_EQ(m_manager->LoadFromXml(xml), S_OK);
    EXPECT_EQ(Vocabulary(), (Lines{u"A:a1,", u"B:b1,"}));
    EXPECT_EQ(events.Take(), (Lines{u"+C A", u"+K A/a1", u"+C B", u"+K B/b1"}));
    CComBSTR image;
    EXPECT_EQ(m_manager->GetCategoryImage(u"A", image.GetAddressOf()), S_OK);
    EXPECT_EQ(qm::BstrView(image), u"a.png");

    EXPECT_EQ(m_manager->LoadFromXml(CComBSTR(u"<Categories><Category Name=\"C\">")), E_FAIL);
    EXPECT_EQ(m_manager->LoadFromDocument(nullptr), E_INVALIDARG);
    EXPECT_EQ(m_manager->LoadFromFile(nullptr), E_UNEXPECTED);
    EXPECT_EQ(m_manager->LoadFromFile(m_dir.U16("missing.xml").c_str()), HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
}

TEST_F(CategoryManagerTest, ExportThenImportRestoresEveryCategoryWithKeywords)
{
    m_manager->AddKeyword({u"Team", u"Red"});
    m_manager->AddKeyword({u"Team", u"Blue"});
    m_manager->AddKeyword({u"Équipe", u"Été"});
    m_manager->AddCategory(u"Empty");
    const std::u16string file = m_dir.U16("keywords.txt");
    ASSERT_EQ(m_manager->ExportToTextFile(file.c_str()), S_OK);
    const std::string bytes = ReadFile(m_dir / "keywords.txt");
    ASSERT_GE(bytes.size(), 2u);
    EXPECT_EQ(bytes.substr(0, 2), "\xFF\xFE");
    EXPECT_EQ(bytes.substr(2, 10), std::string("T\0e\0a\0m\0\t\0", 10));

    ComPtr<ICategoryManagerPrivate> imported = Fresh();
    ASSERT_EQ(imported->ImportFromTextFile(file.c_str()), S_OK);
    EXPECT_EQ(Vocabulary(imported.Get()), (Lines{u"Team:Blue,Red,", u"Équipe:Été,"}));
}

TEST_F(CategoryManagerTest, ImportReadsEachEncodingAndSeparatorRule)
{
    struct Case
    {
        const char* name;
        std::string bytes;
        HRESULT expected;
        Lines vocabulary;
    };
    const std::string utf16 = std::string("\xFF\xFE", 2) + std::string("A\0\t\0b\0\r\0\n\0\0\0C\0\t\0d\0", 18);
    const std::vector<Case> cases = {
        {"utf-8 with a mark", "\xEF\xBB\xBF" "Team\tRed\r\n \tx\nTeam\t Blue \n", S_OK, {u"Team:Blue,Red,"}},
        {"utf-16 ends at its first NUL", utf16, S_OK, {u"A:b,"}},
        {"no mark is utf-8", "\xC3\x89quipe;Rouge\nx;y;z\na;\n;b\n", S_OK, {u"Équipe:Rouge,"}},
        {"tab wins over semicolon", "a;b\nc\td;e\nf\tg\t\n", S_OK, {u"c:d;e,", u"f:g,"}},
        {"no separator", "just words\n", E_FAIL, {}},
        {"malformed utf-8", "\xFF\xFF\xFF\xFF\tx", E_FAIL, {}},
        {"utf-16 big endian", std::string("\xFE\xFF\0a\0\t", 6), E_FAIL, {}},
        {"utf-32", std::string("\xFF\xFE\0\0a\0\0\0", 8), E_FAIL, {}},
        {"three bytes", "a\tb", HRESULT_FROM_WIN32(ERROR_HANDLE_EOF), {}},
        {"empty", "", E_UNEXPECTED, {}},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.name);
        WriteFile(m_dir / "in.txt", c.bytes);
        ComPtr<ICategoryManagerPrivate> manager = Fresh();
        EXPECT_EQ(manager->ImportFromTextFile(m_dir.U16("in.txt").c_str()), c.expected);
        EXPECT_EQ(Vocabulary(manager.Get()), c.vocabulary);
    }
}

TEST_F(CategoryManagerTest, AFailedSaveOrExportKeepsTheOldFileWhole)
{
    m_manager->AddKeyword({u"Team", u"Red"});
    WriteFile(m_dir / "old.xml", "old");
    using Operation = qm::FaultInjectingFileSystem::Operation;
    for (const Operation operation : {Operation::Write, Operation::Fsync, Operation::RenameReplacing})
    {
        qm::FaultInjectingFileSystem faults(qm::FileSystem());
        qm::ScopedFileSystem scope(faults);
        faults.Fail(operation, EIO, 2);
        EXPECT_TRUE(FAILED(m_manager->Save(m_dir.U16("old.xml").c_str())));
        EXPECT_TRUE(FAILED(m_manager->ExportToTextFile(m_dir.U16("old.xml").c_str())));
    }
    EXPECT_EQ(ReadFile(m_dir / "old.xml"), "old");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(m_dir.Path()), {}), 1);
}
} // namespace
