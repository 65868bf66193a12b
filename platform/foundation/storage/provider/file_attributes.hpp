#pragma once

#include <foundation/export.hpp>

#include <cstddef>

namespace foundation::storage::provider {

/// What the file system reported of a file when it was asked.
class TARNIX_PLATFORM_EXPORT FileAttributes {
public:
    explicit FileAttributes(std::size_t size) : size_(size) {}

    /// In bytes.
    std::size_t getSize() const { return size_; }

private:
    std::size_t size_;
};

} // namespace foundation::storage::provider
