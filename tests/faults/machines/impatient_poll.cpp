// Linked into a program, makes libcurl look at its sockets every few milliseconds. After the reply
// that tells where to connect to, 7.88 waits for a second without looking at the new connection;
// thousands of transfers would do nothing but that. Longer waits are left alone: there, when
// nothing has come, libcurl takes the time for up.

#include <dlfcn.h>
#include <poll.h>

extern "C" [[gnu::visibility("default")]] int poll(pollfd* descriptors, nfds_t count, int timeout)
{
    static const auto function =
        reinterpret_cast<int (*)(pollfd*, nfds_t, int)>(::dlsym(RTLD_NEXT, "poll"));
    constexpr int libcurls_second = 1000;
    constexpr int longest = 5;
    const auto is_idle = timeout > longest && timeout <= libcurls_second;
    return function(descriptors, count, is_idle ? longest : timeout);
}
