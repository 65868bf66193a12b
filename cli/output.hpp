#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace tarnix::cli {

/// The result cannot be written.
class output_error : public std::runtime_error {
public:
    output_error(const std::string& text, bool reader_has_gone);

    /// As with `| head`; nobody waits for a message.
    bool reader_has_gone() const noexcept { return reader_has_gone_; }

private:
    bool reader_has_gone_;
};

/// Keeps connections from getting the number of a standard stream that was closed when the program
/// started: writing to the stream fails then, as it must. First thing in `main`.
void occupy_standard_streams();

/// Writes to standard output and makes sure that it arrives; raises output_error. On a terminal
/// control characters other than line ends and tabulators show as "?".
void write_result(const std::string& text);

/// Writes a line to standard error, as a message of this program.
void write_message(const std::string& text) noexcept;

/// `text` with every control character but line ends and tabulators replaced by "?", also those
/// above ASCII.
std::string printable(std::string_view text);

} // namespace tarnix::cli
