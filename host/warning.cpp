#include <tarnix/host/standalone.hpp>

#include <tarnix/warning.hpp>

#include <iostream>
#include <mutex>
#include <utility>

namespace tarnix::host {

namespace {

void write_to_standard_error(const resource_core::BaseMsgID& message)
{
    std::cerr << "Warning: " + message_text(message) + "\n";
}

struct current_handler {
    std::mutex mutex;
    warning_handler handler = write_to_standard_error;
};

current_handler& current()
{
    // Never destroyed: a session with static storage may warn until the very end.
    static auto& instance = *new current_handler;
    return instance;
}

} // namespace

warning_handler set_warning_handler(warning_handler handler)
{
    if (!handler)
        handler = write_to_standard_error;
    const std::lock_guard<std::mutex> lock(current().mutex);
    return std::exchange(current().handler, std::move(handler));
}

} // namespace tarnix::host

void txWarningMsgId(const resource_core::BaseMsgID& message)
{
    using tarnix::host::current;
    // Called without the lock: a handler may warn, or set another one.
    const auto handler = [] {
        const std::lock_guard<std::mutex> lock(current().mutex);
        return current().handler;
    }();
    handler(message);
}
