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
    bool has_time = false; ///< SFTP: the server knows when the file was changed
};

/// Far above every folder, and below what a server may fill the memory with.
constexpr std::size_t usual_largest_body = 256 * 1024 * 1024;

/// Asks at `url`, and moves the session back: two requests. Raises nothing for a failure. A body
/// of more than `largest_body` bytes is one.
answer ask(io::ftp::core::curl_ptr& handle, watch& watching, const std::string& url, question what,
           std::size_t largest_body = usual_largest_body);

/// Closes the connection; the next request logs in anew. Nothing is asked of the server.
void leave_connection(io::ftp::core::curl_ptr& handle);

/// Whether the last request had to make a connection of its own.
bool has_reconnected(io::ftp::core::curl_ptr& handle);

/// The server's words for a failed request; none when it said nothing, or when the connection was
/// lost after it had.
std::optional<std::string> decisive_refusal(CURLcode code, const replies& server);

/// What a failed first request is: a connection that breaks while it is secured is no refusal.
failure_kind kind_of_first(CURLcode code, const std::string& error);

/// What a failed request is, from libcurl's code.
failure_kind kind_of(CURLcode code);

/// What a server's refusal is, from its reply; `file_unavailable` tells what 550 means here.
failure_kind kind_of_refusal(const std::string& reply, failure_kind file_unavailable);

} // namespace tarnix::ftp
