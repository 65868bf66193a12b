#include "local_files.hpp"

#include <cerrno>
#include <cstdlib>
#include <optional>
#include <string>
#include <system_error>
#include <unistd.h>

namespace tarnix::cli {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void raise(const std::string& what, const fs::path& file, int error)
{
    throw local_file_error(what + " \"" + file.string() +
                           "\": " + std::generic_category().message(error));
}

/// What a new file gets from the system: nothing tells the mask without setting it.
mode_t mode_of_new_file()
{
    const auto mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}

/// The file that is to be replaced, if there is one.
std::optional<struct stat> find_replaceable(const fs::path& target)
{
    struct stat found {};
    if (::stat(target.c_str(), &found) != 0) {
        if (errno != ENOENT)
            raise("cannot write", target, errno);
        return std::nullopt;
    }
    if (!S_ISREG(found.st_mode))
        throw local_file_error("cannot write \"" + target.string() + "\": it is no regular file");
    if (::access(target.c_str(), W_OK) != 0)
        raise("cannot write", target, errno);
    return found;
}

/// Also behind links to what is not there yet.
fs::path behind_links(fs::path target)
{
    constexpr auto most_links = 40; // as many as the system follows
    for (int followed = 0; followed < most_links; ++followed) {
        std::error_code no_link;
        const auto next = fs::read_symlink(target, no_link);
        if (no_link)
            return target;
        target = target.parent_path() / next;
    }
    raise("cannot write", target, ELOOP);
}

} // namespace

mode_t mode_in_place_of(const struct stat& old, const struct stat& made)
{
    constexpr mode_t all = 0777;
    constexpr mode_t read_and_write = 0600;
    constexpr mode_t group = 070;
    auto mode = old.st_mode & all;
    if (old.st_uid == made.st_uid && old.st_gid == made.st_gid)
        return mode;
    const auto others = mode & 07;
    mode &= ~group | others << 3;
    return mode | read_and_write;
}

pending_file::pending_file(const fs::path& target) : target_(behind_links(target))
{
    const auto replaced = find_replaceable(target_);
    auto name = (target_.parent_path() / ".tarnix-ftp-XXXXXX").string();
    const auto descriptor = ::mkstemp(name.data());
    if (descriptor == -1)
        raise("cannot write", target_, errno);
    pending_ = name;
    struct stat made {};
    ::fstat(descriptor, &made);
    ::fchmod(descriptor, replaced ? mode_in_place_of(*replaced, made) : mode_of_new_file());
    ::close(descriptor);
}

pending_file::~pending_file()
{
    if (!pending_.empty())
        ::unlink(pending_.c_str());
}

void pending_file::commit()
{
    if (::rename(pending_.c_str(), target_.c_str()) != 0)
        raise("cannot write", target_, errno);
    pending_.clear();
}

fs::path local_target(const fs::path& target, const std::string& name)
{
    std::error_code ignored;
    return !target.has_filename() || fs::is_directory(target, ignored) ? target / name : target;
}

void check_readable(const fs::path& file)
{
    // Without opening it, which would take from a pipe what another is to read.
    if (::access(file.c_str(), R_OK) != 0)
        raise("cannot read", file, errno);
}

} // namespace tarnix::cli
