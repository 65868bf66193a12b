#include <tarnix/host/log_sink.hpp>
#include <tarnix/host/terminal_text.hpp>

#include <boost/log/attributes/value_extraction.hpp>
#include <boost/log/core.hpp>
#include <boost/log/sinks/sink.hpp>
#include <boost/smart_ptr/make_shared.hpp>

#include <array>
#include <cstddef>
#include <mutex>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>

namespace tarnix::host {

namespace {

namespace logging = boost::log;

constexpr std::string_view mask = "****";

std::string level_name(int severity)
{
    constexpr std::array<std::pair<int, std::string_view>, 7> names{{{1, "data"},
                                                                     {4, "protocol"},
                                                                     {8, "information"},
                                                                     {32, "entry"},
                                                                     {64, "exit"},
                                                                     {128, "result"},
                                                                     {256, "unknown"}}};
    for (const auto& [value, name] : names) {
        if (value == severity)
            return std::string(name);
    }
    return "level " + std::to_string(severity);
}

bool begins_with_ignoring_case(std::string_view text, std::string_view lower_case)
{
    if (text.size() < lower_case.size())
        return false;
    for (std::size_t i = 0; i < lower_case.size(); ++i) {
        const bool is_upper = text[i] >= 'A' && text[i] <= 'Z';
        if ((is_upper ? static_cast<char>(text[i] - 'A' + 'a') : text[i]) != lower_case[i])
            return false;
    }
    return true;
}

/// How much of a line that was sent may be shown, or all of it.
std::size_t harmless_length(std::string_view line)
{
    for (const std::string_view secret : {"pass ", "proxy-authorization: "}) {
        if (begins_with_ignoring_case(line, secret))
            return secret.size();
    }
    return std::string_view::npos;
}

std::string without_secrets(std::string_view message)
{
    constexpr std::string_view sent = "[HEADER OUT] ";
    if (message.substr(0, sent.size()) != sent)
        return std::string(message);
    std::string result{sent};
    message.remove_prefix(sent.size());
    while (!message.empty()) {
        const auto end = message.find('\n');
        auto line = message.substr(0, end);
        const auto shown = harmless_length(line);
        result += line.substr(0, shown);
        if (shown != std::string_view::npos)
            result += mask;
        if (end == std::string_view::npos)
            break;
        result += '\n';
        message.remove_prefix(end + 1);
    }
    return result;
}

void append_bytes(std::string& line, std::string_view bytes)
{
    constexpr std::string_view digits = "0123456789abcdef";
    for (const char byte : bytes) {
        const auto code = static_cast<unsigned char>(byte);
        line += "\\x";
        line += digits[code >> 4];
        line += digits[code & 0xF];
    }
}

void append_escaped(std::string& line, std::string_view text)
{
    while (!text.empty()) {
        const auto [length, is_control] = look_at_first_character(text);
        const auto character = text.substr(0, length);
        if (character == "\n")
            line += "\\n";
        else if (character == "\r")
            line += "\\r";
        else if (is_control)
            append_bytes(line, character);
        else
            line += character;
        text.remove_prefix(length);
    }
}

template <typename Value>
Value value_or(const logging::record_view& record, const char* name, const Value& otherwise)
{
    return logging::extract_or_default<Value>(name, record, otherwise);
}

std::string format(const logging::record_view& record, secrets treatment)
{
    std::string line = "[" + level_name(value_or(record, "Severity", 0)) + "] ";
    line.append(2 * static_cast<std::size_t>(value_or(record, "Depth", 0)), ' ');
    const auto message = value_or(record, "Message", std::string());
    append_escaped(line, treatment == secrets::masked ? without_secrets(message) : message);
    if (const auto file = value_or(record, "File", std::string()); !file.empty())
        line += " (" + file + ":" + std::to_string(value_or(record, "Line", 0)) + ")";
    line += '\n';
    return line;
}

class stream_sink final : public logging::sinks::sink {
public:
    stream_sink(std::ostream& stream, secrets treatment)
        : sink(true), stream_(&stream), treatment_(treatment)
    {
    }

    /// Only the records of diagnostic loggers have a depth.
    bool will_consume(const logging::attribute_value_set& values) override
    {
        return values.count("Depth") != 0;
    }

    void consume(const logging::record_view& record) override
    {
        try {
            const auto line = format(record, treatment_);
            const std::lock_guard<std::mutex> lock(mutex_);
            if (stream_)
                stream_->write(line.data(), static_cast<std::streamsize>(line.size()));
        } catch (...) { // NOLINT(bugprone-empty-catch): a lost line must not end what is logged
        }
    }

    void flush() override
    {
        try {
            const std::lock_guard<std::mutex> lock(mutex_);
            if (stream_)
                stream_->flush();
        } catch (...) { // NOLINT(bugprone-empty-catch)
        }
    }

    /// Another thread may still be on its way here with a record when the sink is removed.
    void let_go_of_stream()
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        stream_ = nullptr;
    }

private:
    std::mutex mutex_;
    std::ostream* stream_;
    secrets treatment_;
};

} // namespace

struct stream_log_sink::registration {
    registration(std::ostream& stream, secrets treatment)
        : sink(boost::make_shared<stream_sink>(stream, treatment))
    {
        core->add_sink(sink);
    }
    ~registration()
    {
        core->remove_sink(sink);
        sink->flush();
        sink->let_go_of_stream();
    }
    registration(const registration&) = delete;
    registration& operator=(const registration&) = delete;

    logging::core_ptr core = logging::core::get();
    boost::shared_ptr<stream_sink> sink;
};

stream_log_sink::stream_log_sink(std::ostream& stream, secrets treatment)
    : registration_(std::make_unique<registration>(stream, treatment))
{
}

stream_log_sink::~stream_log_sink() = default;

} // namespace tarnix::host
