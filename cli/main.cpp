#include "arguments.hpp"
#include "commands.hpp"
#include "exit_codes.hpp"
#include "interrupts.hpp"
#include "output.hpp"
#include "session_options.hpp"

#include <tarnix/ftp/session.hpp>
#include <tarnix/host/log_sink.hpp>
#include <tarnix/host/standalone.hpp>
#include <tarnix/io/ftp/core.hpp>

#include <foundation/core/except.hpp>

#include <exception>
#include <iostream>
#include <new>
#include <optional>
#include <string>

namespace tarnix::cli {

namespace {

constexpr auto no_memory = "out of memory";

std::string text_of(const std::exception& error)
{
    if (dynamic_cast<const std::bad_alloc*>(&error))
        return no_memory;
    if (const auto* identified =
            dynamic_cast<const foundation::core::except::IMsgIDException*>(&error))
        return host::message_text(identified->message_id());
    // The user may have put the URL where it does not belong.
    if (dynamic_cast<const usage_error*>(&error))
        return without_logins(error.what());
    return error.what();
}

/// Says what went wrong, except to those who know or cannot hear it.
exit_code report(const std::exception& error)
{
    const auto* output = dynamic_cast<const output_error*>(&error);
    if (!interrupted() && !(output && output->reader_has_gone())) {
        try {
            write_message(text_of(error));
        } catch (const std::exception&) {
            // There was no memory for the text.
            write_message(no_memory);
        }
    }
    return exit_code_of(error);
}

exit_code run(int count, const char* const* values)
{
    std::string answer;
    const auto given = read_arguments(count, values, answer);
    if (!given) {
        write_result(answer);
        return exit_code::ok;
    }
    const auto server = read_url(given->url);
    auto options = make_session_options(*given);
    add_secrets(options, *given, server);
    host::set_warning_handler([](const resource_core::BaseMsgID& warning) {
        write_message("warning: " + host::message_text(warning));
    });
    const host::standalone services;
    std::optional<host::stream_log_sink> trace;
    if (given->trace_levels != 0) {
        trace.emplace(std::cerr);
        io::ftp::core::getLogger().set_levels(given->trace_levels);
    }
    ftp::session session(server, options);
    return run_command(session, *given);
}

} // namespace

} // namespace tarnix::cli

int main(int count, char** values)
{
    using namespace tarnix::cli;
    auto code = exit_code::internal;
    try {
        occupy_standard_streams();
        catch_interrupts();
        code = run(count, values);
    } catch (const std::exception& error) {
        code = report(error);
    }
    end_as_interrupted();
    return static_cast<int>(code);
}
