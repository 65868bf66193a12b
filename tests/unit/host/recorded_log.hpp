#pragma once

#include <boost/log/attributes/value_extraction.hpp>
#include <boost/log/core.hpp>
#include <boost/log/sinks/sink.hpp>
#include <boost/smart_ptr/make_shared.hpp>

#include <cstddef>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

/// One log record, as a sink of the program's own sees it.
struct seen_record {
    std::optional<int> severity;
    std::optional<std::string> channel;
    std::optional<int> depth;
    std::optional<std::string> message;
    std::optional<std::string> file;
    std::optional<int> line;
    std::size_t attribute_count = 0;
};

/// Keeps all records while it lives.
class recorded_log {
public:
    recorded_log() { boost::log::core::get()->add_sink(sink_); }
    ~recorded_log() { boost::log::core::get()->remove_sink(sink_); }
    recorded_log(const recorded_log&) = delete;
    recorded_log& operator=(const recorded_log&) = delete;

    std::vector<seen_record> records() const { return sink_->records(); }

private:
    class sink : public boost::log::sinks::sink {
    public:
        sink() : boost::log::sinks::sink(true) {}

        bool will_consume(const boost::log::attribute_value_set&) override { return true; }
        void flush() override {}

        void consume(const boost::log::record_view& record) override
        {
            seen_record seen;
            seen.severity = value<int>(record, "Severity");
            seen.channel = value<std::string>(record, "Channel");
            seen.depth = value<int>(record, "Depth");
            seen.message = value<std::string>(record, "Message");
            seen.file = value<std::string>(record, "File");
            seen.line = value<int>(record, "Line");
            seen.attribute_count = record.attribute_values().size();
            const std::lock_guard<std::mutex> lock(mutex_);
            records_.push_back(std::move(seen));
        }

        std::vector<seen_record> records() const
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            return records_;
        }

    private:
        template <typename Value>
        static std::optional<Value> value(const boost::log::record_view& record, const char* name)
        {
            const auto found = boost::log::extract<Value>(name, record);
            return found ? std::optional<Value>(found.get()) : std::nullopt;
        }

        mutable std::mutex mutex_;
        std::vector<seen_record> records_;
    };

    boost::shared_ptr<sink> sink_ = boost::make_shared<sink>();
};

/// Raises for every record while it lives.
class raising_log {
public:
    raising_log() { boost::log::core::get()->add_sink(sink_); }
    ~raising_log() { boost::log::core::get()->remove_sink(sink_); }
    raising_log(const raising_log&) = delete;
    raising_log& operator=(const raising_log&) = delete;

    int raised() const { return sink_->raised; }

private:
    struct sink : boost::log::sinks::sink {
        sink() : boost::log::sinks::sink(false) {}

        bool will_consume(const boost::log::attribute_value_set&) override { return true; }
        void flush() override {}

        void consume(const boost::log::record_view&) override
        {
            ++raised;
            throw std::runtime_error("the sink raised");
        }

        int raised = 0;
    };

    boost::shared_ptr<sink> sink_ = boost::make_shared<sink>();
};
