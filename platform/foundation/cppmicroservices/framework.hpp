#pragma once

#include <foundation/export.hpp>

#include <cppmicroservices/Framework.h>

#include <memory>

namespace foundation::cppmicroservices {

/// The service framework of the host, in which it registers its services; null when the host has
/// none (not started, or already gone). Safe to call from any thread.
TARNIX_PLATFORM_EXPORT std::shared_ptr<::cppmicroservices::Framework> getFramework();

} // namespace foundation::cppmicroservices
