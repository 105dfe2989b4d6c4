// Runs the body of an interface operation so that no exception leaves it: the string and
// container helpers it calls throw on exhausted memory or bad text, the host expects an
// HRESULT.
#pragma once

#include "qm/Platform/Com/HResultException.h"
#include "qm/Platform/Text/Utf8Conversion.h"

#include <new>
#include <stdexcept>
#include <utility>

namespace qm
{
template <class F>
HRESULT Guarded(F&& body) noexcept
{
    try
    {
        return std::forward<F>(body)();
    }
    catch (const std::bad_alloc&)
    {
        return E_OUTOFMEMORY;
    }
    catch (const std::length_error&)
    {
        return E_OUTOFMEMORY; // a size past what a container can hold
    }
    catch (const HResultException& e)
    {
        return e.Result();
    }
    catch (const win32::Utf8ConversionException&)
    {
        return E_INVALIDARG;
    }
}
} // namespace qm
