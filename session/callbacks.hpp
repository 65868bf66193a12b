#pragma once

#include <curl/curl.h>

#include <cstddef>

namespace tarnix::ftp {

// libcurl's callbacks for requests of which nothing is wanted, or that must make no connection.

inline std::size_t discard(char*, std::size_t size, std::size_t count, void*) noexcept
{
    return size * count;
}

inline curl_socket_t refuse_socket(void*, curlsocktype, curl_sockaddr*) noexcept
{
    return CURL_SOCKET_BAD;
}

} // namespace tarnix::ftp
