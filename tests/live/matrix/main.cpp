#include "counts.hpp"

#include <gtest/gtest.h>

#include <iostream>

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    const auto result = RUN_ALL_TESTS();
    tarnix::test::print_counts();
    const auto& tests = *testing::UnitTest::GetInstance();
    if (!testing::GTEST_FLAG(list_tests) && tests.test_to_run_count() == 0) {
        std::cerr << "No test has this name.\n";
        return 1;
    }
    return result;
}
