#pragma once

#include <foundation/export.hpp>

#include <string>
#include <variant>
#include <vector>

namespace resource_core {

/// Names one message of the host's catalogue: which component it belongs to, which of its messages
/// it is, and the values that go into the text. The words themselves live in the catalogue.
struct TARNIX_PLATFORM_EXPORT BaseMsgID {
    using argument = std::variant<long long, std::string, std::u16string>;

    std::vector<argument> arguments;
    std::string component;
    std::string id;
};

} // namespace resource_core
