#include "pending_file.hpp"

#include <tarnix/ftp/errors.hpp>

#include <array>
#include <cerrno>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <linux/limits.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace tarnix::ftp {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void raise(const fs::path& file, const std::string& reason)
{
    throw failure(failure_kind::local_file, "cannot write \"" + file.string() + "\": " + reason);
}

[[noreturn]] void raise(const fs::path& file, int error)
{
    raise(file, std::generic_category().message(error));
}

/// The file that is to be replaced, if there is one. The system follows the links to it, because it
/// refuses some: those that others have put into a folder like /tmp.
std::optional<struct stat> find_replaceable(const fs::path& target)
{
    struct stat found {};
    if (::stat(target.c_str(), &found) != 0) {
        if (errno != ENOENT)
            raise(target, errno);
        return std::nullopt;
    }
    if (!S_ISREG(found.st_mode))
        raise(target, "it is no regular file");
    if (::access(target.c_str(), W_OK) != 0)
        raise(target, errno);
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
    raise(target, ELOOP);
}

std::string random_letters()
{
    constexpr std::string_view letters = "abcdefghijklmnopqrstuvwxyz0123456789";
    std::random_device source;
    std::uniform_int_distribution<std::size_t> index(0, letters.size() - 1);
    std::array<char, 8> text{};
    for (char& letter : text)
        letter = letters[index(source)];
    return {text.data(), text.size()};
}

/// Makes an empty file that was not there, and names it in `path`; a descriptor, or -1 with errno.
int make_beside(const fs::path& target, mode_t mode, fs::path& path)
{
    constexpr auto attempts = 100;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        path = target.parent_path() / (".tarnix-ftp-" + random_letters());
        const auto made = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
        if (made != -1 || errno != EEXIST)
            return made;
    }
    return -1;
}

/// Wherever the process goes until the file is complete.
fs::path made_absolute(const fs::path& target)
{
    if (!target.has_filename())
        raise(target, "it names no file");
    std::error_code failed;
    auto path = fs::absolute(target, failed);
    if (failed)
        raise(target, failed.message());
    return path;
}

constexpr auto access_list = "system.posix_acl_access";

/// The access control list of a file in the form that the system keeps it in; empty without one.
std::vector<char> access_list_of(const fs::path& file)
{
    std::vector<char> list(XATTR_SIZE_MAX);
    const auto size = ::getxattr(file.c_str(), access_list, list.data(), list.size());
    list.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
    return list;
}

/// The group gets no more than everybody.
mode_t no_more_for_group(mode_t mode)
{
    constexpr mode_t group = 070;
    const auto others = mode & 07;
    return mode & (~group | others << 3);
}

/// Gives a new file the owner, the group and the rights of the one that it replaces, as far as the
/// process may, and nobody more than they had.
void take_over_access(int descriptor, const struct stat& old,
                      const std::vector<char>& list) noexcept
{
    if (::fchown(descriptor, old.st_uid, old.st_gid) != 0)
        static_cast<void>(::fchown(descriptor, static_cast<uid_t>(-1), old.st_gid) != 0);
    struct stat made {};
    if (::fstat(descriptor, &made) != 0)
        return;
    auto like = old;
    const auto is_same = old.st_uid == made.st_uid && old.st_gid == made.st_gid;
    // Beside a list the bits of the group are the most that anyone in the list gets.
    if (!list.empty() &&
        (!is_same || ::fsetxattr(descriptor, access_list, list.data(), list.size(), 0) != 0))
        like.st_mode = no_more_for_group(old.st_mode);
    ::fchmod(descriptor, mode_in_place_of(like, made));
}

} // namespace

mode_t mode_in_place_of(const struct stat& old, const struct stat& made)
{
    constexpr mode_t all = 0777;
    constexpr mode_t read_and_write = 0600;
    const auto mode = old.st_mode & all;
    if (old.st_uid == made.st_uid && old.st_gid == made.st_gid)
        return mode;
    if (old.st_gid == made.st_gid)
        return mode | read_and_write;
    return no_more_for_group(mode) | read_and_write;
}

pending_file::pending_file(const fs::path& target) : target_(behind_links(made_absolute(target)))
{
    constexpr mode_t of_new_files = 0666; // less what the process masks out
    constexpr mode_t own = 0600;
    const auto replaced = find_replaceable(target);
    const auto list = replaced ? access_list_of(target_) : std::vector<char>();
    fs::path path;
    const auto descriptor = make_beside(target_, replaced ? own : of_new_files, path);
    if (descriptor == -1)
        raise(target_, "no file can be made beside it: " + std::generic_category().message(errno));
    // The destructor of an object that was not completed does not run: nothing may throw from
    // here on.
    pending_.swap(path);
    if (replaced)
        take_over_access(descriptor, *replaced, list);
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
        raise(target_, errno);
    pending_.clear();
}

} // namespace tarnix::ftp
