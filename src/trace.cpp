#include "trace.hpp"

#include <exception>

namespace tarnix::io::ftp::core {

function_scope::function_scope(logger& log, const char* signature, const char* source, int line)
    : log_(log),
      signature_(signature),
      source_(source),
      line_(line),
      active_(log.is_enabled(level::entry)),
      exceptions_(std::uncaught_exceptions())
{
    if (!active_)
        return;
    log_.write(level::entry, signature_, source_, line_);
    log_.enter();
}

function_scope::~function_scope()
{
    if (active_)
        log_.leave();
    const bool thrown = std::uncaught_exceptions() > exceptions_;
    write_at_exit(level::exit,
                  [&] { return std::string(signature_) + (thrown ? " [throw]" : ""); });
}

function_scope_with_result::~function_scope_with_result()
{
    scope_.write_at_exit(level::result,
                         [&] { return std::string(name_) + "=" + std::to_string(value_); });
}

} // namespace tarnix::io::ftp::core
