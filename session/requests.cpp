#include "requests.hpp"

#include <array>
#include <cstdio>

namespace tarnix::ftp {

namespace core = tarnix::io::ftp::core;

namespace {

struct body_reader {
    std::string& text;
    watch& watching;
    std::size_t limit;
    bool is_full = false;
};

std::size_t collect_body(char* data, std::size_t size, std::size_t count, void* reader) noexcept
{
    auto& body = *static_cast<body_reader*>(reader);
    body.watching.note_movement();
    body.is_full = size * count > body.limit - body.text.size();
    if (body.is_full)
        return 0;
    try {
        body.text.append(data, size * count);
    } catch (...) {
        return 0;
    }
    return size * count;
}

std::size_t stop_at_first_bytes(char*, std::size_t, std::size_t, void*) noexcept
{
    return 0;
}

std::size_t give_nothing(char*, std::size_t, std::size_t, void*) noexcept
{
    return 0;
}

bool knows_time(core::curl_ptr& handle)
{
    curl_off_t time = -1;
    curl_easy_getinfo(handle.get(), CURLINFO_FILETIME_T, &time);
    return time != -1;
}

/// What OpenSSL, and libcurl for it, say of the socket.
bool is_about_the_connection(const std::string& error)
{
    return error.find("SSL_connect:") != std::string::npos ||
           error.find("unexpected eof") != std::string::npos || error.starts_with("Recv failure") ||
           error.starts_with("Send failure");
}

} // namespace

answer ask(core::curl_ptr& handle, watch& watching, const std::string& url, question what,
           std::size_t limit, bool over_tls)
{
    // An SFTP session keeps the names listing that its connect chose.
    const auto usual_listing = url.starts_with("sftp://") ? 1 : 0;
    const auto nothing_to_read = what == question::folder || what == question::file;
    const auto upload = what == question::append_nothing;
    answer result;
    body_reader body{result.body, watching, limit};
    std::array<char, CURL_ERROR_SIZE> error{};
    core::scoped_request request(handle);
    // Without a write function of its own a request that has no body still prints to the standard
    // output, or crashes after a download: that leaves an address there which is no stream.
    request.seturl(url)
        .setopt(CURLOPT_ERRORBUFFER, error.data(), nullptr)
        .setopt(CURLOPT_HEADERDATA, &result.server, nullptr)
        .setopt(CURLOPT_HEADERFUNCTION, &replies::collect, nullptr)
        .setopt(CURLOPT_WRITEDATA, &body, stdout)
        .setopt(CURLOPT_WRITEFUNCTION,
                what == question::first_bytes ? &stop_at_first_bytes : &collect_body, nullptr)
        .setopt(CURLOPT_DIRLISTONLY, what == question::names, usual_listing)
        .setopt(CURLOPT_FILETIME, what == question::file && usual_listing == 1, 0)
        .setopt(CURLOPT_NOBODY, nothing_to_read, 0);
    if (upload)
        request.setopt(CURLOPT_READFUNCTION, &give_nothing, &std::fread)
            .setopt(CURLOPT_APPEND, 1, 0)
            .setopt(CURLOPT_INFILESIZE_LARGE, 0, -1)
            .setopt(CURLOPT_UPLOAD, 1, 0);
    if (over_tls && !nothing_to_read)
        result.server.close_after_refusal(handle);
    else if (watching.awaits_server() && !nothing_to_read)
        result.server.close_without_end(handle);
    watching.forget_server();
    result.code = request.perform().first;
    if (over_tls || watching.awaits_server())
        core::set_option(handle, CURLOPT_FORBID_REUSE, 0LL);
    result.has_time = knows_time(handle);
    result.has_connected = has_connected(handle);
    if (result.code == CURLE_OK && result.server.transfer_began() && watching.has_missed_server()) {
        result.code = CURLE_RECV_ERROR;
        result.error = "the data connection was lost";
    } else if (body.is_full)
        result.error = "the answer is longer than " + std::to_string(limit) + " bytes";
    else if (result.code != CURLE_OK)
        result.error = error.front() ? error.data() : curl_easy_strerror(result.code);
    return result;
}

bool has_connected(core::curl_ptr& handle)
{
    long connections = 0;
    curl_easy_getinfo(handle.get(), CURLINFO_NUM_CONNECTS, &connections);
    return connections > 0;
}

std::optional<std::string> decisive_refusal(CURLcode code, const replies& server)
{
    const auto& refusal = server.refusal();
    const auto lost = code == CURLE_RECV_ERROR || code == CURLE_SEND_ERROR ||
                      code == CURLE_GOT_NOTHING || code == CURLE_OPERATION_TIMEDOUT;
    const auto is_farewell = refusal && refusal->starts_with("421");
    // A connection that is made anew, to a server that refuses TLS now: not for what was asked.
    const auto is_unsafe = kind_of(code, "") == failure_kind::security;
    return is_unsafe || (lost && !is_farewell) ? std::nullopt : refusal;
}

failure_kind kind_of(CURLcode code, const std::string& error)
{
    if (code == CURLE_SSL_CONNECT_ERROR && is_about_the_connection(error))
        return failure_kind::connection;
    switch (code) {
    case CURLE_COULDNT_RESOLVE_PROXY:
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_CONNECT:
    case CURLE_PROXY:
    case CURLE_WEIRD_SERVER_REPLY:
    case CURLE_OPERATION_TIMEDOUT:
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
    case CURLE_GOT_NOTHING:
        return failure_kind::connection;
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_CIPHER:
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_USE_SSL_FAILED:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_ISSUER_ERROR:
    case CURLE_SSL_INVALIDCERTSTATUS:
        return failure_kind::security;
    case CURLE_LOGIN_DENIED:
        return failure_kind::login;
    case CURLE_REMOTE_FILE_NOT_FOUND:
        return failure_kind::not_found;
    case CURLE_REMOTE_ACCESS_DENIED:
        return failure_kind::permission;
    default:
        return failure_kind::transfer;
    }
}

failure_kind kind_of_first(CURLcode code, const std::string& error)
{
    // What SSH says before the login.
    if (code == CURLE_FAILED_INIT || code == CURLE_SSH)
        return failure_kind::connection;
    return kind_of(code, error);
}

failure_kind kind_of_refusal(const std::string& reply, failure_kind file_unavailable)
{
    const auto code = reply.substr(0, 3);
    if (code == "421")
        return failure_kind::connection;
    if (code == "530" || code == "532")
        return failure_kind::permission;
    if (code == "550" || code == "553")
        return file_unavailable;
    if (code == "522" || code == "533" || code == "534")
        return failure_kind::security;
    return failure_kind::transfer;
}

} // namespace tarnix::ftp
