#include "local_files.hpp"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
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

constexpr mode_t permissions = 07777;

/// What a new file gets from the system: nothing tells the mask without setting it.
mode_t mode_of_new_file()
{
    const auto mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}

/// The permissions that the finished file shall have.
mode_t wanted_mode(const fs::path& target)
{
    struct stat found {};
    if (::stat(target.c_str(), &found) != 0) {
        if (errno != ENOENT)
            raise("cannot write", target, errno);
        return mode_of_new_file();
    }
    if (!S_ISREG(found.st_mode))
        throw local_file_error("cannot write \"" + target.string() + "\": it is no regular file");
    if (::access(target.c_str(), W_OK) != 0)
        raise("cannot write", target, errno);
    return found.st_mode & permissions;
}

fs::path behind_links(const fs::path& target)
{
    std::error_code error;
    auto real = fs::canonical(target, error);
    return error ? target : real;
}

} // namespace

pending_file::pending_file(const fs::path& target) : target_(behind_links(target))
{
    const auto mode = wanted_mode(target_);
    auto name = (target_.parent_path() / ".tarnix-ftp-XXXXXX").string();
    const auto descriptor = ::mkstemp(name.data());
    if (descriptor == -1)
        raise("cannot write", target_, errno);
    pending_ = name;
    ::fchmod(descriptor, mode);
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
    const auto descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor == -1)
        raise("cannot read", file, errno);
    ::close(descriptor);
}

} // namespace tarnix::cli
