#include <support/log_recorder.hpp>

#include <boost/log/attributes/value_extraction.hpp>
#include <boost/log/core.hpp>
#include <boost/log/sinks/sink.hpp>

#include <mutex>
#include <utility>

namespace tarnix::test {

namespace logging = boost::log;

namespace {

template <typename Value>
std::optional<Value> attribute(const logging::record_view& view, const char* name)
{
    const auto value = logging::extract<Value>(name, view);
    return value ? std::optional<Value>(value.get()) : std::nullopt;
}

log_record record_of(const logging::record_view& view)
{
    return {.severity = attribute<int>(view, "Severity").value_or(-1),
            .channel = attribute<std::string>(view, "Channel").value_or("none"),
            .depth = attribute<int>(view, "Depth").value_or(-1),
            .message = attribute<std::string>(view, "Message").value_or("none"),
            .file = attribute<std::string>(view, "File"),
            .line = attribute<int>(view, "Line")};
}

} // namespace

class log_recorder::sink : public logging::sinks::sink {
public:
    sink() : logging::sinks::sink(false) {}

    bool will_consume(const logging::attribute_value_set&) override { return true; }
    void flush() override {}
    void consume(const logging::record_view& view) override
    {
        const auto record = record_of(view);
        std::function<void(const log_record&)> action;
        {
            const std::lock_guard lock(mutex_);
            action = action_;
        }
        if (action)
            action(record);
        const std::lock_guard lock(mutex_);
        records_.push_back(record);
    }

    std::vector<log_record> records() const
    {
        const std::lock_guard lock(mutex_);
        return records_;
    }
    void set_action(std::function<void(const log_record&)> action)
    {
        const std::lock_guard lock(mutex_);
        action_ = std::move(action);
    }

private:
    mutable std::mutex mutex_;
    std::vector<log_record> records_;
    std::function<void(const log_record&)> action_;
};

log_recorder::log_recorder(logger& log, unsigned levels) : log_(log), sink_(new sink)
{
    logging::core::get()->add_sink(sink_);
    log_.set_levels(levels);
}

log_recorder::~log_recorder()
{
    log_.set_levels(0);
    logging::core::get()->remove_sink(sink_);
}

std::vector<log_record> log_recorder::records() const
{
    return sink_->records();
}

std::vector<std::string> log_recorder::messages(unsigned level) const
{
    std::vector<std::string> found;
    for (const auto& record : records())
        if (record.severity == static_cast<int>(level))
            found.push_back(record.message);
    return found;
}

std::vector<std::string> log_recorder::lines() const
{
    std::vector<std::string> found;
    for (const auto& record : records())
        found.push_back(std::to_string(record.severity) + ' ' + record.message);
    return found;
}

void log_recorder::in_sink(std::function<void(const log_record&)> action)
{
    sink_->set_action(std::move(action));
}

} // namespace tarnix::test
