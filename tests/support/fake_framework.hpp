#pragma once

#include <cppmicroservices/BundleContext.h>
#include <cppmicroservices/Framework.h>

#include <memory>

namespace tarnix::test {

/// The service framework of a test program that links it, instead of the host's; without one the
/// host has none.
class fake_framework {
public:
    /// Made and started; not stopped at the end when a test has done that.
    fake_framework();
    ~fake_framework();
    fake_framework(const fake_framework&) = delete;
    fake_framework& operator=(const fake_framework&) = delete;

    template <typename Interface>
    void add(const std::shared_ptr<Interface>& service)
    {
        static_cast<void>(
            framework_->GetBundleContext().template RegisterService<Interface>(service));
    }
    /// Stops it and waits for the end; it can still be asked for.
    void stop();

    static std::shared_ptr<cppmicroservices::Framework> current();

private:
    std::shared_ptr<cppmicroservices::Framework> framework_;
    bool running_ = true;
};

} // namespace tarnix::test
