#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace tarnix::ftp {

/// The FTP server's replies while a request runs. None over SFTP.
class replies {
public:
    /// libcurl's header callback; `self` is a `replies`.
    static std::size_t collect(char* data, std::size_t size, std::size_t count,
                               void* self) noexcept;

    void add(std::string_view line);

    /// The last reply that refused something (4xx, 5xx), without its line end.
    const std::optional<std::string>& refusal() const { return refusal_; }

    /// A SIZE was answered.
    bool has_file_size() const { return has_file_size_; }
    bool says_folder_unreadable() const { return folder_unreadable_; }

private:
    std::optional<std::string> refusal_;
    bool has_file_size_ = false;
    bool folder_unreadable_ = false;
};

} // namespace tarnix::ftp
