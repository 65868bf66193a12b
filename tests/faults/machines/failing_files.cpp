#include "failing_files.hpp"

#include <cerrno>
#include <cstdarg>
#include <string>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

namespace tarnix::test::files {

namespace {

trouble wanted = trouble::none;
long still_to_come = 0;
long times = 0;
/// Below 0: no matter how many.
long openable = -1;

bool is_regular(int descriptor)
{
    struct stat attributes {};
    return ::fstat(descriptor, &attributes) == 0 && S_ISREG(attributes.st_mode);
}

/// Whether it is the turn of this call. What cannot be read or written stays so.
bool strikes(trouble what, int descriptor)
{
    if (wanted != what || !is_regular(descriptor) || --still_to_come > 0)
        return false;
    const auto stays = what == trouble::read_fails || what == trouble::write_fails;
    if (still_to_come < 0 && !stays)
        return false;
    ++times;
    return true;
}

void resize(int descriptor, long numerator, long denominator)
{
    struct stat attributes {};
    ::fstat(descriptor, &attributes);
    const auto path = "/proc/self/fd/" + std::to_string(descriptor);
    if (::truncate(path.c_str(), attributes.st_size * numerator / denominator) != 0)
        times = 0;
}

template <typename Function>
Function real(const char* name)
{
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

bool may_open(long number)
{
    if (openable >= 0 && openable < number) {
        errno = EMFILE;
        return false;
    }
    if (openable >= 0)
        openable -= number;
    return true;
}

int fail()
{
    errno = EIO;
    return -1;
}

} // namespace

void trouble_at(long nth, trouble what)
{
    wanted = what;
    still_to_come = nth;
    times = 0;
}

void open_at_most(long descriptors)
{
    openable = descriptors;
}

void recover()
{
    wanted = trouble::none;
    openable = -1;
}

long struck()
{
    return times;
}

} // namespace tarnix::test::files

namespace files = tarnix::test::files;

// Seen by the libraries.
#pragma GCC visibility push(default)

extern "C" {

ssize_t read(int descriptor, void* buffer, size_t size)
{
    static const auto function = files::real<ssize_t (*)(int, void*, size_t)>("read");
    if (files::strikes(files::trouble::read_fails, descriptor))
        return files::fail();
    if (files::strikes(files::trouble::shrinks, descriptor))
        files::resize(descriptor, 1, 2);
    if (files::strikes(files::trouble::grows, descriptor))
        files::resize(descriptor, 2, 1);
    return function(descriptor, buffer, size);
}

ssize_t write(int descriptor, const void* buffer, size_t size)
{
    static const auto function = files::real<ssize_t (*)(int, const void*, size_t)>("write");
    if (files::strikes(files::trouble::write_fails, descriptor))
        return files::fail();
    return function(descriptor, buffer, size);
}

ssize_t writev(int descriptor, const iovec* buffers, int count)
{
    static const auto function = files::real<ssize_t (*)(int, const iovec*, int)>("writev");
    if (files::strikes(files::trouble::write_fails, descriptor))
        return files::fail();
    return function(descriptor, buffers, count);
}

int close(int descriptor)
{
    static const auto function = files::real<int (*)(int)>("close");
    const auto strikes = files::strikes(files::trouble::close_fails, descriptor);
    const auto result = function(descriptor);
    if (result == 0 && files::openable >= 0)
        ++files::openable;
    return strikes ? files::fail() : result;
}

int socket(int domain, int type, int protocol)
{
    static const auto function = files::real<int (*)(int, int, int)>("socket");
    return files::may_open(1) ? function(domain, type, protocol) : -1;
}

int socketpair(int domain, int type, int protocol, int* ends)
{
    static const auto function = files::real<int (*)(int, int, int, int*)>("socketpair");
    return files::may_open(2) ? function(domain, type, protocol, ends) : -1;
}

int open(const char* path, int flags, ...)
{
    static const auto function = files::real<int (*)(const char*, int, ...)>("open");
    va_list arguments;
    va_start(arguments, flags);
    const auto mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : mode_t{0};
    va_end(arguments);
    return files::may_open(1) ? function(path, flags, mode) : -1;
}

int open64(const char* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const auto mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : mode_t{0};
    va_end(arguments);
    return open(path, flags, mode);
}

} // extern "C"

#pragma GCC visibility pop
