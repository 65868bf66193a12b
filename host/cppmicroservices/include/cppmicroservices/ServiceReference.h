#pragma once

#include <cppmicroservices/detail/Registry.h>

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace cppmicroservices {
inline namespace bundled {

class BundleContext;
class ServiceObjectsBase;
class ServiceRegistrationBase;

/// Names one registered service without using it. It keeps the implementation alive until the
/// service is unregistered.
class ServiceReferenceBase {
public:
    /// True while the service is registered; stays true when the framework is stopped.
    explicit operator bool() const { return entry_ && entry_->is_registered(); }

    /// An empty value for a key that the service was not registered with.
    Any GetProperty(const std::string& key) const
    {
        if (!entry_)
            return {};
        const auto found = entry_->properties().find(key);
        return found == entry_->properties().end() ? Any() : found->second;
    }

    std::vector<std::string> GetPropertyKeys() const
    {
        std::vector<std::string> keys;
        if (entry_) {
            for (const auto& [key, value] : entry_->properties())
                keys.push_back(key);
        }
        return keys;
    }

    std::string GetInterfaceId() const { return interface_id_; }

    bool IsConvertibleTo(const std::string& interface_id) const
    {
        return entry_ && entry_->offers(interface_id);
    }

    bool operator==(const ServiceReferenceBase& other) const { return entry_ == other.entry_; }

    /// The preferred service is the greater one.
    bool operator<(const ServiceReferenceBase& other) const
    {
        if (!entry_ || !other.entry_)
            return !entry_ && other.entry_;
        return detail::ranks_below(*entry_, *other.entry_);
    }

protected:
    ServiceReferenceBase() = default;
    ServiceReferenceBase(std::shared_ptr<detail::service_entry> entry, std::string interface_id)
        : entry_(std::move(entry)), interface_id_(std::move(interface_id))
    {
    }

    void clear() { *this = ServiceReferenceBase(); }
    void set_interface_id(const std::string& interface_id) { interface_id_ = interface_id; }

private:
    friend class BundleContext;
    friend class ServiceObjectsBase;
    friend class ServiceRegistrationBase;

    std::shared_ptr<detail::service_entry> entry_;
    std::string interface_id_;
};

template <typename Interface>
class ServiceReference : public ServiceReferenceBase {
public:
    using ServiceType = Interface;

    ServiceReference() = default;
    /// Empty when the service is not of this interface.
    // NOLINTNEXTLINE(google-explicit-constructor): as in the full library
    ServiceReference(const ServiceReferenceBase& base) : ServiceReferenceBase(base)
    {
        const auto& interface_id = us_service_interface_iid<Interface>();
        if (GetInterfaceId() == interface_id)
            return;
        if (IsConvertibleTo(interface_id))
            set_interface_id(interface_id);
        else
            clear();
    }
};

template <>
class ServiceReference<void> : public ServiceReferenceBase {
public:
    using ServiceType = void;

    ServiceReference() = default;
    // NOLINTNEXTLINE(google-explicit-constructor): as in the full library
    ServiceReference(const ServiceReferenceBase& base) : ServiceReferenceBase(base) {}
};

using ServiceReferenceU = ServiceReference<void>;

} // namespace bundled
} // namespace cppmicroservices
