#include "raise.hpp"
#include "reply.hpp"
#include "trace.hpp"

#include <tarnix/io/ftp/core.hpp>

#include <fl/i18n/ustring_conversion.hpp>
#include <tarnix/io/common/file.hpp>

#include <boost/exception/current_exception_cast.hpp>
#include <boost/exception/diagnostic_information.hpp>

#include <cstddef>
#include <cstdio>

namespace tarnix::io::ftp::core {

namespace file = common::file;

namespace {

constexpr auto source = "src/file";

/// Boost's account of the exception being handled. Its words for what is no exception class differ
/// from one standard library to another, so there one text stands for all.
std::string diagnostic_information()
{
    if (!boost::current_exception_cast<const boost::exception>() &&
        !boost::current_exception_cast<const std::exception>())
        return "No diagnostic information available.";
    return boost::current_exception_diagnostic_information(true);
}

std::pair<file::File, std::size_t> make_file_with_size(const ustring& path)
{
    const function_scope scope{
        getLogger(),
        "std::pair<common::file::File, size_t> tarnix::io::ftp::core::(anonymous "
        "namespace)::make_file_with_size(const fl::ustring &)",
        source, __LINE__};
    try {
        auto opened = file::make_readable_file(path);
        const auto size = file::make_vfs_file(path).getAttributes().getSize();
        return {std::move(opened), size};
    } catch (const error<ids::PermissionDenied>&) {
        raise<ids::PermissionDenied>(path);
    } catch (...) {
        if (getLogger().is_enabled(level::information))
            getLogger().write(level::information, diagnostic_information());
        // Whatever else was wrong with the file, for the user it is not there.
        raise<ids::NotFound>(path);
    }
}

// libcurl's C frames are below the two callbacks: nothing may be thrown through them. What the
// file layer reports there is lost; only its effect on the transfer stays.

std::size_t read_local(void* buffer, std::size_t size, std::size_t count, void* user)
{
    try {
        const auto result = file::read(*static_cast<const file::File*>(user),
                                       static_cast<char*>(buffer), static_cast<long>(size * count));
        const auto* bytes = std::get_if<long>(&result);
        if (!bytes)
            return CURL_READFUNC_ABORT;
        return *bytes == -1 ? 0 : static_cast<std::size_t>(*bytes);
    } catch (...) {
        return CURL_READFUNC_ABORT;
    }
}

std::size_t write_local(void* buffer, std::size_t size, std::size_t count, void* user)
{
    try {
        const auto result =
            file::write(*static_cast<const file::File*>(user), static_cast<const char*>(buffer),
                        static_cast<long>(size * count));
        const auto* bytes = std::get_if<long>(&result);
        return bytes ? static_cast<std::size_t>(*bytes) : 0;
    } catch (...) {
        return 0;
    }
}

void close_local(const file::File& opened)
{
    file::handle_exception(file::close(opened), opened, file::Operation::close);
}

/// An absolute path as it is, at no cost; a relative one in the working folder, for a PWD.
std::string absolute_path(curl_ptr& handle, const std::string& path)
{
    return path.starts_with('/') ? path : fullfile(handle, path);
}

/// Judged by the reply alone: whatever is no refusal of the command itself counts as done.
void rename_with(curl_ptr& handle, slist commands)
{
    const auto url = current_remote_url(handle);
    const auto reply = scoped_request(handle).request_quoted(url, std::move(commands)).second;
    if (reply >= reply::first_refusal && reply <= reply::last_refusal)
        raise<ids::FTPError>(reply);
}

} // namespace

void send_file(curl_ptr& handle, const ustring& local, const ustring& remote, const bool text_mode)
{
    const function_scope scope{
        getLogger(),
        "void tarnix::io::ftp::core::send_file(curl_ptr &, const fl::ustring &, const fl::ustring "
        "&, const bool)",
        source, __LINE__};
    const auto url = fullurl(handle, fl::i18n::ustring_to_utf8(remote), false);
    const auto [opened, size] = make_file_with_size(local);
    const auto code = scoped_request(handle)
                          .seturl(url)
                          .setopt(CURLOPT_CRLF, text_mode, 0)
                          .setopt(CURLOPT_TRANSFERTEXT, text_mode, 0)
                          .setopt(CURLOPT_READDATA, &opened, stdin)
                          .setopt(CURLOPT_READFUNCTION, &read_local, &std::fread)
                          .setopt(CURLOPT_UPLOAD, 1L, 0)
                          .setopt(CURLOPT_INFILESIZE_LARGE, size, -1)
                          .perform()
                          .first;
    close_local(opened);
    if (code != CURLE_OK)
        raise<ids::UploadFailed>(local);
}

void receive_file(curl_ptr& handle, const ustring& remote, const ustring& local,
                  const bool text_mode)
{
    const function_scope scope{
        getLogger(),
        "void tarnix::io::ftp::core::receive_file(curl_ptr &, const fl::ustring &, const "
        "fl::ustring &, const bool)",
        source, __LINE__};
    const auto url = fullurl(handle, fl::i18n::ustring_to_utf8(remote), false);
    const auto opened = file::make_writeable_file(local);
    // The data pointer goes back to the address of a function; that is meant.
    const auto [code, reply] = scoped_request(handle)
                                   .seturl(url)
                                   .setopt(CURLOPT_CRLF, text_mode, 0)
                                   .setopt(CURLOPT_TRANSFERTEXT, text_mode, 0)
                                   .setopt(CURLOPT_WRITEFUNCTION, &write_local, nullptr)
                                   .setopt(CURLOPT_WRITEDATA, &opened, &std::fwrite)
                                   .perform();
    close_local(opened);
    if (code == CURLE_OK)
        return;
    if (reply == reply::file_unavailable)
        raise<ids::FileUnavailable>(remote);
    raise<ids::FTPError>(reply);
}

void delete_remote_file(curl_ptr& handle, const ustring& path)
{
    const function_scope scope{
        getLogger(),
        "void tarnix::io::ftp::core::delete_remote_file(curl_ptr &, const fl::ustring &)", source,
        __LINE__};
    const auto name = fl::i18n::ustring_to_utf8(path);
    slist commands{"DELE " + name};
    const auto url = add_trailing_slash(fullurl(handle, name, false));
    if (scoped_request(handle).request_quoted(url, std::move(commands)).first != CURLE_OK)
        raise<ids::DeleteFailed>(name);
}

void rename_remote_file(curl_ptr& handle, const ustring& from, const ustring& to)
{
    const function_scope scope{
        getLogger(),
        "void tarnix::io::ftp::core::rename_remote_file(curl_ptr &, const fl::ustring &, const "
        "fl::ustring &)",
        source, __LINE__};
    rename_with(handle, {"RNFR " + fl::i18n::ustring_to_utf8(from),
                         "RNTO " + fl::i18n::ustring_to_utf8(to)});
}

void sftp_delete_remote_file(curl_ptr& handle, const ustring& path)
{
    const function_scope scope{
        getLogger(),
        "void tarnix::io::ftp::core::sftp_delete_remote_file(curl_ptr &, const fl::ustring &)",
        source, __LINE__};
    const auto name = fl::i18n::ustring_to_utf8(path);
    slist commands{"rm \"" + absolute_path(handle, name) + "\""};
    const auto url = add_trailing_slash(fullurl(handle, name, false));
    if (scoped_request(handle).request_quoted(url, std::move(commands)).first != CURLE_OK)
        raise<ids::DeleteFailed>(name);
}

void sftp_rename_remote_file(curl_ptr& handle, const ustring& from, const ustring& to)
{
    const function_scope scope{
        getLogger(),
        "void tarnix::io::ftp::core::sftp_rename_remote_file(curl_ptr &, const fl::ustring &, "
        "const fl::ustring &)",
        source, __LINE__};
    const auto old_name = fl::i18n::ustring_to_utf8(from);
    const auto new_name = fl::i18n::ustring_to_utf8(to);
    const auto old_path = absolute_path(handle, old_name);
    const auto new_path = absolute_path(handle, new_name);
    rename_with(handle, {"rename \"" + old_path + "\" \"" + new_path + "\""});
}

bool is_file(curl_ptr& handle, const ustring& path)
{
    const function_scope scope{
        getLogger(), "bool tarnix::io::ftp::core::is_file(curl_ptr &, const fl::ustring &)", source,
        __LINE__};
    const auto name = fl::i18n::ustring_to_utf8(path);
    const auto url = current_remote_url(handle);
    slist commands{"statvfs \"" + name + "\""};
    // Clears a transfer time-out set in milliseconds too: libcurl keeps one for both.
    const auto code = scoped_request(handle)
                          .setopt(CURLOPT_TIMEOUT, 20L, 0)
                          .request_quoted_body(url, std::move(commands))
                          .first;
    if (code == CURLE_OK)
        return true;
    if (code != CURLE_OPERATION_TIMEDOUT && code != CURLE_QUOTE_ERROR)
        raise<ids::FTPError>(code);
    // The server does not know the question: all that is left to ask is whether the session's
    // own folder can be reached.
    return scoped_request(handle)
               .setopt(CURLOPT_NOBODY, 1L, 0)
               .setopt(CURLOPT_FILETIME, 1L, 0)
               .perform()
               .first == CURLE_OK;
}

} // namespace tarnix::io::ftp::core
