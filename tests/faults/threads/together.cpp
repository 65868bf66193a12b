#include "together.hpp"

#include <gtest/gtest.h>

#include <exception>
#include <latch>
#include <thread>
#include <vector>

namespace tarnix::test {

void together(int count, const std::function<void(int)>& work)
{
    std::latch start(count);
    std::vector<std::jthread> threads;
    for (int number = 0; number < count; ++number)
        threads.emplace_back([&, number] {
            start.arrive_and_wait();
            try {
                work(number);
            } catch (const std::exception& error) {
                ADD_FAILURE() << "thread " << number << ": " << error.what();
            }
        });
}

} // namespace tarnix::test
