#include "endings.hpp"

#include "call_stack.hpp"
#include "failing_allocations.hpp"

#include <array>
#include <csignal>
#include <cstdio>
#include <exception>
#include <string_view>

#include <sys/resource.h>
#include <unistd.h>

extern "C" [[gnu::weak]] void __sanitizer_set_death_callback(void (*)());

namespace tarnix::test {

namespace {

constinit line_taker take_line = nullptr;
/// Too large for the stack of a handler that may have little.
constinit call_stack stack;

void say(const char* word, std::string_view library, int number) noexcept
{
    std::array<char, 256> line{};
    const auto length = static_cast<int>(library.size());
    if (number == 0)
        std::snprintf(line.data(), line.size(), "%s %.*s", word, length, library.data());
    else
        std::snprintf(line.data(), line.size(), "%s %.*s %d", word, length, library.data(), number);
    take_line(line.data());
}

void say_where_it_began() noexcept
{
    memory::recover();
    say("failed_in", memory::place_of_first_failure().library(), 0);
}

[[noreturn]] void report_the_end()
{
    say_where_it_began();
    stack.capture();
    if (stack.runs_through("14scoped_requestD"))
        take_line("ended scope");
    else if (stack.runs_through("8curl_ptrD"))
        take_line("ended handle");
    else
        take_line("ended elsewhere");
    std::signal(SIGABRT, SIG_DFL);
    std::raise(SIGABRT);
    ::_exit(3);
}

void report_a_crash(int number)
{
    say_where_it_began();
    stack.capture();
    const auto library = stack.library();
    say("crashed_in", library.empty() ? "the program" : library, number);
}

void report_a_signal(int number)
{
    report_a_crash(number);
    std::signal(number, SIG_DFL);
    std::raise(number);
}

void report_to_sanitizer()
{
    report_a_crash(SIGABRT);
}

} // namespace

void report_bad_endings(line_taker take)
{
    take_line = take;
    // The first look at the stack does not find what it needs for later.
    stack.capture();
    std::set_terminate(&report_the_end);
    // An image of the process for each would fill the disk.
    const rlimit none{};
    ::setrlimit(RLIMIT_CORE, &none);
    for (const auto number : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGALRM})
        std::signal(number, &report_a_signal);
    if (__sanitizer_set_death_callback)
        __sanitizer_set_death_callback(&report_to_sanitizer);
}

} // namespace tarnix::test
