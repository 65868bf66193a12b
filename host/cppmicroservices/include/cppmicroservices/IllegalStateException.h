#pragma once

#include <cppmicroservices/detail/Visibility.h>

#include <stdexcept>
#include <string>

namespace cppmicroservices {
inline namespace bundled {

/// An operation at a time when it cannot be done, such as on a framework that was stopped.
class CPPMICROSERVICES_BUNDLED_VISIBLE IllegalStateException final : public std::runtime_error {
public:
    explicit IllegalStateException(const std::string& what) : std::runtime_error(what) {}
};

} // namespace bundled
} // namespace cppmicroservices
