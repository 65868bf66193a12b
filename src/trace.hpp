#pragma once

#include <tarnix/io/ftp/core.hpp>

#include <concepts>
#include <string>
#include <string_view>

namespace tarnix::io::ftp::core {

using logger = foundation::log::basic_diagnostic_logger<char>;

namespace level {

constexpr unsigned data = 1;
constexpr unsigned protocol = 4;
constexpr unsigned information = 8;
constexpr unsigned entry = 32;
constexpr unsigned exit = 64;
constexpr unsigned result = 128;
constexpr unsigned unknown = 256;

} // namespace level

/// Writes a record at the entry of a function and one at its exit, and counts the nesting between
/// them. What is written at the exit depends on whether entries were on at the start.
class function_scope {
public:
    function_scope(logger& log, const char* signature, const char* source, int line);
    /// Never raises: what a sink raises here is dropped.
    ~function_scope();
    function_scope(const function_scope&) = delete;
    function_scope& operator=(const function_scope&) = delete;

    /// Writes a record that belongs to an active scope; drops what a sink raises.
    template <typename Compose>
    void write_at_exit(unsigned at, Compose compose) const noexcept;

private:
    logger& log_;
    const char* signature_;
    const char* source_;
    int line_;
    bool active_;
    int exceptions_;
};

template <typename Compose>
void function_scope::write_at_exit(unsigned at, Compose compose) const noexcept
{
    try {
        if (active_ && log_.is_enabled(at))
            log_.write(at, compose(), source_, line_);
    } catch (...) { // NOLINT(bugprone-empty-catch): leaving a function never raises
    }
}

/// The same, with a record of the function's result before the one of its exit.
class function_scope_with_result {
public:
    function_scope_with_result(logger& log, const char* signature, const char* source, int line,
                               const char* name, const long& value)
        : scope_(log, signature, source, line), name_(name), value_(value)
    {
    }
    ~function_scope_with_result();
    function_scope_with_result(const function_scope_with_result&) = delete;
    function_scope_with_result& operator=(const function_scope_with_result&) = delete;

private:
    function_scope scope_;
    const char* name_;
    const long& value_;
};

inline void append(std::string& text, std::string_view part)
{
    text += part;
}
inline void append(std::string& text, std::integral auto number)
{
    text += std::to_string(number);
}
inline void append(std::string& text, CURLcode code)
{
    append(text, static_cast<long>(code));
}

/// Writes one diagnostic record; the message is put together only when the level is on.
template <typename... Parts>
void write_record(unsigned at, const Parts&... parts)
{
    auto& log = getLogger();
    if (!log.is_enabled(at))
        return;
    std::string message;
    (append(message, parts), ...);
    log.write(at, message);
}

} // namespace tarnix::io::ftp::core
