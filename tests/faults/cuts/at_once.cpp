#include "at_once.hpp"

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

namespace tarnix::test {

void do_at_once(std::size_t count, const std::function<void(std::size_t)>& job)
{
    constexpr std::size_t most_at_once = 36;
    std::atomic<std::size_t> next = 0;
    std::vector<std::jthread> workers;
    while (workers.size() < std::min(most_at_once, count))
        workers.emplace_back([&] {
            for (auto i = next++; i < count; i = next++)
                job(i);
        });
}

} // namespace tarnix::test
