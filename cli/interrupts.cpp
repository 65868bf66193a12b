#include "interrupts.hpp"

#include <csignal>
#include <initializer_list>
#include <unistd.h>

namespace tarnix::cli {

namespace {

volatile std::sig_atomic_t remembered = 0;

void remember(int number)
{
    remembered = number;
}

} // namespace

void catch_interrupts()
{
    std::signal(SIGPIPE, SIG_IGN);
    // A file that may not grow any more is an error like a full disk.
    std::signal(SIGXFSZ, SIG_IGN);
    for (const auto number : {SIGINT, SIGQUIT, SIGTERM, SIGHUP}) {
        struct sigaction action {};
        // One that is ignored, as under nohup, stays ignored.
        if (::sigaction(number, nullptr, &action) == 0 && action.sa_handler == SIG_IGN)
            continue;
        action = {};
        action.sa_handler = &remember;
        // Without SA_RESTART: a prompt that waits for the user ends too.
        action.sa_flags = static_cast<int>(SA_RESETHAND);
        ::sigaction(number, &action, nullptr);
    }
}

bool interrupted() noexcept
{
    return remembered != 0;
}

void end_as_interrupted()
{
    if (!interrupted())
        return;
    std::signal(remembered, SIG_DFL);
    std::raise(remembered);
}

} // namespace tarnix::cli
