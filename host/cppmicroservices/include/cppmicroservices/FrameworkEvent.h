#pragma once

#include <cstdint>

namespace cppmicroservices {
inline namespace bundled {

/// What became of a framework.
class FrameworkEvent {
public:
    enum Type : std::uint32_t {
        FRAMEWORK_STARTED = 0x01,
        FRAMEWORK_ERROR = 0x02,
        FRAMEWORK_WARNING = 0x10,
        FRAMEWORK_INFO = 0x20,
        FRAMEWORK_STOPPED = 0x40,
        FRAMEWORK_STOPPED_UPDATE = 0x80,
        FRAMEWORK_WAIT_TIMEDOUT = 0x200
    };

    explicit FrameworkEvent(Type type) : type_(type) {}

    Type GetType() const { return type_; }

private:
    Type type_;
};

} // namespace bundled
} // namespace cppmicroservices
