#pragma once

#include <cppmicroservices/BundleContext.h>
#include <cppmicroservices/detail/FrameworkState.h>
#include <cppmicroservices/detail/Visibility.h>

#include <cstdint>
#include <memory>
#include <utility>

namespace cppmicroservices {
inline namespace bundled {

/// A module with a life of its own. The only one here is the framework itself.
class CPPMICROSERVICES_BUNDLED_VISIBLE Bundle {
public:
    enum State : std::uint32_t {
        STATE_UNINSTALLED = 0x01,
        STATE_INSTALLED = 0x02,
        STATE_RESOLVED = 0x04,
        STATE_STARTING = 0x08,
        STATE_STOPPING = 0x10,
        STATE_ACTIVE = 0x20
    };

    Bundle(const Bundle&) = default;
    Bundle(Bundle&&) noexcept = default;
    Bundle& operator=(const Bundle&) = default;
    Bundle& operator=(Bundle&&) noexcept = default;
    virtual ~Bundle() = default;

    State GetState() const
    {
        switch (state_->current()) {
        case detail::framework_state::stage::installed:
            return STATE_INSTALLED;
        case detail::framework_state::stage::initialised:
            return STATE_STARTING;
        case detail::framework_state::stage::active:
            return STATE_ACTIVE;
        default:
            return STATE_RESOLVED;
        }
    }

    /// Not valid before the start and after the stop.
    BundleContext GetBundleContext() const { return BundleContext(state_->services()); }

    /// Does nothing when it is started already.
    void Start() { state_->start(); }
    /// Ends all contexts; services that are held stay usable. Always wait for it with
    /// `Framework::WaitForStop`. Does nothing when it is not started.
    void Stop() { state_->stop(); }

protected:
    explicit Bundle(std::shared_ptr<detail::framework_state> state) : state_(std::move(state)) {}

    detail::framework_state& state() const { return *state_; }

private:
    std::shared_ptr<detail::framework_state> state_;
};

} // namespace bundled
} // namespace cppmicroservices
