#pragma once

#include <cppmicroservices/detail/Visibility.h>

#include <stdexcept>
#include <string>

namespace cppmicroservices {
inline namespace bundled {

/// A service that cannot be had for a reason of its own.
class CPPMICROSERVICES_BUNDLED_VISIBLE ServiceException : public std::runtime_error {
public:
    enum Type {
        UNSPECIFIED = 0,
        UNREGISTERED = 1,
        FACTORY_ERROR = 2,
        FACTORY_EXCEPTION = 3,
        REMOTE = 5,
        FACTORY_RECURSION = 6
    };

    // NOLINTNEXTLINE(google-explicit-constructor): as in the full library
    ServiceException(const std::string& message, const Type& type = UNSPECIFIED)
        : std::runtime_error(message), type_(type)
    {
    }

    Type GetType() const { return type_; }

private:
    Type type_;
};

} // namespace bundled
} // namespace cppmicroservices
