#pragma once

#include <fl/ustring.hpp>
#include <foundation/export.hpp>
#include <foundation/storage/provider/file_attributes.hpp>

#include <utility>

namespace foundation::storage::vfs {

/// Names a local file; nothing is opened.
class TARNIX_PLATFORM_EXPORT File {
public:
    explicit File(fl::ustring path) : path_(std::move(path)) {}

    const fl::ustring& path() const { return path_; }

    /// Asks the file system; raises the file layer's error when the file cannot be looked at.
    provider::FileAttributes getAttributes() const;

private:
    fl::ustring path_;
};

} // namespace foundation::storage::vfs
