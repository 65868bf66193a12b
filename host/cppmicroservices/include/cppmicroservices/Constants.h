#pragma once

#include <string>

namespace cppmicroservices {
inline namespace bundled {

/// Keys of service properties.
namespace Constants {

/// The ids of the interfaces: std::vector<std::string>, set by the framework.
inline const std::string OBJECTCLASS = "objectclass";
/// Counts registrations: long, set by the framework.
inline const std::string SERVICE_ID = "service.id";
/// The highest is preferred: int, 0 when not given.
inline const std::string SERVICE_RANKING = "service.ranking";

} // namespace Constants

} // namespace bundled
} // namespace cppmicroservices
