#pragma once

#include <cstdlib>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// No proxy in the environment but those set here, until its end.
class proxy_environment {
public:
    proxy_environment()
    {
        for (const auto* name :
             {"http_proxy", "HTTP_PROXY", "https_proxy", "HTTPS_PROXY", "ftp_proxy", "FTP_PROXY",
              "socks_proxy", "SOCKS_PROXY", "all_proxy", "ALL_PROXY", "no_proxy", "NO_PROXY"}) {
            const char* value = std::getenv(name);
            before_.emplace_back(name, value ? std::optional<std::string>(value) : std::nullopt);
            ::unsetenv(name);
        }
    }
    ~proxy_environment()
    {
        for (const auto& [name, value] : before_) {
            if (value)
                ::setenv(name.c_str(), value->c_str(), 1);
            else
                ::unsetenv(name.c_str());
        }
    }
    proxy_environment(const proxy_environment&) = delete;
    proxy_environment& operator=(const proxy_environment&) = delete;

    void set(const char* name, const std::string& value) { ::setenv(name, value.c_str(), 1); }

private:
    std::vector<std::pair<std::string, std::optional<std::string>>> before_;
};
