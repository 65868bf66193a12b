// Ends with a session and a sink in static storage and tracing on, the host already gone: must end
// with 0, with no memory error, and with the session's last trace written.

#include <tarnix/host/log_sink.hpp>
#include <tarnix/host/standalone.hpp>
#include <tarnix/io/ftp/core.hpp>

#include <cstdlib>
#include <iostream>
#include <optional>
#include <sstream>
#include <string>

namespace {

using tarnix::io::ftp::core::curl_ptr;
using tarnix::io::ftp::core::getLogger;

std::ostringstream lines;
std::optional<tarnix::host::stream_log_sink> sink;

/// Destroyed after the session below, which was made later.
struct judge {
    ~judge()
    {
        const auto text = lines.str();
        if (text.find("[exit] tarnix::io::ftp::core::curl_ptr::~curl_ptr()") == std::string::npos) {
            std::cerr << "the last trace is missing:\n" << text;
            std::_Exit(1);
        }
        getLogger().write(4, "a record at the very end");
    }
} last;

std::optional<curl_ptr> session;

} // namespace

int main()
{
    const tarnix::host::standalone host;
    getLogger().set_levels(~0U);
    sink.emplace(lines);
    session.emplace();
}
