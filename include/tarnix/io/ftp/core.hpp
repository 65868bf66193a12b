#pragma once

#include <tarnix/io/ftp/errors.hpp>
#include <tarnix/io/ftp/export.hpp>

#include <fl/ustring.hpp>
#include <foundation/httpclient_core/lib_curl_initializer.hpp>
#include <foundation/log/diagnostic_logger.hpp>

#include <curl/curl.h>

#include <deque>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

class txArray;

namespace zobs {
class COSNamespace;
}

/// An FTP, FTPS and SFTP client on libcurl.
///
/// A session is a `curl_ptr`: connect it once, then pass it to the operations. Its working folder
/// is the URL on its easy handle; relative paths are meant from there. Remote paths and URLs are
/// UTF-8, local paths and the paths of file operations are UTF-16.
///
/// Failures are exceptions that carry a message identifier (errors.hpp). Every operation that uses
/// the session raises InvalidCurlHandle for an empty handle; that is not repeated below. A handle
/// is used by one thread at a time; different handles may be used by different threads at once.
namespace tarnix::io::ftp::core {

using fl::ustring;

/// The library's one logger, channel "tarnix::io::ftp::core". Levels: 1 data of transfers, 4
/// protocol lines and diagnostics, 8 libcurl's remarks and diagnostics, 32 function entry, 64 exit,
/// 128 results, 256 libcurl traces of unknown kind. At level 4 passwords are written in clear.
TARNIX_FTP_EXPORT foundation::log::basic_diagnostic_logger<char>& getLogger();

/// The session handle: owns one libcurl easy handle, and keeps libcurl's process-wide state alive
/// while it exists. libcurl's protocol trace goes to `getLogger()`.
class TARNIX_FTP_EXPORT curl_ptr {
public:
    /// Same as `curl_ptr(true)`.
    curl_ptr();
    /// With `true` the host's LibCurlInitializer service is looked up and held; without one raises
    /// LibraryInitializationFailure. With `false` the caller answers for `curl_global_init`.
    /// Raises CurlHandleInitializationFailure when libcurl gives no handle. No network traffic.
    explicit curl_ptr(bool use_initializer);
    /// The source is left without an easy handle, but keeps its hold on the initializer.
    curl_ptr(curl_ptr&& other); // NOLINT(performance-noexcept-move-constructor): it traces
    curl_ptr& operator=(curl_ptr&& other); // NOLINT(performance-noexcept-move-constructor)
    /// Closes the connection.
    ~curl_ptr();

    /// True when there is an easy handle.
    explicit operator bool() const { return handle_ != nullptr; }
    /// The easy handle, still owned by this object; may be null.
    CURL* get() const { return handle_.get(); }
    /// Raises InvalidCurlHandle when there is no easy handle.
    void throw_if_null() const;
    /// Runs the request that the options describe and returns libcurl's code, whatever it is.
    CURLcode perform();

private:
    struct cleanup {
        void operator()(CURL* handle) const noexcept { curl_easy_cleanup(handle); }
    };

    std::shared_ptr<foundation::httpclient_core::libcurlinitializer::LibCurlInitializer>
        initializer_;
    std::unique_ptr<CURL, cleanup> handle_;
};

/// Sets one libcurl option. A number is widened to what the option reads. libcurl's answer is not
/// looked at. No network traffic.
TARNIX_FTP_EXPORT void set_option(curl_ptr& handle, CURLoption option, long long value);
TARNIX_FTP_EXPORT void set_option(curl_ptr& handle, CURLoption option, const void* value);
TARNIX_FTP_EXPORT void set_option(curl_ptr& handle, CURLoption option, void (*value)());

/// Owns a libcurl string list.
class TARNIX_FTP_EXPORT slist {
public:
    /// Raises `std::bad_alloc` when memory is short.
    slist(std::initializer_list<std::string> entries);

    /// Still owned by this object.
    curl_slist* get() const { return list_.get(); }

private:
    struct release {
        void operator()(curl_slist* list) const noexcept { curl_slist_free_all(list); }
    };

    std::unique_ptr<curl_slist, release> list_;
};

/// Sets options for one request and puts them back, last one first, when it goes out of scope. Its
/// destructor ends the process when putting back raises.
class TARNIX_FTP_EXPORT scoped_request {
public:
    explicit scoped_request(curl_ptr& handle) : handle_(handle) {}
    ~scoped_request();
    scoped_request(const scoped_request&) = delete;
    scoped_request& operator=(const scoped_request&) = delete;

    /// Sets `option` to `value` now and to `restore` at the end of the scope: a number, an enum, a
    /// pointer, a function or null. What the option held before is not read.
    template <typename Value, typename Restore>
    scoped_request&& setopt(CURLoption option, Value value, Restore restore);

    /// Sets the URL. At the end of the scope, after all options, the session moves back to the URL
    /// it had, which costs one more request.
    scoped_request&& seturl(const std::string& url);

    /// One request; libcurl's code with the reply lines or with the body.
    std::pair<CURLcode, std::string> request_header() const;
    std::pair<CURLcode, std::string> request_body() const;

    /// Sends `commands` ahead of a request without a transfer at `url`, then moves the session
    /// back: two requests. Returns libcurl's code and the last reply code.
    std::pair<CURLcode, long> request_quoted(const std::string& url, slist commands) const;
    /// Sends `commands` (ahead of the request, as above) at the URL that is set: one request.
    std::pair<CURLcode, long> request_post_quoted(slist commands) const;
    /// Like `request_quoted`, with what arrives as body.
    std::pair<CURLcode, std::string> request_quoted_body(const std::string& url,
                                                         slist commands) const;

    /// One request with the options as they are; libcurl's code and the last reply code.
    std::pair<CURLcode, long> perform() const;

private:
    template <typename Value>
    static auto readable(Value value);

    enum class turn { next, last };

    void restore_later(const std::function<void()>& restorer, turn when);

    curl_ptr& handle_;
    std::deque<std::function<void()>> restorers_;
};

/// The URL of the session's working folder, as libcurl last used it. No network traffic.
TARNIX_FTP_EXPORT std::string current_remote_url(curl_ptr& handle);

/// The server's last reply code; 0 before any, and always 0 over SFTP. No network traffic.
TARNIX_FTP_EXPORT long last_response_code(curl_ptr& handle);

// Paths and URLs

/// `s` with one "/" at its end; an empty text stays empty.
TARNIX_FTP_EXPORT std::string add_trailing_slash(const std::string& s);

/// All of `s` percent-encoded, "/" too. Raises InternalError for 2 GiB and more.
TARNIX_FTP_EXPORT std::string percent_encode(curl_ptr& handle, const std::string& s);

/// `s` with each '%XX' decoded, zero bytes included; what is no such sequence stays. Raises
/// InternalError for 2 GiB and more, and when memory is short.
TARNIX_FTP_EXPORT std::string percent_decode(curl_ptr& handle, const std::string& s);

/// Each segment of `path` encoded, all separators kept.
TARNIX_FTP_EXPORT std::string percent_encode_path(curl_ptr& handle, const std::string& path);

/// The URL of the absolute `path` on the server of `base_url`; a `path` that does not begin with
/// "/" means the root. Raises InternalError when `base_url` has no scheme.
TARNIX_FTP_EXPORT std::string make_absolute_url(curl_ptr& handle, const std::string& base_url,
                                                const std::string& path, const bool is_encoded);

/// The URL of `path`, absolute or in the session's working folder. `is_encoded` says that `path`
/// is percent-encoded already. No network traffic.
TARNIX_FTP_EXPORT std::string fullurl(curl_ptr& handle, const std::string& path,
                                      const bool is_encoded);

/// The remote path of `name` in the working folder; `name` is not looked at. Costs a PWD.
TARNIX_FTP_EXPORT std::string fullfile(curl_ptr& handle, const std::string& name);

// Replies and the working folder

/// The first line of `text` (lines end in CR LF) that begins with `code`; none for an empty code.
TARNIX_FTP_EXPORT std::optional<std::string> match_response_code(const std::string& text,
                                                                 const std::string& code);

/// The path between the first and the last double quote of a 257 reply, "//" made "/". Raises
/// InternalError for any other line.
TARNIX_FTP_EXPORT std::string parse_pwd_response(const std::string& line);

/// The server's name of the working folder. Costs one request with a PWD. Raises InternalError.
TARNIX_FTP_EXPORT std::string pwd(curl_ptr& handle);

/// Moves the session to `url`, a whole encoded URL, and returns libcurl's code; the URL stays even
/// when the server refused. Costs one request.
TARNIX_FTP_EXPORT CURLcode unsafe_cd(curl_ptr& handle, const std::string& url);

/// Moves the session to folder `url` and returns the server's own name for it. Costs one request
/// and a PWD. On failure the session is back at its earlier folder and NoSuchDirectory carries
/// `url`.
TARNIX_FTP_EXPORT std::string cd(curl_ptr& handle, const std::string& url);

/// The reply lines of a request with a SYST, all of them; "" when it failed. Costs one request.
TARNIX_FTP_EXPORT std::string syst(curl_ptr& handle);

// Connection

/// Logs in over FTP and returns the working folder. `url` begins "ftp://". Active mode only for
/// `connection_mode` "active"; `tls_mode` is "none", "opportunistic" or "strict" (explicit TLS).
/// Speeds in bytes per second, times in seconds. Costs four requests. When the folder of `url`
/// cannot be entered, warns, goes to the login folder and tries once more; refused again, raises
/// NoSuchDirectory with the session left at the login folder. Raises BadLogin, NoConnection, or
/// InternalError for another `tls_mode`. Options stay set when it fails.
TARNIX_FTP_EXPORT std::string connect(curl_ptr& handle, const std::string& url,
                                      const std::string& username, const std::string& password,
                                      const long port, const std::string& connection_mode,
                                      const std::string& tls_mode, const bool use_proxy,
                                      const std::string& ca_file, const bool verify_peer,
                                      const bool verify_host, const long low_speed_limit,
                                      const long low_speed_time);

/// Logs in over SFTP with a password, or with a key (public key file and passphrase may be empty),
/// and returns the working folder. `starting_folder`, meant from the root, "" or "/~/" for the
/// home folder, or for the root with `start_at_root`. A folder that cannot be entered means the
/// root, with a warning. The server's host key is not checked unless the handle was told to.
/// Raises BadLogin, NoConnection or NoConnectionToStartingFolder.
TARNIX_FTP_EXPORT std::string
connect_with_password(curl_ptr& handle, const std::string& host, const std::string& username,
                      const long port, const std::string& password, const bool use_proxy,
                      const std::string& starting_folder, const std::string& ca_file,
                      const bool verify_peer, const bool verify_host, const long low_speed_limit,
                      const long low_speed_time, const bool start_at_root);
TARNIX_FTP_EXPORT std::string
connect_with_keys(curl_ptr& handle, const std::string& host, const std::string& username,
                  const long port, const std::string& public_key_file,
                  const std::string& private_key_file, const std::string& passphrase,
                  const bool use_proxy, const std::string& starting_folder,
                  const std::string& ca_file, const bool verify_peer, const bool verify_host,
                  const long low_speed_limit, const long low_speed_time, const bool start_at_root);

/// What the two have in common; authentication options must be set before.
TARNIX_FTP_EXPORT std::string
connect_helper(curl_ptr& handle, const std::string& host, const std::string& username,
               const long port, const bool use_proxy, const std::string& starting_folder,
               const std::string& ca_file, const bool verify_peer, const bool verify_host,
               const long low_speed_limit, const long low_speed_time, const bool start_at_root);

/// Bounds each later request, or its connect phase, in milliseconds; 0 for no bound. No traffic.
TARNIX_FTP_EXPORT void transfer_timeout(curl_ptr& handle, const long milliseconds);
TARNIX_FTP_EXPORT void connection_timeout(curl_ptr& handle, const long milliseconds);

/// Takes the proxy from the host's ProxySelector service, if there is one. No network traffic.
TARNIX_FTP_EXPORT void configure_proxy(curl_ptr& handle);

// Folders and listings

/// True when the session can change into `path`; every failure reads as false. Three requests,
/// two for a folder that cannot be entered.
TARNIX_FTP_EXPORT bool is_folder(curl_ptr& handle, const std::string& path);

/// Creates a folder over FTP. Two requests. Raises CouldNotCreateFolder or InternalError.
TARNIX_FTP_EXPORT void create_folder(curl_ptr& handle, const std::string& path);

/// Deletes an empty folder over FTP. Two requests. Raises FolderNotEmpty for every 550, else
/// FTPError.
TARNIX_FTP_EXPORT void delete_folder(curl_ptr& handle, const std::string& path);

/// Lists `path` over SFTP and returns libcurl's code with the listing. Two requests.
TARNIX_FTP_EXPORT std::pair<CURLcode, std::string>
sftp_is_folder(curl_ptr& handle, const std::string& path, const bool is_encoded);

/// Creates a folder over SFTP. Raises CouldNotCreateFolder. A relative `path` is resolved by the
/// server from the login folder.
TARNIX_FTP_EXPORT void sftp_create_folder(curl_ptr& handle, const std::string& path);

/// Deletes an empty folder over SFTP. Writes libcurl's text to standard error and raises
/// RemoveFolderFailed or FTPError. A relative `path` is resolved as above.
TARNIX_FTP_EXPORT void sftp_delete_folder(curl_ptr& handle, const std::string& path);

/// The server's long listing (LIST) or name listing (NLST) of `path`, seen from the working
/// folder. One request. A failed transfer gives what had arrived, mostly "". Over SFTP `path` is
/// not looked at and both give the names in the working folder.
TARNIX_FTP_EXPORT std::string list(curl_ptr& handle, const std::string& path);
TARNIX_FTP_EXPORT std::string nlst(curl_ptr& handle, const std::string& path);

/// The names of `nlst`, one each, unsorted.
TARNIX_FTP_EXPORT std::vector<std::string> dir(curl_ptr& handle, const std::string& path);

/// The pieces of `text` between separators, empty ones too. The views point into `text`.
TARNIX_FTP_EXPORT std::vector<std::string_view> split_string(const std::string_view& text,
                                                             const std::string_view& separator);

/// The lines of a name listing, carriage returns kept. The views point into `listing`.
TARNIX_FTP_EXPORT std::vector<std::string_view> parse_nlst_listing(const std::string& listing);

// Files

/// Uploads a local file. `text_mode` converts line ends. Two requests. Raises PermissionDenied or
/// NotFound for the local file, UploadFailed, or the file layer's error when closing fails.
TARNIX_FTP_EXPORT void send_file(curl_ptr& handle, const ustring& local, const ustring& remote,
                                 const bool text_mode);

/// Downloads into a local file, which is created or emptied first and stays when the transfer
/// fails. Two requests. Raises FileUnavailable for reply 550, FTPError with any other reply, or
/// the file layer's errors.
TARNIX_FTP_EXPORT void receive_file(curl_ptr& handle, const ustring& remote, const ustring& local,
                                    const bool text_mode);

/// Deletes a remote file. Two requests. Raises DeleteFailed. A relative `path` is the server's to
/// resolve over FTP; over SFTP it costs a PWD more.
TARNIX_FTP_EXPORT void delete_remote_file(curl_ptr& handle, const ustring& path);
TARNIX_FTP_EXPORT void sftp_delete_remote_file(curl_ptr& handle, const ustring& path);

/// Renames a remote file. Two requests, over SFTP a PWD more for each relative path. Raises
/// FTPError for a last reply of 500 to 553; every other outcome, a lost connection too, reads as
/// success.
TARNIX_FTP_EXPORT void rename_remote_file(curl_ptr& handle, const ustring& from, const ustring& to);
TARNIX_FTP_EXPORT void sftp_rename_remote_file(curl_ptr& handle, const ustring& from,
                                               const ustring& to);

/// Asks an SFTP server for the file system that holds `path`. Where the server does not answer
/// (each FTP server, within 20 s), true when the working folder can be reached, whatever `path`
/// is. Clears a transfer time-out. Raises FTPError with libcurl's code.
TARNIX_FTP_EXPORT bool is_file(curl_ptr& handle, const ustring& path);

// Host binding

/// The host namespace `tarnix.io.internal`; the host owns it.
TARNIX_FTP_EXPORT zobs::COSNamespace* getFTPCorePackage();

/// Registers the class `tarnix.io.internal.Connection`, each of whose objects owns a session
/// handle. Raises `foundation::core::except::bad_alloc`.
TARNIX_FTP_EXPORT void do_init();

/// The session handle of the `Connection` object that is the first element of `array`; valid while
/// that object lives. Raises CurlHandleUnwrapFailed for everything else; what completing the
/// array's dimensions raises passes through.
TARNIX_FTP_EXPORT curl_ptr& get_curl_ptr(const txArray* array);

template <typename Value>
auto scoped_request::readable(Value value)
{
    if constexpr (std::is_integral_v<Value> || std::is_enum_v<Value>)
        return static_cast<long long>(value);
    else if constexpr (std::is_function_v<std::remove_pointer_t<Value>>)
        return reinterpret_cast<void (*)()>(value);
    else
        return static_cast<const void*>(value);
}

template <typename Value, typename Restore>
scoped_request&& scoped_request::setopt(CURLoption option, Value value, Restore restore)
{
    const std::function<void()> restorer = [&handle = handle_, option,
                                            restored = readable(restore)] {
        set_option(handle, option, restored);
    };
    set_option(handle_, option, readable(value));
    restore_later(restorer, turn::next);
    return std::move(*this);
}

} // namespace tarnix::io::ftp::core

extern "C" {

/// To be called when the library has been loaded; registers its class, once in a process unless
/// the host's object system keeps track itself. Raises what `do_init` raises.
TARNIX_FTP_EXPORT void TXInitialize_FTPCoreModule();
/// Does nothing.
TARNIX_FTP_EXPORT void TXTerminate_FTPCoreModule();
}
