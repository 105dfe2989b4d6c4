// The frame of the module: what lives from load to unload. Its static values are
// defined in one place (ModuleStatics.cpp) in the order they must come up, and go down
// in the reverse order at unload.
#pragma once

#include "qm/Platform/Com/Bstr.h"
#include "qm/Platform/Com/Unknown.h"

namespace Quillmar::Library::Native
{
class ModuleFrame
{
public:
    ModuleFrame() noexcept = default;
    ~ModuleFrame();
    ModuleFrame(const ModuleFrame&) = delete;
    ModuleFrame& operator=(const ModuleFrame&) = delete;

    static ModuleFrame& Instance() noexcept;

    IServiceProvider* VideoAccelerationServiceProvider() const noexcept { return m_videoAccelerationServiceProvider; }
    void SetVideoAccelerationServiceProvider(IServiceProvider* provider) noexcept;

private:
    IServiceProvider* m_videoAccelerationServiceProvider = nullptr;
};

// A BSTR made at load and freed at unload.
class ConstantBstr
{
public:
    explicit ConstantBstr(const char16_t* text) : m_value(qm::AllocBstr(text)) {}
    ~ConstantBstr() { SysFreeString(m_value); }
    ConstantBstr(const ConstantBstr&) = delete;
    ConstantBstr& operator=(const ConstantBstr&) = delete;

    BSTR Get() const noexcept { return m_value; }

private:
    BSTR m_value;
};

// The XML names that every keyword read and write uses.
BSTR NameAttributeName() noexcept;     // "name"
BSTR CategoryElementName() noexcept;   // "CATEGORY"
BSTR CategoriesElementName() noexcept; // "CATEGORIES"
} // namespace Quillmar::Library::Native
