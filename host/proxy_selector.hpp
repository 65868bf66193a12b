#pragma once

#include <foundation/httpproxy/proxy_selector.hpp>

#include <memory>
#include <string>
#include <vector>

namespace tarnix::host {

/// Answers from the settings of the system and the environment, read anew each time. Raises
/// `std::runtime_error` for a setting that cannot be read.
std::shared_ptr<foundation::httpproxy::ProxySelector> make_system_proxy_selector();

/// What the system's `answers` mean, the preferred one first: nothing counts from the first
/// "direct" on. Raises `std::runtime_error` for one that is no URL.
foundation::httpproxy::ProxyList parse_proxies(const std::vector<std::string>& answers);

} // namespace tarnix::host
