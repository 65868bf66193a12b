#pragma once

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

namespace tarnix::test {

/// What is wrong with the machine while one operation runs.
enum class fault {
    none,
    warm_up,         ///< none, and in the process that the others are forked from
    one_allocation,  ///< the nth fails
    all_allocations, ///< the nth and all after it fail
    descriptors,     ///< n may still be opened
    file_size,       ///< no file grows beyond n bytes
    small_disk,      ///< the folder is a file system of n bytes
    no_privileges,   ///< of the superuser
    read,            ///< the nth read of a file fails, and all after it
    write,           ///< the nth write to a file fails, and all after it
    close,           ///< the nth closing of a file fails
    shrinking_file,  ///< before its nth read
    growing_file,    ///< before its nth read
};

/// One run of one operation in a child process, as the test asks for it. On one line, the words
/// parted by blanks.
struct assignment {
    std::string operation{};
    std::string scheme = "ftp"; ///< of the server's URL, as all of these
    std::string host{};
    unsigned short port = 0;
    std::string user = "u";
    std::string password = "secret";
    std::string login_folder = "/home/u";
    /// What tells the right server from others: a file of authorities or of known host keys, or the
    /// fingerprint of a host key.
    std::string proof{};
    std::string folder{}; ///< for local files
    bool traced = false;
    fault what = fault::none;
    long nth = 0;
    std::string local{}; ///< name or path of the local file; empty for the usual one
    int serial = 0;      ///< part of the names of what is made, moved and removed
};

std::ostream& operator<<(std::ostream& out, const assignment& given);
std::istream& operator>>(std::istream& in, assignment& given);

/// How it went.
struct outcome {
    std::string result;               ///< "done ...", "raised ..." or "" when it never came to that
    long asked = 0;                   ///< allocations
    long failed = 0;                  ///< allocations
    std::string failed_in;            ///< the library where the first failure struck
    bool struck_restorers = false;    ///< the first failure struck the list of restorers
    std::vector<std::string> refused; ///< options that libcurl refused during the operation
    std::vector<std::string> lost; ///< options that are as if never set, since libcurl refused them
    std::vector<std::string> options; ///< that are not what they were, "NAME=value"
    std::vector<std::string> files;   ///< in the local folder, "NAME SIZE", but for the usual one
    long struck = 0;                  ///< how often a file was struck
    std::string again;                ///< "done ..." or "raised ..." of the same session afterwards
    long blocks_left = 0;             ///< of memory, when all was taken down again
    long foreign_blocks = 0;          ///< got in the run and left by libraries that may do so
    long own_blocks = 0;              ///< the same by all others
    std::string unavailable;          ///< why the run did not come about
    std::string ended_in;             ///< where std::terminate was called: "scope", "handle", ...
    std::string crashed_in;           ///< the library where a signal came, and its number
    std::string end;                  ///< of the process: "exit 0", "signal 11"
};

/// Takes lines up to the one that tells the end.
outcome read_outcome(const std::function<std::string()>& next_line);

} // namespace tarnix::test
