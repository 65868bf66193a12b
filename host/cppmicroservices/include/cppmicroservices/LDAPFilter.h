#pragma once

#include <stdexcept>
#include <string>

namespace cppmicroservices {
inline namespace bundled {

namespace detail {

/// Services are found by interface alone here.
inline void refuse_filter(const std::string& filter)
{
    if (!filter.empty())
        throw std::invalid_argument("This service framework takes no filter: " + filter);
}

} // namespace detail

/// The empty filter, the only one that the bundled framework knows.
class LDAPFilter {
public:
    LDAPFilter() = default;
    /// Raises `std::invalid_argument` for a filter that is not empty.
    // NOLINTNEXTLINE(google-explicit-constructor): as in the full library
    LDAPFilter(const std::string& filter) { detail::refuse_filter(filter); }

    explicit operator bool() const { return false; }
    std::string ToString() const { return {}; }
};

} // namespace bundled
} // namespace cppmicroservices
