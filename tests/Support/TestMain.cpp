#include "Support/FailingAllocator.h"

#include <gtest/gtest.h>

#include <clocale>

int main(int argc, char** argv)
{
    // Tests must not depend on the machine's locale.
    std::setlocale(LC_ALL, "C");
    // Also links the replaced global allocator into every test program: tests of any layer
    // may make memory run out.
    qmtest::FailingAllocator::AllowOnThisThread(-1);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
