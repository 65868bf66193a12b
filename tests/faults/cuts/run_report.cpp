#include "run_report.hpp"

#include <exception>
#include <filesystem>
#include <iterator>

namespace tarnix::test {

void run_report::recover(const std::function<void()>& use)
{
    try {
        use();
        return;
    } catch (const std::exception&) {
        recovers_late = true;
    }
    try {
        use();
    } catch (const std::exception& error) {
        add_fault(std::string("the client is unusable afterwards: ") + error.what());
    }
}

void run_report::in_time(const std::function<void()>& job)
{
    const auto start = std::chrono::steady_clock::now();
    job();
    if (std::chrono::steady_clock::now() - start > longest_run)
        add_fault("it took too long");
}

std::ptrdiff_t open_descriptors()
{
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                         std::filesystem::directory_iterator());
}

} // namespace tarnix::test
