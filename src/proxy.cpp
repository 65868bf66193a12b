#include "service_lookup.hpp"
#include "trace.hpp"

#include <tarnix/io/ftp/core.hpp>

#include <foundation/httpproxy/proxy_selector.hpp>

namespace tarnix::io::ftp::core {

using foundation::httpproxy::ProxyList;
using foundation::httpproxy::ProxySelector;

namespace {

constexpr auto source = "src/proxy";

void setCurlProxySettings(curl_ptr& handle, const ProxyList& list)
{
    const function_scope scope{
        getLogger(),
        "void tarnix::io::ftp::core::(anonymous namespace)::setCurlProxySettings(curl_ptr &, const "
        "foundation::httpproxy::ProxyList &)",
        source, 17};
    const auto proxy = list.front();
    set_option(handle, CURLOPT_PROXY, proxy.getHost().c_str());
    if (const auto port = proxy.getPort(); port != 0)
        set_option(handle, CURLOPT_PROXYPORT, port);
    if (proxy.hasCredentials()) {
        const auto credentials = proxy.getCredentials();
        set_option(handle, CURLOPT_PROXYUSERNAME, credentials->getUserName().c_str());
        set_option(handle, CURLOPT_PROXYPASSWORD, credentials->getPassword().c_str());
    }
}

void use_first_proxy(curl_ptr& handle, const ProxyList& list)
{
    set_option(handle, CURLOPT_PROXY, list.front().getHost().c_str());
    setCurlProxySettings(handle, list);
}

} // namespace

void configure_proxy(curl_ptr& handle)
{
    const function_scope scope{
        getLogger(), "void tarnix::io::ftp::core::configure_proxy(curl_ptr &)", source, 36};
    const auto selector = find_service<ProxySelector>();
    if (!selector)
        return;
    const auto http = selector->select("http://");
    const auto https = selector->select("https://");
    if (!http.empty())
        use_first_proxy(handle, http);
    else if (!https.empty())
        use_first_proxy(handle, https);
    set_option(handle, CURLOPT_HTTPPROXYTUNNEL, 1);
    set_option(handle, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1);
}

} // namespace tarnix::io::ftp::core
