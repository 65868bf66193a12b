#include "machine.hpp"

#include "failing_allocations.hpp"
#include "failing_files.hpp"

#include <cerrno>
#include <csignal>
#include <fstream>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

namespace tarnix::test {

namespace {

void check(int result, const char* what)
{
    if (result != 0)
        throw std::system_error(errno, std::generic_category(), what);
}

files::trouble trouble_of(fault what)
{
    switch (what) {
    case fault::read:
        return files::trouble::read_fails;
    case fault::write:
        return files::trouble::write_fails;
    case fault::close:
        return files::trouble::close_fails;
    case fault::shrinking_file:
        return files::trouble::shrinks;
    case fault::growing_file:
        return files::trouble::grows;
    default:
        return files::trouble::none;
    }
}

} // namespace

bad_machine::bad_machine(const assignment& given)
{
    if (given.what == fault::file_size) {
        std::signal(SIGXFSZ, SIG_IGN);
        limit(RLIMIT_FSIZE, static_cast<rlim_t>(given.nth));
    }
    files::trouble_at(given.nth, trouble_of(given.what));
    if (given.what == fault::descriptors)
        leave_descriptors(given.nth);
    if (given.what == fault::all_allocations)
        memory::fail_at(given.nth, memory::reach::all_from_there);
    else
        memory::fail_at(given.what == fault::one_allocation ? given.nth : 0, memory::reach::one);
}

bad_machine::~bad_machine()
{
    mend();
}

void bad_machine::mend()
{
    memory::recover();
    files::recover();
    for (const auto descriptor : occupied_)
        ::close(descriptor);
    occupied_.clear();
    for (const auto& one : limited_)
        ::setrlimit(one.what, &one.before);
    limited_.clear();
}

void bad_machine::limit(__rlimit_resource what, rlim_t to)
{
    rlimit limits{};
    check(::getrlimit(what, &limits), "getrlimit");
    limited_.push_back({what, limits});
    limits.rlim_cur = to;
    check(::setrlimit(what, &limits), "setrlimit");
}

void bad_machine::leave_descriptors(long free)
{
    // A sanitizer opens a pipe to see whether there is an object, and finds none when it cannot.
    if (memory::is_sanitized()) {
        files::open_at_most(free);
        return;
    }
    constexpr rlim_t at_most = 128;
    limit(RLIMIT_NOFILE, at_most);
    for (;;) {
        const auto descriptor = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        if (descriptor == -1)
            break;
        occupied_.push_back(descriptor);
    }
    for (; free > 0 && !occupied_.empty(); --free) {
        ::close(occupied_.back());
        occupied_.pop_back();
    }
}

void mount_small_disk(const std::filesystem::path& folder, long size)
{
    check(::unshare(CLONE_NEWNS), "unshare");
    check(::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr), "mount");
    const auto options = "mode=0777,size=" + std::to_string(size);
    check(::mount("none", folder.c_str(), "tmpfs", 0, options.c_str()), "mount");
}

void become_nobody()
{
    constexpr uid_t nobody = 65534;
    if (::geteuid() == 0)
        check(::setresuid(nobody, nobody, nobody), "setresuid");
}

} // namespace tarnix::test
