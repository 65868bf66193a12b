#pragma once

#include <cstdlib>
#include <initializer_list>

namespace tarnix::test {

/// Takes the proxy settings of whoever runs the tests out of this process, so that requests go
/// where the tests send them.
inline void clear_proxy_environment()
{
    for (const auto* name : {"http_proxy", "https_proxy", "HTTPS_PROXY", "ftp_proxy", "FTP_PROXY",
                             "all_proxy", "ALL_PROXY", "no_proxy", "NO_PROXY"})
        unsetenv(name);
}

} // namespace tarnix::test
