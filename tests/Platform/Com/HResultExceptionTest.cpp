#include "qm/Platform/Com/HResultException.h"

#include <gtest/gtest.h>

#include <string>

TEST(HResultException, CarriesItsCodeAndNamesIt)
{
    try
    {
        qm::ThrowHResult(E_OUTOFMEMORY);
        FAIL() << "no exception";
    }
    catch (const std::exception& error)
    {
        EXPECT_EQ("HRESULT 0x8007000E", std::string(error.what()));
        const auto* carried = dynamic_cast<const qm::HResultException*>(&error);
        ASSERT_NE(nullptr, carried);
        EXPECT_EQ(E_OUTOFMEMORY, carried->Result());
    }
}
