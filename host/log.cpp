#include <foundation/log/diagnostic_logger.hpp>

#include <boost/log/attributes/attribute_value_impl.hpp>
#include <boost/log/attributes/function.hpp>
#include <boost/log/core.hpp>
#include <boost/log/keywords/channel.hpp>
#include <boost/log/keywords/severity.hpp>
#include <boost/log/sinks/sink.hpp>
#include <boost/log/sources/severity_channel_logger.hpp>
#include <boost/smart_ptr/make_shared.hpp>
#include <boost/thread/tss.hpp>

#include <utility>

namespace foundation::log {

namespace {

namespace logging = boost::log;

/// Accepts nothing. Boost.Log writes to standard output as long as it has no sink at all, and
/// standard output belongs to the program.
class refusing_sink final : public logging::sinks::sink {
public:
    refusing_sink() : sink(false) {}

    bool will_consume(const logging::attribute_value_set&) override { return false; }
    void consume(const logging::record_view&) override {}
    void flush() override {}
};

/// Keeps one logger's threads apart: setting the severity and opening the record are one step under
/// its read-write lock, taken for writing.
using record_source = logging::sources::severity_channel_logger_mt<int, std::string>;

template <typename Value>
void add_value(logging::record& record, const char* name, Value value)
{
    record.attribute_values().insert(name,
                                     logging::attributes::make_attribute_value(std::move(value)));
}

} // namespace

template <typename CharT>
struct basic_diagnostic_logger<CharT>::state {
    explicit state(std::basic_string<CharT> channel)
        : source(logging::keywords::channel = std::move(channel))
    {
        source.add_attribute(
            "Depth", logging::attributes::make_function([this] { return current_depth(); }));
        // Opening a record makes all that Boost.Log keeps for threads. What is made before the
        // logger is destroyed after it, so that the logger can be used to the end of its life.
        static_cast<void>(source.open_record());
    }

    ~state() { core->remove_sink(no_output); }
    state(const state&) = delete;
    state& operator=(const state&) = delete;

    int current_depth() const
    {
        const auto* value = depth.get();
        return value ? *value : 0;
    }

    logging::record open(unsigned level)
    {
        // Not before: a program that traces nothing keeps Boost.Log as it is. And each time anew,
        // for it may have removed all sinks since.
        core->add_sink(no_output);
        return source.open_record(logging::keywords::severity = static_cast<int>(level));
    }

    void push(logging::record&& record, const std::basic_string<CharT>& message)
    {
        add_value(record, "Message", message);
        source.push_record(std::move(record));
    }

    logging::core_ptr core = logging::core::get();
    boost::shared_ptr<logging::sinks::sink> no_output = boost::make_shared<refusing_sink>();
    record_source source;
    boost::thread_specific_ptr<int> depth;
};

template <typename CharT>
basic_diagnostic_logger<CharT>::basic_diagnostic_logger(std::basic_string<CharT> channel)
    : state_(std::make_unique<state>(std::move(channel)))
{
}

template <typename CharT>
basic_diagnostic_logger<CharT>::~basic_diagnostic_logger() = default;

template <typename CharT>
void basic_diagnostic_logger<CharT>::write(unsigned level, const std::basic_string<CharT>& message)
{
    if (!is_enabled(level))
        return;
    if (auto record = state_->open(level))
        state_->push(std::move(record), message);
}

template <typename CharT>
void basic_diagnostic_logger<CharT>::write(unsigned level, const std::basic_string<CharT>& message,
                                           const char* file, int line)
{
    if (!is_enabled(level))
        return;
    if (auto record = state_->open(level)) {
        add_value(record, "File", std::string(file));
        add_value(record, "Line", line);
        state_->push(std::move(record), message);
    }
}

template <typename CharT>
void basic_diagnostic_logger<CharT>::enter()
{
    if (auto* depth = state_->depth.get())
        ++*depth;
    else
        state_->depth.reset(new int(1));
}

template <typename CharT>
void basic_diagnostic_logger<CharT>::leave() noexcept
{
    if (auto* depth = state_->depth.get(); depth && *depth > 0)
        --*depth;
}

template <typename CharT>
int basic_diagnostic_logger<CharT>::depth() const
{
    return state_->current_depth();
}

template class basic_diagnostic_logger<char>;

} // namespace foundation::log
