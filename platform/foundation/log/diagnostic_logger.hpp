#pragma once

#include <foundation/export.hpp>

#include <atomic>
#include <memory>
#include <string>

namespace foundation::log {

/// A source of diagnostic records on one channel. Records are ordinary Boost.Log records with the
/// attributes "Severity" (int, the level), "Channel" (std::string), "Depth" (int, the nesting depth
/// of the calling thread) and "Message"; those written with a place also have "File" (std::string)
/// and "Line" (int). A level is one bit of the mask; nothing is enabled at the start.
///
/// All operations may be called from any thread at any time. `write` raises what a log sink
/// raises; everything else but construction and `enter` never fails.
template <typename CharT>
class TARNIX_PLATFORM_EXPORT basic_diagnostic_logger {
public:
    explicit basic_diagnostic_logger(std::basic_string<CharT> channel);
    ~basic_diagnostic_logger();
    basic_diagnostic_logger(const basic_diagnostic_logger&) = delete;
    basic_diagnostic_logger& operator=(const basic_diagnostic_logger&) = delete;

    /// True when `level` is in the mask. Costs one test of the mask.
    bool is_enabled(unsigned level) const noexcept { return (levels() & level) != 0; }
    unsigned levels() const noexcept { return levels_.load(std::memory_order_relaxed); }
    void set_levels(unsigned mask) noexcept { levels_.store(mask, std::memory_order_relaxed); }

    /// Writes one record; does nothing when `level` is not enabled.
    void write(unsigned level, const std::basic_string<CharT>& message);
    void write(unsigned level, const std::basic_string<CharT>& message, const char* file, int line);

    /// The nesting depth of the calling thread, 0 at first; each thread has its own.
    void enter();
    void leave() noexcept;
    int depth() const;

private:
    struct state;

    std::atomic<unsigned> levels_{0};
    std::unique_ptr<state> state_;
};

} // namespace foundation::log
