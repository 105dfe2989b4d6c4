#include "qm/LibrarySettings.h"

#include "qm/Module.h"
#include "qm/Platform/Com/ComPtr.h"

#include <gtest/gtest.h>

using Quillmar::Library::Native::LibrarySettings;

namespace
{
struct Provider : IServiceProvider
{
    ULONG count = 1;
    HRESULT QueryInterface(REFIID, void** ppv) override
    {
        *ppv = nullptr;
        return E_NOINTERFACE;
    }
    ULONG AddRef() override { return ++count; }
    ULONG Release() override { return --count; }
    HRESULT QueryService(REFGUID, REFIID, void** ppv) override
    {
        *ppv = nullptr;
        return E_NOINTERFACE;
    }
};
} // namespace

TEST(LibrarySettings, ServiceProviderReferences)
{
    IServiceProvider* out = reinterpret_cast<IServiceProvider*>(1);
    EXPECT_EQ(E_POINTER, LibrarySettings::GetVideoAccelerationServiceProvider(nullptr));
    ASSERT_EQ(S_OK, LibrarySettings::GetVideoAccelerationServiceProvider(&out));
    EXPECT_EQ(nullptr, out);

    Provider first, second;
    ASSERT_EQ(S_OK, LibrarySettings::SetVideoAccelerationServiceProvider(&first));
    ASSERT_EQ(S_OK, LibrarySettings::SetVideoAccelerationServiceProvider(&first));
    EXPECT_EQ(2u, first.count); // the same pointer twice keeps one reference
    ASSERT_EQ(S_OK, LibrarySettings::GetVideoAccelerationServiceProvider(&out));
    EXPECT_EQ(&first, out);
    EXPECT_EQ(3u, first.count);
    out->Release();
    ASSERT_EQ(S_OK, LibrarySettings::SetVideoAccelerationServiceProvider(&second));
    EXPECT_EQ(1u, first.count);
    EXPECT_EQ(2u, second.count);
    ASSERT_EQ(S_OK, LibrarySettings::SetVideoAccelerationServiceProvider(nullptr));
    EXPECT_EQ(1u, second.count);
    ASSERT_EQ(S_OK, LibrarySettings::GetVideoAccelerationServiceProvider(&out));
    EXPECT_EQ(nullptr, out);
}

TEST(ModuleExports, NoClassIsServedByIdentifier)
{
    const CLSID ids[] = {GUID_NULL, IID_IUnknown, IID_IServiceProvider,
                         qm::ParseGuid("{88D96A05-F192-11D4-A65F-0040963251E5}")};
    for (const CLSID& id : ids)
    {
        void* object = reinterpret_cast<void*>(1);
        EXPECT_EQ(CLASS_E_CLASSNOTAVAILABLE, DllGetClassObject(id, IID_IUnknown, &object));
        EXPECT_EQ(nullptr, object);
    }
    EXPECT_EQ(S_OK, DllCanUnloadNow());
    EXPECT_EQ(S_OK, DllRegisterServer());
    EXPECT_EQ(S_OK, DllUnregisterServer());
    EXPECT_FALSE(qm::ModuleVersion().empty());
}
