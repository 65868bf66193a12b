#pragma once

#include <foundation/export.hpp>
#include <resource_core/base_msg_id.hpp>

#include <functional>
#include <memory>
#include <string>

/// The host for programs that have none of their own: the services, files, logger and messages that
/// the FTP library expects.
namespace tarnix::host {

/// Which services the stand-alone host offers.
struct standalone_options {
    bool libcurl_initializer = true;
    bool proxy_selector = true;
};

/// The stand-alone host as an object: hold one in `main` around all use of the FTP library. One at
/// a time in a process; one after another works.
class TARNIX_PLATFORM_EXPORT standalone {
public:
    /// Starts the service framework and registers the services. Raises `std::logic_error` while
    /// another one lives, and `std::runtime_error` when libcurl cannot be initialised or the
    /// system's proxy settings cannot be had; nothing is left behind then.
    explicit standalone(const standalone_options& options = {});
    /// Takes the services back, stops the framework and waits until it has stopped. Sessions that
    /// still live keep libcurl initialised and stay usable; new ones cannot be made.
    ~standalone();
    standalone(const standalone&) = delete;
    standalone& operator=(const standalone&) = delete;

private:
    struct parts;

    std::unique_ptr<parts> parts_;
};

/// Is called for each warning, by the thread that works for the user; what it raises ends the
/// operation that warned.
using warning_handler = std::function<void(const resource_core::BaseMsgID&)>;

/// Makes `handler` the process's handler of warnings and returns the one before. An empty one
/// stands for the handler at the start, which writes the English text to standard error. May be
/// called from any thread, also from a handler.
TARNIX_PLATFORM_EXPORT warning_handler set_warning_handler(warning_handler handler);

/// The English text of a message with its arguments filled in, as UTF-8. What is not well-formed in
/// an argument shows as U+FFFD; an unknown identifier shows as itself with its arguments.
TARNIX_PLATFORM_EXPORT std::string message_text(const resource_core::BaseMsgID& message);

} // namespace tarnix::host
