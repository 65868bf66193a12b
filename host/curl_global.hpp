#pragma once

#include <foundation/httpclient_core/lib_curl_initializer.hpp>

#include <memory>

namespace tarnix::host {

/// Keeps libcurl's process-wide state initialised while it lives; any number may live at once.
/// Raises `std::runtime_error` when libcurl refuses.
std::shared_ptr<foundation::httpclient_core::libcurlinitializer::LibCurlInitializer>
make_curl_initializer();

} // namespace tarnix::host
