#include "replies.hpp"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <system_error>

namespace tarnix::ftp {

namespace {

/// As much of a server's words as a reader can use.
constexpr std::size_t longest_reply = 500;

/// The last line of a reply: three digits and a blank.
bool ends_reply(std::string_view line)
{
    return line.size() >= 4 && line[3] == ' ' &&
           std::all_of(line.begin(), line.begin() + 3,
                       [](unsigned char c) { return std::isdigit(c) != 0; });
}

std::optional<std::uintmax_t> number_in(std::string_view text)
{
    std::uintmax_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(number)
                                                                    : std::nullopt;
}

} // namespace

std::size_t replies::collect(char* data, std::size_t size, std::size_t count, void* self) noexcept
{
    try {
        static_cast<replies*>(self)->add({data, size * count});
    } catch (...) {
        return 0;
    }
    return size * count;
}

void replies::close_after_refusal(io::ftp::core::curl_ptr& handle)
{
    close_without_end(handle);
    closes_after_refusal_ = true;
}

bool replies::may_be_out_of_step() const
{
    if (closes_after_refusal_)
        return refusal_ || (has_way_to_data_ && !transfer_ended_);
    return transfer_began_ && lack_an_end();
}

void replies::add(std::string_view line)
{
    while (line.ends_with('\n') || line.ends_with('\r'))
        line.remove_suffix(1);
    if (!ends_reply(line))
        return;
    // The answers to the PASV that libcurl goes on with and to its QUIT take no refusal back.
    if (closes_after_refusal_ && refusal_ && (line.starts_with("227") || line.starts_with("221")))
        return;
    refusal_.reset();
    if (line.starts_with('4') || line.starts_with('5'))
        refusal_ = line.substr(0, longest_reply);
    doubtful_end_.reset();
    if (!refusal_ && (!line.starts_with('2') || line.starts_with("202"))) // 202: not implemented
        doubtful_end_ = line.substr(0, longest_reply);
    transfer_ended_ = transfer_began_ && line.starts_with('2');
    transfer_began_ = transfer_began_ || line.starts_with('1');
    has_way_to_data_ = has_way_to_data_ || line.starts_with("227") || line.starts_with("229");
    if (handle_)
        io::ftp::core::set_option(*handle_, CURLOPT_FORBID_REUSE, may_be_out_of_step() ? 1LL : 0LL);
    if (line.starts_with("213")) {
        has_file_size_ = true;
        file_size_ = number_in(line.substr(4));
    }
    // vsftpd reports a folder that it may not read as a listing that went well.
    folder_unreadable_ =
        folder_unreadable_ || (line.starts_with("226") &&
                               line.find("failed to open directory") != std::string_view::npos);
}

void recording::observe(io::ftp::core::scoped_request& scope)
{
    scope.setopt(CURLOPT_ERRORBUFFER, error_.data(), nullptr)
        .setopt(CURLOPT_HEADERDATA, this, nullptr)
        .setopt(CURLOPT_HEADERFUNCTION, &recording::collect, nullptr);
}

void recording::close_without_end(io::ftp::core::curl_ptr& handle)
{
    handle_ = &handle;
    heard_.close_without_end(handle);
}

void recording::close_after_refusal(io::ftp::core::curl_ptr& handle)
{
    handle_ = &handle;
    heard_.close_after_refusal(handle);
}

std::size_t recording::collect(char* data, std::size_t size, std::size_t count, void* self) noexcept
{
    auto& record = *static_cast<recording*>(self);
    // libcurl empties the error text at the start of each request, and at no other time. In active
    // mode, or as it connects, it may have put a remark there before the first reply.
    const auto is_greeting = std::string_view(data, size * count).starts_with("220");
    const auto is_new_connection = record.handle_ && record.heard_.refusal() && is_greeting;
    if (record.requests_ == 0 || record.error_.front() == '\0' || is_new_connection) {
        record.error_.front() = '?';
        ++record.requests_;
        // What comes after the first request is the connection to go on with.
        if (record.handle_ && record.requests_ > 1)
            io::ftp::core::set_option(*record.handle_, CURLOPT_FORBID_REUSE, 0LL);
    }
    return record.requests_ == 1 ? replies::collect(data, size, count, &record.heard_)
                                 : size * count;
}

} // namespace tarnix::ftp
