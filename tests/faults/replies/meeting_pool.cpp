#include "meeting_pool.hpp"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace tarnix::test {

void run_meetings(std::size_t count, const std::function<void(std::size_t)>& meet)
{
    constexpr std::size_t most_threads = 48;
    std::atomic<std::size_t> next = 0;
    std::mutex mutex;
    std::exception_ptr raised;
    const auto work = [&] {
        try {
            for (auto number = next++; number < count; number = next++)
                meet(number);
        } catch (...) {
            const std::lock_guard lock(mutex);
            raised = std::current_exception();
        }
    };
    {
        std::vector<std::jthread> threads;
        for (std::size_t i = 0; i < std::min(count, most_threads); ++i)
            threads.emplace_back(work);
    }
    if (raised)
        std::rethrow_exception(raised);
}

} // namespace tarnix::test
