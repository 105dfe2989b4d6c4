#include "qm/Platform/Com/ObjectRoot.h"

#include "qm/Platform/Com/Dispatch.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

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

TEST(ObjectRoot, CreateObjectHandsTheFirstReferenceToAnOutParameter)
{
    bool destroyed = false;
    ISecond* second = nullptr;
    ASSERT_EQ(S_OK, qm::CreateObject<Sample>(&second, &destroyed));
    ASSERT_NE(nullptr, second);
    EXPECT_EQ(2, second->Second());
    EXPECT_EQ(0u, second->Release());
    EXPECT_TRUE(destroyed);
    EXPECT_EQ(E_POINTER, qm::CreateObject<Sample>(static_cast<IFirst**>(nullptr), &destroyed));
}

TEST(ObjectRoot, CountsHoldUnderConcurrentReferences)
{
    bool destroyed = false;
    ComPtr<Sample> sample = qm::MakeObject<Sample>(&destroyed);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([raw = static_cast<IFirst*>(sample.Get())] {
            for (int i = 0; i < 20000; ++i)
            {
                ComPtr<IFirst> copy(raw);
                ComPtr<IUnknown> other;
                copy.As(&other);
            }
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_FALSE(destroyed);
    EXPECT_EQ(2u, sample->AddRef());
    EXPECT_EQ(1u, sample->Release());
}
