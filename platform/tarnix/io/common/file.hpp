#pragma once

#include <fl/ustring.hpp>
#include <foundation/export.hpp>
#include <foundation/storage/vfs/file.hpp>

#include <exception>
#include <memory>
#include <variant>

namespace tarnix::io::common::file {

/// The host's open file; only the host looks inside.
class open_file;

/// An open local file as a value: copies share the one open file. It is closed by `close`, or,
/// without a report of failure, when the last copy is gone.
struct TARNIX_PLATFORM_EXPORT File {
    std::shared_ptr<open_file> handle;
    fl::ustring path;
};

/// What was being done to a file when it failed.
enum class Operation { close = 0, open = 1, read = 2, write = 3 };

/// Bytes moved, or the failure.
using io_result = std::variant<std::exception_ptr, long>;

/// Opens an existing regular file for reading. Anything else by that name (a folder, a pipe, a
/// device) is an error and never a wait. Raises PermissionDenied or the file layer's other errors.
TARNIX_PLATFORM_EXPORT File make_readable_file(const fl::ustring& path);

/// Creates a file, or empties the existing one, for writing. Raises like `make_readable_file`.
TARNIX_PLATFORM_EXPORT File make_writeable_file(const fl::ustring& path);

/// Names the same path without opening it.
TARNIX_PLATFORM_EXPORT foundation::storage::vfs::File make_vfs_file(const fl::ustring& path);

/// Reads up to `count` bytes; 0 at the end of the file. Never raises.
TARNIX_PLATFORM_EXPORT io_result read(File file, char* buffer, long count);

/// Writes all `count` bytes or fails. Never raises.
TARNIX_PLATFORM_EXPORT io_result write(File file, const char* buffer, long count);

/// Closes the file for all its copies; null on success. A second close does nothing.
TARNIX_PLATFORM_EXPORT std::exception_ptr close(File file);

/// Does nothing for a null pointer; otherwise raises the file layer's error for `operation` on
/// `file`, with the failure's own reason where it has one.
TARNIX_PLATFORM_EXPORT void handle_exception(const std::exception_ptr& failure, File file,
                                             Operation operation);

} // namespace tarnix::io::common::file
