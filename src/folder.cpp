#include "raise.hpp"
#include "reply.hpp"
#include "trace.hpp"

#include <tarnix/io/ftp/core.hpp>

#include <array>
#include <cstdio>

namespace tarnix::io::ftp::core {

namespace {

constexpr auto source = "src/folder";

/// The one request behind both kinds of listing. Its code is only logged: a failed transfer gives
/// what had arrived.
std::string fetch_listing(curl_ptr& handle, const std::string& command)
{
    const auto [code, body] = scoped_request(handle)
                                  .setopt(CURLOPT_CUSTOMREQUEST, command.c_str(), nullptr)
                                  .request_body();
    write_record(level::protocol, "Received code: ", code, " for list command: ", command);
    write_record(level::protocol, "Listing contents: ", body);
    return body;
}

void print_curl_error(CURLcode code, const std::string& text)
{
    std::fprintf(stderr, "\nlibcurl: (%d) ", static_cast<int>(code));
    if (text.empty())
        std::fprintf(stderr, "%s\n", curl_easy_strerror(code));
    else
        std::fprintf(stderr, "%s%s", text.c_str(), text.ends_with('\n') ? "" : "\n");
}

} // namespace

long last_response_code(curl_ptr& handle)
{
    long code = 0;
    const function_scope_with_result scope{
        getLogger(),     "long tarnix::io::ftp::core::last_response_code(curl_ptr &)",
        source,          __LINE__,
        "response_code", code};
    handle.throw_if_null();
    curl_easy_getinfo(handle.get(), CURLINFO_RESPONSE_CODE, &code);
    return code;
}

bool is_folder(curl_ptr& handle, const std::string& path)
{
    const function_scope scope{
        getLogger(), "bool tarnix::io::ftp::core::is_folder(curl_ptr &, const std::string &)",
        source, __LINE__};
    const auto url = fullurl(handle, path, false);
    try {
        const auto saved = current_remote_url(handle);
        cd(handle, url);
        unsafe_cd(handle, saved);
        return true;
    } catch (...) {
        return false;
    }
}

void create_folder(curl_ptr& handle, const std::string& path)
{
    const function_scope scope{
        getLogger(), "void tarnix::io::ftp::core::create_folder(curl_ptr &, const std::string &)",
        source, __LINE__};
    slist commands{"MKD " + path};
    const auto url = add_trailing_slash(fullurl(handle, path, false));
    const auto [code, reply] = scoped_request(handle).request_quoted(url, std::move(commands));
    if (code == CURLE_OK)
        return;
    if (reply == reply::file_unavailable)
        raise<ids::CouldNotCreateFolder>(path);
    raise<ids::InternalError>("mkdir", path);
}

void delete_folder(curl_ptr& handle, const std::string& path)
{
    const function_scope scope{
        getLogger(), "void tarnix::io::ftp::core::delete_folder(curl_ptr &, const std::string &)",
        source, __LINE__};
    slist commands{"RMD " + path};
    const auto url = add_trailing_slash(fullurl(handle, path, false));
    const auto [code, reply] = scoped_request(handle).request_quoted(url, std::move(commands));
    if (code == CURLE_OK)
        return;
    // Servers answer 550 to every refusal, so all of them read as "not empty".
    if (reply == reply::file_unavailable)
        raise<ids::FolderNotEmpty>(path);
    raise<ids::FTPError>(reply);
}

std::pair<CURLcode, std::string> sftp_is_folder(curl_ptr& handle, const std::string& path,
                                                const bool is_encoded)
{
    const function_scope scope{getLogger(),
                               "std::pair<CURLcode, std::string> "
                               "tarnix::io::ftp::core::sftp_is_folder(curl_ptr &, const "
                               "std::string &, const bool)",
                               source, __LINE__};
    const auto url = fullurl(handle, path, is_encoded);
    // 1 is what an SFTP session keeps from its connect.
    return scoped_request(handle).seturl(url).setopt(CURLOPT_DIRLISTONLY, 0L, 1).request_body();
}

void sftp_create_folder(curl_ptr& handle, const std::string& path)
{
    const function_scope scope{
        getLogger(),
        "void tarnix::io::ftp::core::sftp_create_folder(curl_ptr &, const std::string &)", source,
        __LINE__};
    // Of the next four calls only the failures count: the request runs where the session stands.
    pwd(handle);
    const auto full = fullfile(handle, percent_encode_path(handle, path));
    const slist commands{"mkdir \"" + path + "\""};
    static_cast<void>(add_trailing_slash(fullurl(handle, full, false)));
    const auto [code, text] = scoped_request(handle)
                                  .setopt(CURLOPT_NOBODY, 1L, 0)
                                  .setopt(CURLOPT_QUOTE, commands.get(), nullptr)
                                  .request_header();
    if (code != CURLE_OK)
        raise<ids::CouldNotCreateFolder>(path);
}

void sftp_delete_folder(curl_ptr& handle, const std::string& path)
{
    const function_scope scope{
        getLogger(),
        "void tarnix::io::ftp::core::sftp_delete_folder(curl_ptr &, const std::string &)", source,
        __LINE__};
    const auto full = fullfile(handle, percent_encode_path(handle, path));
    slist commands{"rmdir \"" + path + "\""};
    const auto url = add_trailing_slash(fullurl(handle, full, false));
    // The move back at the end of the request empties the buffer again, unless it fails too.
    std::array<char, CURL_ERROR_SIZE> error{};
    const auto [code, reply] = scoped_request(handle)
                                   .setopt(CURLOPT_ERRORBUFFER, error.data(), nullptr)
                                   .request_quoted(url, std::move(commands));
    if (code == CURLE_OK)
        return;
    print_curl_error(code, error.data());
    if (reply == reply::file_unavailable)
        raise<ids::RemoveFolderFailed>(path);
    raise<ids::FTPError>(reply);
}

std::string list(curl_ptr& handle, const std::string& path)
{
    const function_scope scope{
        getLogger(), "std::string tarnix::io::ftp::core::list(curl_ptr &, const std::string &)",
        source, __LINE__};
    return fetch_listing(handle, "LIST " + path);
}

std::string nlst(curl_ptr& handle, const std::string& path)
{
    const function_scope scope{
        getLogger(), "std::string tarnix::io::ftp::core::nlst(curl_ptr &, const std::string &)",
        source, __LINE__};
    return fetch_listing(handle, "NLST " + path);
}

std::vector<std::string_view> split_string(const std::string_view& text,
                                           const std::string_view& separator)
{
    if (separator.empty())
        return {text};
    std::vector<std::string_view> pieces;
    for (std::size_t start = 0;;) {
        const auto end = text.find(separator, start);
        pieces.push_back(text.substr(start, end - start));
        if (end == std::string_view::npos)
            return pieces;
        start = end + separator.size();
    }
}

std::vector<std::string_view> parse_nlst_listing(const std::string& listing)
{
    const function_scope scope{getLogger(),
                               "std::vector<std::string_view> "
                               "tarnix::io::ftp::core::parse_nlst_listing(const std::string &)",
                               source, __LINE__};
    static const std::string separator = "\n";
    return split_string(listing, separator);
}

std::vector<std::string> dir(curl_ptr& handle, const std::string& path)
{
    const function_scope scope{
        getLogger(),
        "std::vector<std::string> tarnix::io::ftp::core::dir(curl_ptr &, const std::string &)",
        source, __LINE__};
    const auto listing = nlst(handle, path);
    std::vector<std::string> names;
    for (const auto piece : parse_nlst_listing(listing))
        if (!piece.empty())
            names.emplace_back(piece);
    return names;
}

} // namespace tarnix::io::ftp::core
