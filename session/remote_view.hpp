#pragma once

#include "connection.hpp"
#include "requests.hpp"

#include <cstdint>
#include <string>
#include <vector>

namespace tarnix::ftp {

/// What can be learned of the server's files without changing anything. Paths are absolute, as
/// `absolute_path` makes them. `what` in failures is the beginning of their text.
class remote_view {
public:
    remote_view(connection& link, std::string server_url, bool is_sftp);

    bool is_sftp() const { return is_sftp_; }

    std::string url(const std::string& path);
    std::string folder_url(const std::string& path);

    /// Raises when there is no answer to tell from.
    bool has_folder(const std::string& path);
    bool has(const std::string& path);
    /// Something that is no folder.
    bool has_plain_file(const std::string& path);

    /// Raises a failure when the folder cannot be entered or read.
    void check_folder(const std::string& path, const std::string& what);
    std::string listing(const std::string& path, const std::string& what);
    std::vector<std::string> names(const std::string& path, const std::string& what);

    /// SFTP: the operation before lost its connection, which libssh2 does not tell. One look.
    bool has_lost_connection();

    /// Raises a failure when the server says that less than `size` bytes of the file are there.
    void check_stored(const std::string& path, const std::string& what, std::uintmax_t size);

    /// One request of one's own.
    answer ask(const std::string& url, question what);

    /// The end of every request that failed without a refusal.
    [[noreturn]] void raise(const std::string& what, failure_kind kind,
                            const std::string& reason) const;

private:
    bool is_lost(const answer& given) const;
    bool is_stuck(const answer& given) const;
    bool may_be_out_of_step(const answer& given) const;
    bool has_file(const std::string& path);
    bool is_listed(const std::string& path);
    std::string fetch(const std::string& path, const std::string& what, question form);
    [[noreturn]] void raise_for_folder(const std::string& path, const std::string& what,
                                       const answer& given);
    [[noreturn]] void raise(const std::string& what, const answer& given,
                            failure_kind file_unavailable = failure_kind::not_found) const;

    connection& link_;
    std::string server_url_;
    bool is_sftp_;
};

} // namespace tarnix::ftp
