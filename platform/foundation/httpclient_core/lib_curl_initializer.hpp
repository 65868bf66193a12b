#pragma once

#include <foundation/export.hpp>

#include <cppmicroservices/ServiceInterface.h>

namespace foundation::httpclient_core::libcurlinitializer {

/// A service whose lifetime brackets libcurl's process-wide state: while any reference to it is
/// held, `curl_global_init` has been called and `curl_global_cleanup` has not. It has no
/// operation; holding it is its use.
class TARNIX_PLATFORM_EXPORT LibCurlInitializer {
public:
    virtual ~LibCurlInitializer() = default;
};

} // namespace foundation::httpclient_core::libcurlinitializer

CPPMICROSERVICES_DECLARE_SERVICE_INTERFACE(
    foundation::httpclient_core::libcurlinitializer::LibCurlInitializer,
    "foundation::httpclient_core::libcurlinitializer::LibCurlInitializer")
