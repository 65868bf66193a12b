#include "terminal.hpp"

#include "arguments.hpp"

#include <cerrno>
#include <fcntl.h>
#include <string_view>
#include <termios.h>
#include <unistd.h>

namespace tarnix::cli {

namespace {

/// The controlling terminal, with its echo off while this lives.
class quiet_terminal {
public:
    quiet_terminal() : descriptor_(::open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY))
    {
        if (descriptor_ == -1 || ::tcgetattr(descriptor_, &before_) != 0)
            return;
        auto quiet = before_;
        quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        usable_ = ::tcsetattr(descriptor_, TCSAFLUSH, &quiet) == 0;
    }
    ~quiet_terminal()
    {
        if (usable_)
            ::tcsetattr(descriptor_, TCSAFLUSH, &before_);
        if (descriptor_ != -1)
            ::close(descriptor_);
    }
    quiet_terminal(const quiet_terminal&) = delete;
    quiet_terminal& operator=(const quiet_terminal&) = delete;

    bool is_usable() const { return usable_; }

    void write(std::string_view text)
    {
        // A question that is not seen is no reason not to read the answer.
        [[maybe_unused]] const auto written = ::write(descriptor_, text.data(), text.size());
    }

    /// Up to the end of the line; what an interrupt cuts short is empty.
    std::string read_line()
    {
        std::string line;
        for (char character = 0; ::read(descriptor_, &character, 1) == 1 && character != '\n';)
            line += character;
        return line;
    }

private:
    int descriptor_;
    termios before_{};
    bool usable_ = false;
};

} // namespace

std::string ask_on_terminal(const std::string& question, const std::string& advice)
{
    quiet_terminal terminal;
    if (!terminal.is_usable())
        throw usage_error(advice);
    terminal.write(question);
    const auto answer = terminal.read_line();
    terminal.write("\n");
    if (answer.empty())
        throw usage_error(advice);
    return answer;
}

} // namespace tarnix::cli
