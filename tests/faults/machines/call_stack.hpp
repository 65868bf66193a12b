#pragma once

#include <array>
#include <string_view>

namespace tarnix::test {

/// The file name of the library that holds `address`; empty for the program itself.
std::string_view library_at(const void* address) noexcept;

/// The functions that are running, innermost first. Capturing needs no memory, once it has been
/// done before.
class call_stack {
public:
    void capture() noexcept;
    void forget() noexcept { depth_ = 0; }

    /// Whether a function is among them whose linker name holds `part`. Only functions that a
    /// library exports are seen.
    bool runs_through(std::string_view part) const noexcept;

    /// The file name of the innermost library among them, leaving out the program itself and the
    /// libraries of C and C++; empty when there is no other.
    std::string_view library() const noexcept;

private:
    std::array<void*, 128> frames_{};
    int depth_ = 0;
};

} // namespace tarnix::test
