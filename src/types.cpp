#include "raise.hpp"
#include "service_lookup.hpp"
#include "trace.hpp"

#include <tarnix/io/ftp/core.hpp>

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace tarnix::io::ftp::core {

using foundation::httpclient_core::libcurlinitializer::LibCurlInitializer;

namespace {

constexpr auto source = "src/types";

std::shared_ptr<LibCurlInitializer> find_initializer()
{
    auto initializer = find_service<LibCurlInitializer>();
    if (!initializer)
        raise<ids::LibraryInitializationFailure>();
    return initializer;
}

struct trace_kind {
    std::string_view prefix;
    unsigned level;
};

trace_kind kind_of(curl_infotype type)
{
    switch (type) {
    case CURLINFO_TEXT:
        return {"[INFO] ", level::information};
    case CURLINFO_HEADER_IN:
        return {"[HEADER IN] ", level::protocol};
    case CURLINFO_HEADER_OUT:
        return {"[HEADER OUT] ", level::protocol};
    case CURLINFO_DATA_IN:
        return {"[DATA IN] ", level::data};
    case CURLINFO_DATA_OUT:
        return {"[DATA OUT] ", level::data};
    case CURLINFO_SSL_DATA_IN:
        return {"[SSL DATA IN] ", level::data};
    case CURLINFO_SSL_DATA_OUT:
        return {"[SSL DATA OUT] ", level::data};
    default:
        return {"[UNKNOWN] ", level::unknown};
    }
}

/// Without the line end; a text of a single character is kept whatever it is.
std::string_view without_line_end(std::string_view text)
{
    if (text.size() < 2)
        return text;
    if (text.ends_with('\n'))
        text.remove_suffix(1);
    if (text.ends_with('\r'))
        text.remove_suffix(1);
    return text;
}

int write_trace(CURL*, curl_infotype type, char* data, std::size_t size, void* user)
{
    // libcurl's C frames are below: nothing may be thrown through them.
    try {
        auto& log = *static_cast<logger*>(user);
        const auto kind = kind_of(type);
        if (log.is_enabled(kind.level)) {
            std::string message{kind.prefix};
            message += without_line_end({data, size});
            log.write(kind.level, message);
        }
    } catch (...) { // NOLINT(bugprone-empty-catch)
    }
    return 0;
}

void configure_debug_mode(curl_ptr& handle)
{
    const function_scope scope{
        getLogger(),
        "void tarnix::io::ftp::core::(anonymous namespace)::configure_debug_mode(curl_ptr &)",
        source, __LINE__};
    handle.throw_if_null();
    set_option(handle, CURLOPT_VERBOSE, 1);
    set_option(handle, CURLOPT_DEBUGDATA, &getLogger());
    set_option(handle, CURLOPT_DEBUGFUNCTION, reinterpret_cast<void (*)()>(&write_trace));
}

} // namespace

curl_ptr::curl_ptr() : curl_ptr(true)
{
    const function_scope scope{getLogger(), "tarnix::io::ftp::core::curl_ptr::curl_ptr()", source,
                               __LINE__};
}

curl_ptr::curl_ptr(bool use_initializer)
    : initializer_(use_initializer ? find_initializer() : nullptr), handle_(curl_easy_init())
{
    if (!handle_)
        raise<ids::CurlHandleInitializationFailure>();
    const function_scope scope{getLogger(), "tarnix::io::ftp::core::curl_ptr::curl_ptr(bool)",
                               source, __LINE__};
    configure_debug_mode(*this);
}

curl_ptr::curl_ptr(curl_ptr&& other)
    : initializer_(other.initializer_), handle_(std::move(other.handle_))
{
    const function_scope scope{
        getLogger(), "tarnix::io::ftp::core::curl_ptr::curl_ptr(curl_ptr &&)", source, __LINE__};
}

curl_ptr& curl_ptr::operator=(curl_ptr&& other)
{
    // The own handle goes first, so assigning a handle to itself leaves it empty.
    handle_.reset();
    handle_.reset(other.handle_.release());
    initializer_ = other.initializer_;
    return *this;
}

curl_ptr::~curl_ptr()
{
    const function_scope scope{getLogger(), "tarnix::io::ftp::core::curl_ptr::~curl_ptr()", source,
                               __LINE__};
    handle_.reset();
}

void curl_ptr::throw_if_null() const
{
    if (!handle_)
        raise<ids::InvalidCurlHandle>();
}

CURLcode curl_ptr::perform()
{
    long code = CURLE_OK;
    const function_scope_with_result scope{
        getLogger(), "CURLcode tarnix::io::ftp::core::curl_ptr::perform()", source, __LINE__, "res",
        code};
    throw_if_null();
    code = curl_easy_perform(handle_.get());
    return static_cast<CURLcode>(code);
}

} // namespace tarnix::io::ftp::core
