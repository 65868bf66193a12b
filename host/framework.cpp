#include "framework.hpp"

#include <foundation/cppmicroservices/framework.hpp>

#include <mutex>
#include <utility>

namespace {

struct current_framework {
    std::mutex mutex;
    std::shared_ptr<::cppmicroservices::Framework> framework;
};

current_framework& current()
{
    // Never destroyed: objects with static storage may ask for the framework until the very end.
    static auto& instance = *new current_framework;
    return instance;
}

} // namespace

void tarnix::host::set_framework(std::shared_ptr<::cppmicroservices::Framework> framework)
{
    // The one before goes after the lock has been released.
    const std::lock_guard<std::mutex> lock(current().mutex);
    current().framework.swap(framework);
}

namespace foundation::cppmicroservices {

std::shared_ptr<::cppmicroservices::Framework> getFramework()
{
    const std::lock_guard<std::mutex> lock(current().mutex);
    return current().framework;
}

} // namespace foundation::cppmicroservices
