#pragma once

#include <foundation/cppmicroservices/framework.hpp>

#include <cppmicroservices/BundleContext.h>
#include <cppmicroservices/LDAPFilter.h>
#include <cppmicroservices/ServiceObjects.h>

#include <memory>

namespace tarnix::io::ftp::core {

/// The preferred service of the host for `Interface`; null when there is no framework or no such
/// service. Raises what the framework raises, such as "The bundle context is no longer valid".
template <typename Interface>
std::shared_ptr<Interface> find_service()
{
    const auto framework = foundation::cppmicroservices::getFramework();
    if (!framework)
        return nullptr;
    auto context = framework->GetBundleContext();
    const auto references =
        context.GetServiceReferences<Interface>(::cppmicroservices::LDAPFilter().ToString());
    if (references.empty())
        return nullptr;
    return context.GetServiceObjects(references.front()).GetService();
}

} // namespace tarnix::io::ftp::core
