#pragma once

#include <cppmicroservices/Bundle.h>
#include <cppmicroservices/FrameworkEvent.h>

#include <chrono>
#include <memory>

namespace cppmicroservices {
inline namespace bundled {

/// A service framework. Copies share one state, and its services end with the last copy. May be
/// used by any thread.
class CPPMICROSERVICES_BUNDLED_VISIBLE Framework : public Bundle {
public:
    /// Makes contexts valid without starting. `Start` does it too.
    void Init() { state().init(); }

    /// Waits until the framework is stopped, with 0 for ever. FRAMEWORK_STOPPED,
    /// FRAMEWORK_WAIT_TIMEDOUT, or FRAMEWORK_ERROR when it was never started.
    FrameworkEvent WaitForStop(const std::chrono::milliseconds& timeout)
    {
        switch (state().wait_for_stop(timeout)) {
        case detail::framework_state::wait_result::stopped:
            return FrameworkEvent(FrameworkEvent::FRAMEWORK_STOPPED);
        case detail::framework_state::wait_result::timed_out:
            return FrameworkEvent(FrameworkEvent::FRAMEWORK_WAIT_TIMEDOUT);
        default:
            return FrameworkEvent(FrameworkEvent::FRAMEWORK_ERROR);
        }
    }

private:
    friend class FrameworkFactory;

    explicit Framework(const std::shared_ptr<detail::framework_state>& state) : Bundle(state) {}
};

} // namespace bundled
} // namespace cppmicroservices
