#include "curl_global.hpp"
#include "framework.hpp"
#include "proxy_selector.hpp"

#include <tarnix/host/standalone.hpp>

#include <cppmicroservices/BundleContext.h>
#include <cppmicroservices/FrameworkEvent.h>
#include <cppmicroservices/FrameworkFactory.h>

#include <atomic>
#include <chrono>
#include <exception>
#include <optional>
#include <stdexcept>

namespace tarnix::host {

namespace {

class only_one {
public:
    only_one()
    {
        if (taken.exchange(true))
            throw std::logic_error("There is a stand-alone host in this process already.");
    }
    ~only_one() { taken = false; }
    only_one(const only_one&) = delete;
    only_one& operator=(const only_one&) = delete;

private:
    static inline std::atomic<bool> taken{false};
};

class running_framework {
public:
    running_framework()
        : framework_(std::make_shared<cppmicroservices::Framework>(
              cppmicroservices::FrameworkFactory().NewFramework()))
    {
        framework_->Start();
    }
    ~running_framework()
    {
        framework_->Stop();
        framework_->WaitForStop(std::chrono::milliseconds::zero());
    }
    running_framework(const running_framework&) = delete;
    running_framework& operator=(const running_framework&) = delete;

    const std::shared_ptr<cppmicroservices::Framework>& get() const { return framework_; }

private:
    std::shared_ptr<cppmicroservices::Framework> framework_;
};

template <typename Interface>
class offered_service {
public:
    offered_service(const running_framework& framework, const std::shared_ptr<Interface>& service)
        : registration_(
              framework.get()->GetBundleContext().template RegisterService<Interface>(service))
    {
    }
    ~offered_service()
    {
        try {
            registration_.Unregister();
        } catch (const std::exception&) { // NOLINT(bugprone-empty-catch)
            // Somebody stopped the framework before, and with it went its services.
        }
    }
    offered_service(const offered_service&) = delete;
    offered_service& operator=(const offered_service&) = delete;

private:
    cppmicroservices::ServiceRegistration<Interface> registration_;
};

class visible_framework {
public:
    explicit visible_framework(const running_framework& framework)
    {
        set_framework(framework.get());
    }
    ~visible_framework() { set_framework(nullptr); }
    visible_framework(const visible_framework&) = delete;
    visible_framework& operator=(const visible_framework&) = delete;
};

} // namespace

/// In the order of the start; the end is the reverse, whatever made it come.
struct standalone::parts {
    explicit parts(const standalone_options& options)
    {
        if (options.libcurl_initializer)
            initializer.emplace(framework, make_curl_initializer());
        if (options.proxy_selector)
            selector.emplace(framework, make_system_proxy_selector());
        visible.emplace(framework);
    }

    only_one claim;
    running_framework framework;
    std::optional<
        offered_service<foundation::httpclient_core::libcurlinitializer::LibCurlInitializer>>
        initializer;
    std::optional<offered_service<foundation::httpproxy::ProxySelector>> selector;
    std::optional<visible_framework> visible;
};

standalone::standalone(const standalone_options& options) : parts_(std::make_unique<parts>(options))
{
}

standalone::~standalone() = default;

} // namespace tarnix::host
