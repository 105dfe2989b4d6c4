#include <gtest/gtest.h>

#include <clocale>

int main(int argc, char** argv)
{
    // Tests must not depend on the machine's locale.
    std::setlocale(LC_ALL, "C");
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
