#pragma once

#include <cppmicroservices/Constants.h>
#include <cppmicroservices/IllegalStateException.h>
#include <cppmicroservices/ServiceInterface.h>
#include <cppmicroservices/ServiceProperties.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace cppmicroservices {
inline namespace bundled {
namespace detail {

/// One registration. Only its implementation ever changes: it is let go of when the service is
/// unregistered, and the registration is over then.
class service_entry {
public:
    service_entry(InterfaceMapConstPtr implementation, ServiceProperties properties)
        : implementation_(std::move(implementation)), properties_(std::move(properties))
    {
    }

    const ServiceProperties& properties() const { return properties_; }
    long id() const { return id_; }
    int ranking() const { return ranking_; }

    bool is_registered() const { return implementation() != nullptr; }

    bool offers(const std::string& interface_id) const
    {
        const auto interfaces = implementation();
        return interfaces && interfaces->count(interface_id) != 0;
    }

    /// Null when the service is unregistered or is not of that interface.
    std::shared_ptr<void> service(const std::string& interface_id) const
    {
        const auto interfaces = implementation();
        if (!interfaces)
            return nullptr;
        const auto found = interfaces->find(interface_id);
        return found == interfaces->end() ? nullptr : found->second;
    }

    /// Ends the registration and hands over the implementation; null when it was over already.
    InterfaceMapConstPtr retire()
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        return std::exchange(implementation_, nullptr);
    }

    void adopt(long id)
    {
        id_ = id;
        std::vector<std::string> interfaces;
        for (const auto& [interface_id, service] : *implementation_)
            interfaces.push_back(interface_id);
        const auto ranking = properties_.find(Constants::SERVICE_RANKING);
        if (ranking != properties_.end()) {
            if (const auto* value = any_cast<int>(&ranking->second))
                ranking_ = *value;
        }
        properties_[Constants::SERVICE_ID] = id;
        properties_[Constants::OBJECTCLASS] = std::move(interfaces);
    }

private:
    InterfaceMapConstPtr implementation() const
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        return implementation_;
    }

    mutable std::mutex mutex_;
    InterfaceMapConstPtr implementation_;
    ServiceProperties properties_;
    long id_ = 0;
    int ranking_ = 0;
};

/// True when `left` is the less preferred one.
inline bool ranks_below(const service_entry& left, const service_entry& right)
{
    if (left.ranking() != right.ranking())
        return left.ranking() < right.ranking();
    return left.id() > right.id();
}

/// The services between one start of a framework and its stop. It never calls into a service, and
/// never destroys one, while it is locked.
class registry {
public:
    using entry_ptr = std::shared_ptr<service_entry>;

    bool is_open() const
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        return open_;
    }

    void throw_if_closed() const
    {
        if (!is_open())
            throw_closed();
    }

    entry_ptr add(InterfaceMapConstPtr implementation, const ServiceProperties& properties)
    {
        const auto entry = std::make_shared<service_entry>(std::move(implementation), properties);
        const std::lock_guard<std::mutex> lock(mutex_);
        if (!open_)
            throw_closed();
        entry->adopt(++last_id_);
        entries_.push_back(entry);
        return entry;
    }

    /// The services of an interface, the preferred one first.
    std::vector<entry_ptr> find(const std::string& interface_id) const
    {
        std::vector<entry_ptr> found;
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            if (!open_)
                throw_closed();
            found = entries_;
        }
        found.erase(
            std::remove_if(found.begin(), found.end(),
                           [&](const entry_ptr& entry) { return !entry->offers(interface_id); }),
            found.end());
        std::sort(found.begin(), found.end(), [](const entry_ptr& left, const entry_ptr& right) {
            return ranks_below(*right, *left);
        });
        return found;
    }

    void forget(const entry_ptr& entry)
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        entries_.erase(std::remove(entries_.begin(), entries_.end(), entry), entries_.end());
    }

    void close()
    {
        // Outlives the lock: services may go with it.
        std::vector<entry_ptr> entries;
        const std::lock_guard<std::mutex> lock(mutex_);
        open_ = false;
        entries.swap(entries_);
    }

    [[noreturn]] static void throw_closed()
    {
        throw IllegalStateException("The bundle context is no longer valid");
    }

private:
    mutable std::mutex mutex_;
    std::vector<entry_ptr> entries_;
    long last_id_ = 0;
    bool open_ = true;
};

} // namespace detail
} // namespace bundled
} // namespace cppmicroservices
