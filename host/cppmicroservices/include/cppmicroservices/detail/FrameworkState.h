#pragma once

#include <cppmicroservices/detail/Registry.h>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <utility>

namespace cppmicroservices {
inline namespace bundled {
namespace detail {

/// What the copies of one framework share.
class framework_state {
public:
    enum class stage { installed, initialised, active, stopped };
    enum class wait_result { never_started, stopped, timed_out };

    framework_state() = default;
    ~framework_state() { stop(); }
    framework_state(const framework_state&) = delete;
    framework_state& operator=(const framework_state&) = delete;

    stage current() const
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        return stage_;
    }

    /// Null when not started.
    std::shared_ptr<registry> services() const
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        return services_;
    }

    void init()
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        open_services();
    }

    void start()
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        open_services();
        stage_ = stage::active;
    }

    void stop()
    {
        const auto closing = services();
        if (!closing)
            return;
        // Without the lock: services may be destroyed here.
        closing->close();
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            if (services_ == closing) {
                services_.reset();
                stage_ = stage::stopped;
            }
        }
        stopped_.notify_all();
    }

    /// 0 waits without an end.
    wait_result wait_for_stop(std::chrono::milliseconds timeout)
    {
        std::unique_lock<std::mutex> lock(mutex_);
        if (stage_ == stage::installed)
            return wait_result::never_started;
        const auto is_over = [&] { return !services_; };
        if (timeout == std::chrono::milliseconds::zero())
            stopped_.wait(lock, is_over);
        else if (!stopped_.wait_for(lock, timeout, is_over))
            return wait_result::timed_out;
        return wait_result::stopped;
    }

private:
    void open_services()
    {
        if (services_)
            return;
        services_ = std::make_shared<registry>();
        stage_ = stage::initialised;
    }

    mutable std::mutex mutex_;
    std::condition_variable stopped_;
    stage stage_ = stage::installed;
    std::shared_ptr<registry> services_;
};

} // namespace detail
} // namespace bundled
} // namespace cppmicroservices
