#include "output.hpp"

#include <tarnix/host/terminal_text.hpp>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <initializer_list>
#include <system_error>
#include <unistd.h>

namespace tarnix::cli {

output_error::output_error(const std::string& text, bool reader_has_gone)
    : std::runtime_error(text), reader_has_gone_(reader_has_gone)
{
}

void occupy_standard_streams()
{
    for (const auto descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(descriptor, F_GETFD) != -1)
            continue;
        // The lowest number that is free is this one. Opened the wrong way round, so that its use
        // still fails.
        const auto wrong_way = descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY;
        if (::open("/dev/null", wrong_way) != descriptor)
            throw std::system_error(errno, std::generic_category(), "/dev/null");
    }
}

void write_result(const std::string& text)
{
    const auto shown = ::isatty(STDOUT_FILENO) == 1 ? printable(text) : text;
    errno = 0;
    if (std::fwrite(shown.data(), 1, shown.size(), stdout) == shown.size() &&
        std::fflush(stdout) == 0)
        return;
    const auto error = errno;
    throw output_error("cannot write the result: " + std::generic_category().message(error),
                       error == EPIPE);
}

void write_message(const std::string& text) noexcept
{
    try {
        const auto line = "tarnix-ftp: " + printable(text) + '\n';
        std::fwrite(line.data(), 1, line.size(), stderr);
    } catch (const std::bad_alloc&) {
        std::fputs("tarnix-ftp: out of memory\n", stderr);
    }
}

std::string printable(std::string_view text)
{
    std::string shown;
    while (!text.empty()) {
        const auto [length, is_control] = host::look_at_first_character(text);
        if (is_control && text.front() != '\n' && text.front() != '\t')
            shown += '?';
        else
            shown += text.substr(0, length);
        text.remove_prefix(length);
    }
    return shown;
}

} // namespace tarnix::cli
