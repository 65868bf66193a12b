#pragma once

#include <cppmicroservices/LDAPFilter.h>
#include <cppmicroservices/ServiceRegistration.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace cppmicroservices {
inline namespace bundled {

template <typename Interface>
class ServiceObjects;

/// Access to the services of a framework, from its start to its stop; may be used by any thread.
/// On a context that is not valid every operation raises IllegalStateException "The bundle context
/// is no longer valid".
class BundleContext {
public:
    BundleContext() = default;

    /// True while the context is valid.
    explicit operator bool() const { return registry_ && registry_->is_open(); }
    bool operator==(const BundleContext& other) const { return registry_ == other.registry_; }

    /// Offers `implementation` under each interface. Raises `std::invalid_argument` for null.
    template <typename First, typename... Interfaces, typename Implementation>
    [[nodiscard]] ServiceRegistration<First, Interfaces...>
    RegisterService(const std::shared_ptr<Implementation>& implementation,
                    const ServiceProperties& properties = {})
    {
        throw_if_closed();
        if (!implementation)
            throw std::invalid_argument("Can't register as null class");
        const auto interfaces = std::make_shared<InterfaceMap>();
        insert<First>(*interfaces, implementation);
        (insert<Interfaces>(*interfaces, implementation), ...);
        return ServiceRegistration<First, Interfaces...>(
            ServiceRegistrationBase(registry_, registry_->add(interfaces, properties)));
    }

    /// All services of an interface: the highest ranking first, the oldest first among equals.
    std::vector<ServiceReferenceU> GetServiceReferences(const std::string& interface_id,
                                                        const std::string& filter = {})
    {
        return find<void>(interface_id, filter);
    }

    template <typename Interface>
    std::vector<ServiceReference<Interface>> GetServiceReferences(const std::string& filter = {})
    {
        return find<Interface>(detail::checked_interface_id<Interface>(), filter);
    }

    /// The preferred one; empty when there is none.
    template <typename Interface>
    ServiceReference<Interface> GetServiceReference()
    {
        const auto references = GetServiceReferences<Interface>();
        return references.empty() ? ServiceReference<Interface>() : references.front();
    }

    /// Raises `std::invalid_argument` for an empty reference and an unregistered service.
    template <typename Interface>
    std::shared_ptr<Interface> GetService(const ServiceReference<Interface>& reference)
    {
        throw_if_closed();
        return GetServiceObjects(reference).GetService();
    }

    /// Raises like `GetService`, but not for a context whose framework was stopped: that is left
    /// to the objects. Needs ServiceObjects.h.
    template <typename Interface>
    ServiceObjects<Interface> GetServiceObjects(const ServiceReference<Interface>& reference)
    {
        if (!registry_)
            detail::registry::throw_closed();
        return ServiceObjects<Interface>(registry_, reference);
    }

private:
    friend class Bundle;

    explicit BundleContext(std::shared_ptr<detail::registry> services)
        : registry_(std::move(services))
    {
    }

    template <typename Interface, typename Implementation>
    static void insert(InterfaceMap& interfaces,
                       const std::shared_ptr<Implementation>& implementation)
    {
        interfaces.emplace(detail::checked_interface_id<Interface>(),
                           std::static_pointer_cast<Interface>(implementation));
    }

    template <typename Interface>
    std::vector<ServiceReference<Interface>> find(const std::string& interface_id,
                                                  const std::string& filter) const
    {
        throw_if_closed();
        detail::refuse_filter(filter);
        std::vector<ServiceReference<Interface>> references;
        for (const auto& entry : registry_->find(interface_id))
            references.emplace_back(ServiceReferenceBase(entry, interface_id));
        return references;
    }

    void throw_if_closed() const
    {
        if (!*this)
            detail::registry::throw_closed();
    }

    std::shared_ptr<detail::registry> registry_;
};

} // namespace bundled
} // namespace cppmicroservices
