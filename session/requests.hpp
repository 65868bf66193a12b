#pragma once

#include "replies.hpp"
#include "watch.hpp"

#include <tarnix/ftp/errors.hpp>
#include <tarnix/io/ftp/core.hpp>

#include <cstddef>
#include <optional>
#include <string>

namespace tarnix::ftp {

/// What a request of the session's own asks of the server.
enum class question {
    folder,       ///< FTP: can the folder of the URL be entered?
    file,         ///< is there a file (FTP), is there anything (SFTP) of that name?
    long_listing, ///< of the folder of the URL
    names,
    first_bytes,   ///< can the file be read? The connection is lost when it can.
    append_nothing ///< can the file be written? It is created when it is not there.
};

struct answer {
    CURLcode code = CURLE_OK;
    std::string error; ///< libcurl's text, when there was a failure
    std::string body;
    replies server;
    bool has_time = false;      ///< SFTP: the server knows when the file was changed
    bool has_connected = false; ///< over a new connection: the one before was lost earlier
};

/// Far above every folder, and below what a server may fill the memory with: names are kept one by
/// one, each with what a string takes.
constexpr std::size_t largest_listing = 256UL << 20;
constexpr std::size_t largest_names = 32UL << 20;

constexpr std::size_t largest_body(question what)
{
    return what == question::names ? largest_names : largest_listing;
}

/// Asks at `url`, and moves the session back: two requests. Raises nothing for a failure. A body
/// of more than `limit` bytes is one.
answer ask(io::ftp::core::curl_ptr& handle, watch& watching, const std::string& url, question what,
           std::size_t limit, bool over_tls = false);

/// The last request needed a new connection.
bool has_connected(io::ftp::core::curl_ptr& handle);

/// The server's words for a failed request; none when it said nothing, or when the connection was
/// lost after it had.
std::optional<std::string> decisive_refusal(CURLcode code, const replies& server);

/// What a failed request is, from libcurl's code and text: a connection that breaks while it is
/// secured is no refusal.
failure_kind kind_of(CURLcode code, const std::string& error);

/// The same for the first request.
failure_kind kind_of_first(CURLcode code, const std::string& error);

/// What a server's refusal is, from its reply; `file_unavailable` tells what 550 means here.
failure_kind kind_of_refusal(const std::string& reply, failure_kind file_unavailable);

} // namespace tarnix::ftp
