#pragma once

#include <cppmicroservices/Any.h>
#include <cppmicroservices/Framework.h>

#include <memory>
#include <string>
#include <unordered_map>

namespace cppmicroservices {
inline namespace bundled {

using FrameworkConfiguration = std::unordered_map<std::string, Any>;

/// Makes frameworks, each independent of the others.
class FrameworkFactory {
public:
    Framework NewFramework() { return Framework(std::make_shared<detail::framework_state>()); }

    /// Nothing of this framework can be configured: the configuration is not looked at.
    Framework NewFramework(const FrameworkConfiguration&) { return NewFramework(); }
};

} // namespace bundled
} // namespace cppmicroservices
