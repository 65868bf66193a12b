#pragma once

#include <foundation/export.hpp>

#include <string>
#include <string_view>

namespace zobs {

/// An interned name: equal texts are the same name for the life of the process, so comparing costs
/// no more than comparing pointers. Safe from any thread.
class TARNIX_PLATFORM_EXPORT Name {
public:
    explicit Name(std::string_view text);

    const std::string& text() const { return *text_; }

    friend bool operator==(const Name& left, const Name& right) = default;

private:
    const std::string* text_;
};

} // namespace zobs
