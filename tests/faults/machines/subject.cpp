// The program that meets the bad machine. It reads assignments from standard input, runs each in a
// child process that is forked before there are any threads, and reports how it went.

#include "block_owners.hpp"
#include "endings.hpp"
#include "failing_allocations.hpp"
#include "failing_files.hpp"
#include "machine.hpp"
#include "operations.hpp"
#include "option_values.hpp"

#include <tarnix/host/log_sink.hpp>
#include <tarnix/host/standalone.hpp>

#include <support/proxy_environment.hpp>

#include <boost/core/demangle.hpp>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstring>
#include <exception>
#include <filesystem>
#include <iostream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string_view>
#include <thread>
#include <typeinfo>

#include <dlfcn.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace tarnix::test;
namespace fs = std::filesystem;

/// A child that takes longer hangs; the alarm ends it.
constexpr unsigned seconds_at_most = 60;

void say_line(const char* line) noexcept
{
    const std::array<iovec, 2> parts{iovec{const_cast<char*>(line), std::strlen(line)},
                                     iovec{const_cast<char*>("\n"), 1}};
    const auto length = static_cast<ssize_t>(parts[0].iov_len + parts[1].iov_len);
    if (::writev(STDOUT_FILENO, parts.data(), parts.size()) != length)
        ::_exit(4);
}

void say(const std::string& word, const std::string& rest)
{
    auto line = word + ' ' + rest;
    std::replace_if(
        line.begin(), line.end(), [](char c) { return c == '\n' || c == '\r'; }, '|');
    say_line(line.c_str());
}

/// What users can tell of an exception.
std::string text_of(const std::exception& error)
{
    namespace except = foundation::core::except;
    if (const auto* own = dynamic_cast<const tarnix::ftp::failure*>(&error))
        return "failure " + std::to_string(static_cast<int>(own->kind())) + ' ' + own->what();
    if (const auto* identified = dynamic_cast<const except::IMsgIDException*>(&error))
        return "identifier " + identified->error_id();
    if (dynamic_cast<const std::bad_alloc*>(&error))
        return "bad_alloc";
    return boost::core::demangle(typeid(error).name()) + ' ' + error.what();
}

/// The machine is a good one when it is told.
template <typename Work>
std::string result_of(Work work, bad_machine& machine)
{
    try {
        const auto text = work();
        machine.mend();
        return "done " + text;
    } catch (const std::exception& error) {
        machine.mend();
        return "raised " + text_of(error);
    }
}

class null_buffer : public std::streambuf {
protected:
    int overflow(int c) override { return c; }
    std::streamsize xsputn(const char*, std::streamsize count) override { return count; }
};

/// Of the libraries that nothing here calls itself.
bool is_below_libcurl(std::string_view library)
{
    return library.starts_with("libssl.") || library.starts_with("libcrypto.") ||
           library.starts_with("libssh2.");
}

/// libcurl loses what belongs to a request that libssh2 or OpenSSL has left half done.
bool is_foreign(std::string_view library)
{
    return is_below_libcurl(library) ||
           (library.starts_with("libcurl.") &&
            is_below_libcurl(memory::place_of_first_failure().library()));
}

bool is_own(std::string_view library)
{
    return !is_foreign(library);
}

/// OpenSSL keeps for each thread what went wrong in it. Nothing else here knows OpenSSL.
void forget_openssl_errors()
{
    static const auto forget =
        reinterpret_cast<void (*)()>(::dlsym(RTLD_DEFAULT, "OPENSSL_thread_stop"));
    if (!forget)
        throw std::runtime_error("libcurl works without OpenSSL here");
    forget();
}

bool is_plain(const fs::directory_entry& entry)
{
    return entry.symlink_status().type() == fs::file_type::regular;
}

void run(const assignment& given)
{
    constexpr unsigned all_levels = 1 | 4 | 8 | 32 | 64 | 128 | 256;
    const auto& wanted = find_operation(given.operation);
    if (given.what == fault::small_disk)
        mount_small_disk(given.folder, given.nth);
    if (given.what == fault::no_privileges)
        become_nobody();
    forget_openssl_errors();
    if (given.what != fault::warm_up)
        memory::watch_owners();
    const auto blocks = memory::blocks_in_use();
    std::string result;
    {
        site place(given);
        prepare(place, wanted.begins_with);
        options::remember();
        if (given.traced)
            tarnix::io::ftp::core::getLogger().set_levels(all_levels);
        bad_machine machine(given);
        result = result_of([&] { return wanted.run(place); }, machine);
        const auto asked = memory::asked();
        const auto failed = memory::failed();
        const auto struck = files::struck();
        tarnix::io::ftp::core::getLogger().set_levels(0);
        say("result", result);
        say("asked", std::to_string(asked));
        say("failed", std::to_string(failed));
        say("struck", std::to_string(struck));
        for (const auto& entry : fs::directory_iterator(place.folder))
            if (entry.path() != place.folder / "data" && is_plain(entry))
                say("file",
                    entry.path().filename().string() + ' ' + std::to_string(entry.file_size()));
        say("failed_in", std::string(memory::place_of_first_failure().library()));
        if (memory::place_of_first_failure().runs_through("14scoped_request13restore_later"))
            say("restorers", "");
        for (const auto& one : options::refused())
            say("refused", one);
        for (const auto& one : options::lost())
            say("lost", one);
        for (const auto& one : options::changed())
            say("option", one);
        say("again", result_of([&] { return use_again(place); }, machine));
    }
    result = {};
    result.shrink_to_fit();
    forget_openssl_errors();
    memory::end_watch();
    const auto foreign = memory::owned_by(&is_foreign);
    const auto own = memory::owned_by(&is_own);
    say("foreign_blocks", std::to_string(foreign));
    say("own_blocks", std::to_string(own));
    say("blocks", std::to_string(memory::blocks_in_use() - blocks));
}

std::string how_it_ended(int status)
{
    return WIFSIGNALED(status) ? "signal " + std::to_string(WTERMSIG(status))
                               : "exit " + std::to_string(WEXITSTATUS(status));
}

void run_in_child(const assignment& given)
{
    const auto child = ::fork();
    if (child == 0) {
        ::alarm(seconds_at_most);
        try {
            run(given);
        } catch (const std::exception& error) {
            say("unavailable", error.what());
        }
        ::_exit(0);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    say("end", how_it_ended(status));
}

long threads()
{
    const std::filesystem::directory_iterator all("/proc/self/task");
    return std::distance(begin(all), end(all));
}

} // namespace

int main()
{
    clear_proxy_environment();
    report_bad_endings(&say_line);
    std::signal(SIGPIPE, SIG_DFL);
    // The first thread, and the first use of the warnings, do not find what they need for later.
    std::thread([] {}).join();
    tarnix::host::set_warning_handler({});
    std::optional<tarnix::host::standalone> services;
    null_buffer nowhere;
    std::ostream nothing(&nowhere);
    const tarnix::host::stream_log_sink sink(nothing);
    std::string line;
    for (assignment given; std::getline(std::cin, line);) {
        std::istringstream(line) >> given;
        const auto alone = find_operation(given.operation).begins_with == operation::stage::alone;
        if (alone)
            services.reset();
        else if (!services)
            services.emplace();
        if (given.what == fault::warm_up) {
            ::alarm(seconds_at_most);
            run(given);
            ::alarm(0);
            say("end", "exit 0");
        } else if (threads() == 1) {
            run_in_child(given);
        } else {
            say("end", "the process to fork from has threads");
        }
    }
    // Without a search for leaks: what is left of a run is counted, and what the dynamic linker
    // keeps looks like one when its memory comes from here.
    ::_exit(0);
}
