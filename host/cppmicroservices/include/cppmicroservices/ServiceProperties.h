#pragma once

#include <cppmicroservices/Any.h>

#include <string>
#include <unordered_map>

namespace cppmicroservices {
inline namespace bundled {

using ServiceProperties = std::unordered_map<std::string, Any>;

} // namespace bundled
} // namespace cppmicroservices
