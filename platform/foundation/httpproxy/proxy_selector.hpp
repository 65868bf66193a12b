#pragma once

#include <foundation/export.hpp>

#include <cppmicroservices/ServiceInterface.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace foundation::httpproxy {

/// What a proxy asks its users for.
class TARNIX_PLATFORM_EXPORT Credentials {
public:
    virtual std::string getUserName() const = 0;
    virtual std::string getPassword() const = 0;
    virtual ~Credentials() = default;
};

/// One proxy. `getHost()` is what libcurl reads as a proxy: a host name or address (IPv6 in
/// brackets), with a scheme in front when it is not a plain HTTP proxy.
class TARNIX_PLATFORM_EXPORT Proxy {
public:
    Proxy(std::string host, int port, std::shared_ptr<const Credentials> credentials = nullptr)
        : host_(std::move(host)), port_(port), credentials_(std::move(credentials))
    {
    }

    std::string getHost() const { return host_; }
    /// 0 when none is given.
    int getPort() const { return port_; }
    bool hasCredentials() const { return credentials_ != nullptr; }
    /// Null when there are none.
    std::shared_ptr<const Credentials> getCredentials() const { return credentials_; }

private:
    std::string host_;
    int port_;
    std::shared_ptr<const Credentials> credentials_;
};

/// The proxies for one URL, the preferred one first; empty means a direct connection.
class TARNIX_PLATFORM_EXPORT ProxyList {
public:
    ProxyList() = default;
    explicit ProxyList(std::vector<Proxy> proxies) : proxies_(std::move(proxies)) {}

    bool empty() const { return proxies_.empty(); }
    /// Only for a list that is not empty.
    const Proxy& front() const { return proxies_.front(); }

private:
    std::vector<Proxy> proxies_;
};

/// The service that knows the proxy settings of the system.
class TARNIX_PLATFORM_EXPORT ProxySelector {
public:
    /// The proxies for `url`, which may be as short as a scheme with "://" behind it. May take as
    /// long as the system's own settings take to be read; raises what the implementation raises.
    virtual ProxyList select(const std::string& url) = 0;
    virtual ~ProxySelector() = default;
};

} // namespace foundation::httpproxy

CPPMICROSERVICES_DECLARE_SERVICE_INTERFACE(foundation::httpproxy::ProxySelector,
                                           "foundation::httpproxy::ProxySelector")
