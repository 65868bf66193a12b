#include "terminal.hpp"

#include "arguments.hpp"
#include "interrupts.hpp"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <initializer_list>
#include <poll.h>
#include <string_view>
#include <termios.h>
#include <unistd.h>

namespace tarnix::cli {

namespace {

class quiet_terminal;

/// The one whose question waits for its answer; for the signal handler.
std::atomic<const quiet_terminal*> asking{nullptr};
static_assert(std::atomic<const quiet_terminal*>::is_always_lock_free);

void stop_with_echo(int);

/// Stops the process as the signal would have done without the handler; returns when it goes on.
void stop() noexcept
{
    struct sigaction usual {};
    struct sigaction own {};
    usual.sa_handler = SIG_DFL;
    ::sigaction(SIGTSTP, &usual, &own);
    sigset_t signals;
    sigset_t before;
    ::sigemptyset(&signals);
    ::sigaddset(&signals, SIGTSTP);
    ::raise(SIGTSTP);
    ::pthread_sigmask(SIG_UNBLOCK, &signals, &before);
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    ::sigaction(SIGTSTP, &own, nullptr);
}

/// Keeps interrupts back but for the waits that ask for them: one that came between a look at
/// `interrupted` and a wait would be missed.
class held_interrupts {
public:
    held_interrupts()
    {
        sigset_t held;
        ::sigemptyset(&held);
        for (const auto number : {SIGINT, SIGQUIT, SIGTERM, SIGHUP})
            ::sigaddset(&held, number);
        ::pthread_sigmask(SIG_BLOCK, &held, &before_);
    }
    ~held_interrupts() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    held_interrupts(const held_interrupts&) = delete;
    held_interrupts& operator=(const held_interrupts&) = delete;

    /// Waits for something to read; false when there will be nothing, or after an interrupt.
    bool wait_for_input(int descriptor) const
    {
        while (!interrupted()) {
            pollfd wanted{descriptor, POLLIN, 0};
            const auto ready = ::ppoll(&wanted, 1, nullptr, &before_);
            if (ready > 0)
                return true;
            if (ready == -1 && errno != EINTR)
                return false;
        }
        return false;
    }

private:
    sigset_t before_{};
};

/// The controlling terminal with its echo off, for one question. While the process is stopped
/// (Ctrl-Z) the terminal is as it was before.
class quiet_terminal {
public:
    explicit quiet_terminal(std::string_view question)
        : question_(question), descriptor_(::open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY))
    {
        if (descriptor_ == -1 || ::tcgetattr(descriptor_, &before_) != 0)
            return;
        quiet_ = before_;
        quiet_.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        handle_stops();
        usable_ = ::tcsetattr(descriptor_, TCSAFLUSH, &quiet_) == 0;
        if (usable_)
            write(question_);
    }
    ~quiet_terminal()
    {
        if (usable_)
            ::tcsetattr(descriptor_, TCSAFLUSH, &before_);
        if (asking.exchange(nullptr))
            ::sigaction(SIGTSTP, &usual_stop_, nullptr);
        if (descriptor_ != -1)
            ::close(descriptor_);
    }
    quiet_terminal(const quiet_terminal&) = delete;
    quiet_terminal& operator=(const quiet_terminal&) = delete;

    bool is_usable() const { return usable_; }

    void write(std::string_view text) const noexcept
    {
        // A question that is not seen is no reason not to read the answer.
        [[maybe_unused]] const auto written = ::write(descriptor_, text.data(), text.size());
    }

    /// Up to the end of the line; what an interrupt cuts short is empty.
    std::string read_line()
    {
        const held_interrupts interrupts;
        std::string line;
        for (char character = 0; interrupts.wait_for_input(descriptor_) &&
                                 ::read(descriptor_, &character, 1) == 1 && character != '\n';)
            line += character;
        return line;
    }

    /// In the signal handler.
    void stop_with_echo() const noexcept
    {
        const auto error = errno;
        ::tcsetattr(descriptor_, TCSANOW, &before_);
        stop();
        ::tcsetattr(descriptor_, TCSANOW, &quiet_);
        write(question_);
        errno = error;
    }

private:
    void handle_stops()
    {
        if (::sigaction(SIGTSTP, nullptr, &usual_stop_) != 0 || usual_stop_.sa_handler == SIG_IGN)
            return;
        asking = this;
        struct sigaction action {};
        action.sa_handler = &cli::stop_with_echo;
        action.sa_flags = SA_RESTART;
        ::sigaction(SIGTSTP, &action, nullptr);
    }

    std::string_view question_;
    int descriptor_;
    termios before_{};
    termios quiet_{};
    struct sigaction usual_stop_ {};
    bool usable_ = false;
};

void stop_with_echo(int)
{
    if (const auto* terminal = asking.load())
        terminal->stop_with_echo();
}

} // namespace

std::string ask_on_terminal(const std::string& question, const std::string& advice)
{
    quiet_terminal terminal(question);
    if (!terminal.is_usable())
        throw usage_error(advice);
    const auto answer = terminal.read_line();
    terminal.write("\n");
    if (answer.empty())
        throw usage_error(advice);
    return answer;
}

} // namespace tarnix::cli
