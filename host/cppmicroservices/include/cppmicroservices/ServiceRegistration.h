#pragma once

#include <cppmicroservices/ServiceReference.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

namespace cppmicroservices {
inline namespace bundled {

/// The registrant's hold on its service. Letting go of it does not unregister the service.
class ServiceRegistrationBase {
public:
    explicit operator bool() const { return entry_ != nullptr; }

    /// Raises `std::logic_error` when the service is unregistered.
    ServiceReferenceBase GetReference(const std::string& interface_id = {}) const
    {
        if (!entry_ || !entry_->is_registered())
            throw_unregistered();
        return ServiceReferenceBase(entry_, interface_id);
    }

    /// Takes the service back: it is found no more, and lives on only where it is held. Raises
    /// `std::logic_error` the second time.
    void Unregister()
    {
        const auto implementation = entry_ ? entry_->retire() : nullptr;
        if (!implementation)
            throw_unregistered();
        if (const auto services = registry_.lock())
            services->forget(entry_);
    }

    bool operator==(const ServiceRegistrationBase& other) const { return entry_ == other.entry_; }

protected:
    ServiceRegistrationBase() = default;

private:
    friend class BundleContext;

    ServiceRegistrationBase(const std::shared_ptr<detail::registry>& services,
                            std::shared_ptr<detail::service_entry> entry)
        : registry_(services), entry_(std::move(entry))
    {
    }

    [[noreturn]] static void throw_unregistered()
    {
        throw std::logic_error("Service is unregistered");
    }

    std::weak_ptr<detail::registry> registry_;
    std::shared_ptr<detail::service_entry> entry_;
};

template <typename First, typename... Interfaces>
class ServiceRegistration : public ServiceRegistrationBase {
public:
    ServiceRegistration() = default;

    ServiceReference<First> GetReference() const { return GetReference<First>(); }

    template <typename Interface>
    ServiceReference<Interface> GetReference() const
    {
        static_assert(
            (std::is_same_v<Interface, First> || ... || std::is_same_v<Interface, Interfaces>),
            "The service is not registered with this interface");
        return ServiceRegistrationBase::GetReference(us_service_interface_iid<Interface>());
    }

private:
    friend class BundleContext;

    explicit ServiceRegistration(const ServiceRegistrationBase& base)
        : ServiceRegistrationBase(base)
    {
    }
};

} // namespace bundled
} // namespace cppmicroservices
