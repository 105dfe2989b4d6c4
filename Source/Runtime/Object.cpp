#include "qm/Runtime/Object.h"

#include <cxxabi.h>

#include <cstdlib>
#include <memory>
#include <typeinfo>

wstring ObjectBase::ToString() const
{
    const char* mangled = typeid(*this).name();
    int status = 0;
    std::unique_ptr<char, decltype(&std::free)> readable(abi::__cxa_demangle(mangled, nullptr, nullptr, &status),
                                                         &std::free);
    const std::string_view name = status == 0 && readable ? readable.get() : mangled;
    return wstring(name.begin(), name.end());
}
