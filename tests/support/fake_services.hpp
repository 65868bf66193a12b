#pragma once

#include <foundation/httpclient_core/lib_curl_initializer.hpp>
#include <foundation/httpproxy/proxy_selector.hpp>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tarnix::test {

/// Tells when the last holder lets it go.
class fake_initializer
    : public foundation::httpclient_core::libcurlinitializer::LibCurlInitializer {
public:
    explicit fake_initializer(std::function<void()> when_gone) : when_gone_(std::move(when_gone)) {}
    ~fake_initializer() override { when_gone_(); }
    fake_initializer(const fake_initializer&) = delete;
    fake_initializer& operator=(const fake_initializer&) = delete;

private:
    std::function<void()> when_gone_;
};

class fake_credentials : public foundation::httpproxy::Credentials {
public:
    fake_credentials(std::string user, std::string password)
        : user_(std::move(user)), password_(std::move(password))
    {
    }
    std::string getUserName() const override { return user_; }
    std::string getPassword() const override { return password_; }

private:
    std::string user_;
    std::string password_;
};

/// Answers from a table; keeps the questions.
class fake_proxy_selector : public foundation::httpproxy::ProxySelector {
public:
    foundation::httpproxy::ProxyList select(const std::string& url) override
    {
        asked.push_back(url);
        if (when_asked)
            when_asked(url);
        return foundation::httpproxy::ProxyList(answers[url]);
    }

    std::map<std::string, std::vector<foundation::httpproxy::Proxy>> answers;
    std::function<void(const std::string&)> when_asked; ///< may throw
    std::vector<std::string> asked;
};

} // namespace tarnix::test
