#include "explanations.hpp"
#include "local_files.hpp"
#include "names.hpp"
#include "pending_file.hpp"
#include "state.hpp"

#include <foundation/core/except.hpp>

#include <cstdint>
#include <exception>
#include <optional>
#include <system_error>
#include <utility>

namespace tarnix::ftp {

namespace core = tarnix::io::ftp::core;

namespace {

/// None of what is no plain file.
std::optional<std::uintmax_t> size_of(const std::filesystem::path& local)
{
    std::error_code unknown;
    if (!std::filesystem::is_regular_file(local, unknown))
        return std::nullopt;
    const auto size = std::filesystem::file_size(local, unknown);
    return unknown ? std::nullopt : std::optional(size);
}

/// Whether the local file was the reason that a download of which so much was received failed.
bool is_stuck(const std::filesystem::path& written, transfer_mode mode, curl_off_t received)
{
    if (mode == transfer_mode::text) // in which line ends are taken out
        return !can_grow(written);
    std::error_code unknown;
    const auto size = std::filesystem::file_size(written, unknown);
    return !unknown && std::cmp_less(size, received);
}

} // namespace

void session::upload(const std::filesystem::path& local, const std::string& remote,
                     transfer_mode mode)
{
    const auto path = state_->begin_transfer(remote, mode);
    const auto remote_name = utf16_name(path);
    const auto local_name = utf16_path(local);
    const auto what = "cannot store " + quoted(path);
    const auto size = size_of(local);
    const auto sent = [this] { return state_->link.watching().bytes_uploaded(); };
    state_->run_transfer(
        what,
        [&](core::curl_ptr& handle) {
            core::send_file(handle, local_name, remote_name, mode == transfer_mode::text);
        },
        [&](const replies& server) {
            // The library drops what the file layer reports while it reads.
            if (auto found = explain_source(local, size, sent()))
                return *found;
            return explain_upload(state_->view, path, server);
        });
    // Over SFTP, and in text mode, which only adds bytes, libcurl takes the end of the file for the
    // end of the upload, wherever it comes.
    if (size && std::cmp_less(sent(), *size))
        throw failure(failure_kind::transfer,
                      what + ": the local file became shorter while it was sent");
    // Over FTP a connection that ends too early looks to the server like the end of the file.
    if (size && mode == transfer_mode::binary && !state_->view.is_sftp())
        state_->view.check_stored(path, what, *size);
}

void session::download(const std::string& remote, const std::filesystem::path& local,
                       transfer_mode mode)
{
    const auto path = state_->begin_transfer(remote, mode);
    const auto remote_name = utf16_name(path);
    const auto what = "cannot fetch " + quoted(path);
    pending_file file(local);
    const auto local_name = utf16_path(file.path());
    try {
        state_->run_transfer(
            what,
            [&](core::curl_ptr& handle) {
                // libcurl that has no memory for the file's name fetches a listing of its folder,
                // with this command, which every server refuses.
                core::scoped_request unnamed(handle);
                unnamed.setopt(CURLOPT_CUSTOMREQUEST, "RETR", nullptr);
                core::receive_file(handle, remote_name, local_name, mode == transfer_mode::text);
            },
            [&](const replies& server) {
                if (is_stuck(file.path(), mode, state_->link.watching().bytes_downloaded()))
                    return explanation{failure_kind::local_file,
                                       explain_target(local, file.path())};
                return explain_download(state_->view, path, server);
            });
    } catch (const foundation::core::except::IMsgIDException& error) {
        // Of the local file, by a name that the caller does not know.
        std::throw_with_nested(
            failure(failure_kind::local_file, what + ": " + explain_target(local, error)));
    }
    file.commit();
}

} // namespace tarnix::ftp
