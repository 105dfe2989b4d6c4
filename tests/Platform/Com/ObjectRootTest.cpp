#include "qm/Platform/Com/ObjectRoot.h"

#include "Platform/Com/ModuleLock.h"
#include "qm/Platform/Com/CoTaskMem.h"
#include "qm/Platform/Com/Dispatch.h"
#include "qm/Platform/Com/PropVariant.h"

#include <gtest/gtest.h>

namespace
{
struct IFirst : IUnknown
{
    virtual int First() = 0;
};
QM_DECLARE_IID(IFirst, "{11111111-2222-3333-4444-555555555555}")

struct ISecond : IUnknown
{
    virtual int Second() = 0;
};
QM_DECLARE_IID(ISecond, "{66666666-7777-8888-9999-AAAAAAAAAAAA}")

class Sample final : public Standard::CComObjectRootEx<Standard::CComMultiThreadModel>,
                     public IFirst,
                     public ISecond,
                     private Standard::AllocatedResource<Sample>
{
public:
    static constexpr CLSID ClassId = qm::ParseGuid("{BBBBBBBB-CCCC-DDDD-EEEE-FFFFFFFFFFFF}");

    explicit Sample(bool* destroyed) : m_destroyed(destroyed) {}
    ~Sample() { *m_destroyed = true; }

    QM_IUNKNOWN_IMPL(Sample, IFirst, ISecond, qm::QISelf<Sample>)

    int First() override { return 1; }
    int Second() override { return 2; }

private:
    bool* m_destroyed;
};
} // namespace

TEST(ObjectRoot, CountStartsAtOneAndTheLastReleaseDestroys)
{
    const long before = Standard::CComObjectRootBase::LiveObjectCount();
    bool destroyed = false;
    {
        ComPtr<Sample> sample = qm::MakeObject<Sample>(&destroyed);
        ASSERT_TRUE(sample);
        EXPECT_EQ(before + 1, Standard::CComObjectRootBase::LiveObjectCount());
        // The count was 1 and belongs to the holder: one more and one less.
        EXPECT_EQ(2u, sample->AddRef());
        EXPECT_EQ(1u, sample->Release());
        EXPECT_FALSE(destroyed);
    }
    EXPECT_TRUE(destroyed);
    EXPECT_EQ(before, Standard::CComObjectRootBase::LiveObjectCount());
}

TEST(ObjectRoot, QueryInterfaceAnswersFromItsTable)
{
    bool destroyed = false;
    ComPtr<Sample> sample = qm::MakeObject<Sample>(&destroyed);
    ComPtr<ISecond> second;
    ASSERT_EQ(S_OK, sample.As(&second));
    EXPECT_EQ(2, second->Second());
    ComPtr<IFirst> first;
    ASSERT_EQ(S_OK, second.As(&first));
    EXPECT_EQ(1, first->First());
    // One identity whichever interface is asked.
    ComPtr<IUnknown> fromFirst, fromSecond;
    first.As(&fromFirst);
    second.As(&fromSecond);
    EXPECT_EQ(fromFirst.Get(), fromSecond.Get());
    // The private identifier gives the object itself.
    Sample* self = nullptr;
    ASSERT_EQ(S_OK, first->QueryInterface(Sample::ClassId, reinterpret_cast<void**>(&self)));
    EXPECT_EQ(sample.Get(), self);
    self->Release();

    void* none = reinterpret_cast<void*>(1);
    EXPECT_EQ(E_NOINTERFACE, first->QueryInterface(IID_IDispatch, &none));
    EXPECT_EQ(nullptr, none);
    EXPECT_EQ(E_POINTER, first->QueryInterface(IID_IUnknown, nullptr));
}

TEST(ObjectRoot, ModuleLockCountsLiveHolders)
{
    const long before = qm::ModuleLockCount();
    {
        qm::ModuleLock one;
        qm::ModuleLock two = one;
        EXPECT_EQ(before + 2, qm::ModuleLockCount());
    }
    EXPECT_EQ(before, qm::ModuleLockCount());
}

TEST(PropVariant, CopyClearAndText)
{
    PROPVARIANT text;
    ASSERT_EQ(S_OK, InitPropVariantFromString(u"value", &text));
    PROPVARIANT copy;
    PropVariantInit(&copy);
    ASSERT_EQ(S_OK, PropVariantCopy(&copy, &text));
    EXPECT_NE(text.pwszVal, copy.pwszVal);
    LPWSTR out = nullptr;
    ASSERT_EQ(S_OK, PropVariantToStringAlloc(copy, &out));
    EXPECT_EQ(u"value", std::u16string(out));
    CoTaskMemFree(out);
    PropVariantClear(&text);
    PropVariantClear(&copy);
    EXPECT_EQ(VT_EMPTY, copy.vt);

    PROPVARIANT number;
    PropVariantInit(&number);
    number.vt = VT_I8;
    number.hVal = -5;
    ASSERT_EQ(S_OK, PropVariantToStringAlloc(number, &out));
    EXPECT_EQ(u"-5", std::u16string(out));
    CoTaskMemFree(out);
    number.vt = VT_BOOL;
    number.boolVal = VARIANT_TRUE;
    ASSERT_EQ(S_OK, PropVariantToStringAlloc(number, &out));
    EXPECT_EQ(u"True", std::u16string(out));
    CoTaskMemFree(out);
    number.vt = VT_FILETIME;
    EXPECT_EQ(DISP_E_TYPEMISMATCH, PropVariantToStringAlloc(number, &out));
}
