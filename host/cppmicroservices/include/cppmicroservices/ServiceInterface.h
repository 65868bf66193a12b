#pragma once

#include <cppmicroservices/ServiceException.h>

#include <cxxabi.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <typeinfo>
#include <unordered_map>

namespace cppmicroservices {
inline namespace bundled {

/// One implementation under the id of each interface that it is registered with.
using InterfaceMap = std::unordered_map<std::string, std::shared_ptr<void>>;
using InterfaceMapPtr = std::shared_ptr<InterfaceMap>;
using InterfaceMapConstPtr = std::shared_ptr<const InterfaceMap>;

namespace detail {

inline std::string demangled_name(const std::type_info& type)
{
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> name(
        abi::__cxa_demangle(type.name(), nullptr, nullptr, &status), &std::free);
    return name ? name.get() : type.name();
}

} // namespace detail
} // namespace bundled
} // namespace cppmicroservices

/// The id of a service interface: its name, unless the macro below gives it another.
template <typename Interface>
const std::string& us_service_interface_iid()
{
    static const std::string id = cppmicroservices::detail::demangled_name(typeid(Interface));
    return id;
}

template <>
inline const std::string& us_service_interface_iid<void>()
{
    static const std::string id;
    return id;
}

/// Gives an interface its id. Stands at global scope, before the first use of the interface.
#define CPPMICROSERVICES_DECLARE_SERVICE_INTERFACE(interface_type, interface_id)                   \
    template <>                                                                                    \
    inline const std::string& us_service_interface_iid<interface_type>()                           \
    {                                                                                              \
        static const std::string id(interface_id);                                                 \
        return id;                                                                                 \
    }

namespace cppmicroservices {
inline namespace bundled {
namespace detail {

/// The id of `Interface`; raises ServiceException for an empty one.
template <typename Interface>
const std::string& checked_interface_id()
{
    const auto& id = us_service_interface_iid<Interface>();
    if (id.empty())
        throw ServiceException("The service interface class has no "
                               "CPPMICROSERVICES_DECLARE_SERVICE_INTERFACE macro");
    return id;
}

} // namespace detail
} // namespace bundled
} // namespace cppmicroservices
