#pragma once

#include <cppmicroservices/BundleContext.h>

#include <memory>
#include <stdexcept>
#include <utility>

namespace cppmicroservices {
inline namespace bundled {

/// What the service objects of all interfaces have in common.
class ServiceObjectsBase {
protected:
    ServiceObjectsBase(std::shared_ptr<detail::registry> services,
                       const ServiceReferenceBase& reference)
        : registry_(std::move(services)), reference_(reference)
    {
        if (!reference)
            throw std::invalid_argument("The service reference is invalid");
    }

    std::shared_ptr<void> get() const
    {
        registry_->throw_if_closed();
        return reference_.entry_->service(reference_.interface_id_);
    }

    const ServiceReferenceBase& reference() const { return reference_; }

private:
    std::shared_ptr<detail::registry> registry_;
    ServiceReferenceBase reference_;
};

/// Gives out the service of one reference.
template <typename Interface>
class ServiceObjects : private ServiceObjectsBase {
public:
    ServiceObjects(ServiceObjects&&) = default;
    ServiceObjects& operator=(ServiceObjects&&) = default;

    /// The service, alive as long as it is held; null when it was unregistered meanwhile. Raises
    /// IllegalStateException when the framework was stopped.
    std::shared_ptr<Interface> GetService() const
    {
        return std::static_pointer_cast<Interface>(get());
    }

    ServiceReference<Interface> GetServiceReference() const { return reference(); }

private:
    friend class BundleContext;

    ServiceObjects(const std::shared_ptr<detail::registry>& services,
                   const ServiceReference<Interface>& reference)
        : ServiceObjectsBase(services, reference)
    {
    }
};

} // namespace bundled
} // namespace cppmicroservices
