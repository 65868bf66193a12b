#pragma once

#include <foundation/log/diagnostic_logger.hpp>

#include <boost/smart_ptr/shared_ptr.hpp>

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tarnix::test {

struct log_record {
    int severity = 0;
    std::string channel;
    int depth = 0;
    std::string message;
    std::optional<std::string> file;
    std::optional<int> line;
};

/// Keeps what goes through Boost.Log while it exists, and sets the levels of one logger for that
/// time.
class log_recorder {
public:
    using logger = foundation::log::basic_diagnostic_logger<char>;

    log_recorder(logger& log, unsigned levels);
    ~log_recorder();
    log_recorder(const log_recorder&) = delete;
    log_recorder& operator=(const log_recorder&) = delete;

    std::vector<log_record> records() const;
    /// The messages of the records of one level.
    std::vector<std::string> messages(unsigned level) const;
    /// "32 CURLcode f()" for each record.
    std::vector<std::string> lines() const;
    /// Runs in the sink for every record, before it is kept; what it throws leaves the sink.
    void in_sink(std::function<void(const log_record&)> action);

private:
    class sink;

    logger& log_;
    boost::shared_ptr<sink> sink_;
};

} // namespace tarnix::test
