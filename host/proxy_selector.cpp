#include "proxy_selector.hpp"

#include <curl/curl.h>
#include <proxy.h>

#include <new>
#include <optional>
#include <stdexcept>
#include <utility>

namespace tarnix::host {

using foundation::httpproxy::Credentials;
using foundation::httpproxy::Proxy;
using foundation::httpproxy::ProxyList;
using foundation::httpproxy::ProxySelector;

namespace {

class login final : public Credentials {
public:
    login(std::string name, std::string password)
        : name_(std::move(name)), password_(std::move(password))
    {
    }

    std::string getUserName() const override { return name_; }
    std::string getPassword() const override { return password_; }

private:
    std::string name_;
    std::string password_;
};

[[noreturn]] void refuse()
{
    // The setting itself may hold a password, so it is not repeated.
    throw std::runtime_error("A proxy setting of the system is not a valid URL; check the "
                             "environment variables http_proxy and https_proxy.");
}

/// libcurl's own parser, so that a setting means to the selector what it means to libcurl.
class parsed_url {
public:
    explicit parsed_url(const std::string& text) : url_(curl_url())
    {
        if (!url_)
            throw std::bad_alloc();
        if (curl_url_set(url_.get(), CURLUPART_URL, text.c_str(), CURLU_NON_SUPPORT_SCHEME) !=
            CURLUE_OK)
            refuse();
    }

    std::optional<std::string> part(CURLUPart which, unsigned flags = 0) const
    {
        char* text = nullptr;
        const auto code = curl_url_get(url_.get(), which, &text, flags);
        if (code == CURLUE_OUT_OF_MEMORY)
            throw std::bad_alloc();
        if (code == CURLUE_NO_USER || code == CURLUE_NO_PASSWORD || code == CURLUE_NO_PORT)
            return std::nullopt;
        if (code != CURLUE_OK)
            refuse();
        const std::unique_ptr<char, decltype(&curl_free)> owner(text, &curl_free);
        return std::string(text);
    }

private:
    struct release {
        void operator()(CURLU* url) const noexcept { curl_url_cleanup(url); }
    };

    std::unique_ptr<CURLU, release> url_;
};

std::shared_ptr<const Credentials> credentials_in(const parsed_url& url)
{
    const auto name = url.part(CURLUPART_USER, CURLU_URLDECODE);
    const auto password = url.part(CURLUPART_PASSWORD, CURLU_URLDECODE);
    if (!name && !password)
        return nullptr;
    return std::make_shared<login>(name.value_or(""), password.value_or(""));
}

void append_proxy(std::vector<Proxy>& proxies, const std::string& answer)
{
    const bool has_scheme = answer.find("://") != std::string::npos;
    const parsed_url url(has_scheme ? answer : "http://" + answer);
    const auto scheme = url.part(CURLUPART_SCHEME).value_or("");
    const auto host = url.part(CURLUPART_HOST).value_or("");
    const auto port = std::stoi(url.part(CURLUPART_PORT).value_or("0"));
    const auto credentials = credentials_in(url);
    if (scheme == "http") {
        proxies.emplace_back(host, port, credentials);
    } else if (scheme == "socks") {
        // Of no stated version: version 5 first. libcurl alone would take it for version 4.
        proxies.emplace_back("socks5://" + host, port, credentials);
        proxies.emplace_back("socks4://" + host, port, credentials);
    } else {
        proxies.emplace_back(scheme + "://" + host, port, credentials);
    }
}

class system_proxy_selector final : public ProxySelector {
public:
    system_proxy_selector() : factory_(px_proxy_factory_new())
    {
        if (!factory_)
            throw std::runtime_error("The proxy settings of the system cannot be read.");
    }

    ProxyList select(const std::string& url) override
    {
        const answer_list answers(px_proxy_factory_get_proxies(factory_.get(), url.c_str()));
        if (!answers)
            throw std::runtime_error("The proxy settings of the system cannot be read.");
        std::vector<std::string> texts;
        for (auto** answer = answers.get(); *answer; ++answer)
            texts.emplace_back(*answer);
        return parse_proxies(texts);
    }

private:
    struct release {
        void operator()(pxProxyFactory* factory) const noexcept { px_proxy_factory_free(factory); }
        void operator()(char** answers) const noexcept { px_proxy_factory_free_proxies(answers); }
    };
    using answer_list = std::unique_ptr<char*, release>;

    std::unique_ptr<pxProxyFactory, release> factory_;
};

} // namespace

ProxyList parse_proxies(const std::vector<std::string>& answers)
{
    std::vector<Proxy> proxies;
    for (const auto& answer : answers) {
        if (answer == "direct" || answer == "direct://")
            break;
        append_proxy(proxies, answer);
    }
    return ProxyList(std::move(proxies));
}

std::shared_ptr<ProxySelector> make_system_proxy_selector()
{
    return std::make_shared<system_proxy_selector>();
}

} // namespace tarnix::host
