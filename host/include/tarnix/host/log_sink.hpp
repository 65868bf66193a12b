#pragma once

#include <foundation/export.hpp>

#include <iosfwd>
#include <memory>

namespace tarnix::host {

/// What a log sink does with the secrets that protocol records carry: the argument of PASS, and the
/// credentials for a proxy.
enum class secrets { masked, shown };

/// Writes the records of all diagnostic loggers to a stream while it lives, one line each: the name
/// of the level, the message indented by its depth, and for trace records the place. Control
/// characters are written as escapes, so that transferred data cannot take over a terminal.
///
/// It may be used with loggers in any thread, and never raises into the code that logs: what the
/// stream refuses is lost. The stream must outlive it.
class TARNIX_PLATFORM_EXPORT stream_log_sink {
public:
    explicit stream_log_sink(std::ostream& stream, secrets treatment = secrets::masked);
    /// No record reaches the stream any more.
    ~stream_log_sink();
    stream_log_sink(const stream_log_sink&) = delete;
    stream_log_sink& operator=(const stream_log_sink&) = delete;

private:
    struct registration;

    std::unique_ptr<registration> registration_;
};

} // namespace tarnix::host
