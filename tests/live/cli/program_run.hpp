#pragma once

#include <csignal>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tarnix::test {

/// How a child process is started. It gets no environment but this one.
struct program {
    std::string file{};                 ///< "" for tarnix-ftp
    std::vector<std::string> arguments; ///< behind the program's name
    std::map<std::string, std::string> environment;
    std::filesystem::path folder; ///< to run in
    /// In place of a file that collects standard output; "" closes it.
    std::optional<std::string> output;
    /// Standard output is a pipe that nobody reads any more.
    bool reader_has_gone = false;
    /// Give it a terminal, on which one of these is typed at each question. Otherwise there is
    /// none.
    std::optional<std::vector<std::string>> typed;
    /// Is called while it runs, again and again, until it returns true; then it gets the signal.
    std::function<bool()> terminate_when;
    int signal = SIGTERM;
    /// A program, and its arguments, that runs this one: the words of its command line follow.
    std::vector<std::string> under;
};

struct program_result {
    int code = -1;   ///< exit code, or -1
    int signal = 0;  ///< that ended it, or 0
    std::string out; ///< standard output
    std::string error;
    std::string terminal; ///< what the terminal showed
};

/// Runs the program to its end. Raises `std::runtime_error` when it does not end in time; it is
/// dead then.
program_result run(const program& wanted);

} // namespace tarnix::test
