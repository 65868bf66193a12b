#pragma once

#include <tarnix/ftp/errors.hpp>
#include <tarnix/ftp/export.hpp>
#include <tarnix/ftp/options.hpp>
#include <tarnix/ftp/url.hpp>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace tarnix::ftp {

enum class transfer_mode {
    binary,
    text ///< line ends are converted; FTP only
};

/// A connection to a server, logged in. Owns it; closing is destruction, which says goodbye: a
/// server that does not answer that holds it up for five seconds, or less with a shorter
/// `reply_timeout`.
///
/// Paths on the server are UTF-8, absolute or relative to the working folder; "." and ".." are
/// resolved as in a URL, without the server. Over SFTP "~" and "~/..." mean the login folder.
/// Names with control characters are refused with invalid_input before anything is sent, as are
/// names of files to move, remove or rename that are not UTF-8.
///
/// Failures are `failure`, or an identifier exception of the library below where the session has
/// nothing to add to it (local files, a missing service); `kind_of` tells of both. One thread at a
/// time uses a session; different sessions may be used by different threads at once. A moved-from
/// session can only be destroyed or assigned to.
class TARNIX_SESSION_EXPORT session {
public:
    /// Connects, logs in and enters the starting folder. Raises invalid_input for options that do
    /// not fit, and failures of the kinds connection, security, login and not_found.
    explicit session(const url& server, const session_options& options = {});
    session(session&&) noexcept;
    session& operator=(session&&) noexcept;
    ~session();

    /// The absolute path, without a "/" at the end unless it is the root. No network traffic.
    const std::string& working_folder() const;

    /// Raises a not_found failure, and stays where it was, when the folder cannot be entered.
    void change_folder(const std::string& path);

    /// The server's own long listing of a folder, unparsed. An empty text is an empty folder.
    std::string list(const std::string& path = {});

    /// The names in a folder, in the server's order, without "." and "..". They are what the server
    /// says: one that is hostile may put a "/" into them, so look before you make local paths of
    /// them.
    std::vector<std::string> names(const std::string& path = {});

    /// Whether `path` is a folder; over FTP, one that can be entered. Raises when there was no
    /// answer to tell from.
    bool is_folder(const std::string& path);

    /// Whether there is a file or folder of that name, as far as the server lets one see. Over FTP
    /// "no" takes three looks, the last one at a listing of the folder above.
    bool exists(const std::string& path);

    /// Whether `path` is there and is no folder. Over FTP a file takes two looks, a missing name
    /// three; on servers without SIZE the file is opened for reading, and when they let one do
    /// neither, raises a permission failure. Raises too when there was no answer to tell from.
    bool is_file(const std::string& path);

    void make_folder(const std::string& path);

    /// Removes an empty folder.
    void remove_folder(const std::string& path);

    /// Raises not_found for a missing file, and conflict for a folder.
    void remove_file(const std::string& path);

    /// Gives a file or a folder another name, in another folder too. Looks at both names before and
    /// after: raises not_found when `from` is missing, conflict when there is something at `to`
    /// already, and another failure when in the end not `to` alone is there.
    void rename(const std::string& from, const std::string& to);

    /// Stores the local file under the name `remote`, over what is there. When it fails, a part
    /// of the file may be left on the server. Over FTP a binary upload asks for the size
    /// afterwards, and fails when less has been stored.
    void upload(const std::filesystem::path& local, const std::string& remote,
                transfer_mode mode = transfer_mode::binary);

    /// Writes the remote file into `local`. What was there is replaced when the download is
    /// complete, and stays when it fails: until then the bytes go into a hidden file beside it. A
    /// new file in place of the old one, of which it takes the permissions; a link stays a link.
    /// Raises a local_file failure when `local` is there and is no regular file.
    void download(const std::string& remote, const std::filesystem::path& local,
                  transfer_mode mode = transfer_mode::binary);

    /// What an FTP server says of its system, "UNIX Type: L8" for most. One request. Raises
    /// invalid_input over SFTP, which does not tell.
    std::string system_type();

private:
    struct TARNIX_SESSION_NO_EXPORT state;

    std::unique_ptr<state> state_;
};

} // namespace tarnix::ftp
