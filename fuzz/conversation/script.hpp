#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>

namespace tarnix::fuzz {

/// One answer of a server to one command.
struct scripted_reply {
    std::string text; ///< bytes as they are sent; none is silence
    bool hangs_up = false;
};

/// What a client does with a server, and what the server does to it, read from a fuzz input, which
/// is made of lines:
///   - the first one is the plan: small letters are operations, capitals change the server (below);
///   - ">text" is the operand of the next operation that takes one;
///   - "=text" is what goes over the next data connection;
///   - everything else is the reply to the next command: an empty line is the reply of a sane
///     server, "?" is silence, "!text" is the last thing before the connection is closed. A line
///     end is added where the text does not end in "\-".
/// In a text "\r", "\n" and "\0" are the characters that they are in C; before all others the
/// backslash falls away.
struct script {
    std::string operations;
    std::deque<std::string> operands;
    std::deque<std::string> data;
    /// As written; see `read_reply`.
    std::deque<std::string> replies;

    bool sane_at_the_end = false;   ///< S: without it the server hangs up when the replies end
    bool byte_by_byte = false;      ///< B: one byte of each connection at a time
    bool ends_early = false;        ///< E: says that a transfer is over before it sends anything
    bool refuses_data = false;      ///< R: takes no data connections
    bool text_mode = false;         ///< T: the transfers are in text mode
    bool cancelled_by_user = false; ///< C: the user cancels the first operation
    bool opportunistic_tls = false; ///< O
};

script read_script(std::string_view input);

/// Reads one line of replies, which is not empty.
scripted_reply read_reply(std::string_view line);

} // namespace tarnix::fuzz
