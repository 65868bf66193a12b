#include <tarnix/host/standalone.hpp>
#include <tarnix/io/common/file.hpp>
#include <tarnix/io/common/file_errors.hpp>

#include <fl/i18n/ustring_conversion.hpp>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <new>
#include <string>
#include <system_error>
#include <utility>

namespace tarnix::io::common::file {

namespace errors = TARNIX::io::common::file;
using foundation::core::except::raise;

/// Owns one descriptor.
class open_file {
public:
    explicit open_file(int descriptor) : descriptor_(descriptor) {}
    ~open_file()
    {
        if (is_open())
            ::close(descriptor_);
    }
    open_file(open_file&& other) noexcept : descriptor_(other.release()) {}
    open_file& operator=(open_file&&) = delete;

    bool is_open() const { return descriptor_ >= 0; }
    int descriptor() const { return descriptor_; }
    /// The descriptor now belongs to the caller.
    int release() { return std::exchange(descriptor_, -1); }

private:
    int descriptor_;
};

namespace {

std::system_error system_failure(int number)
{
    return std::system_error(number, std::generic_category());
}

/// The system's words alone; what() of a system_error has more around them.
std::string reason(const std::system_error& failure)
{
    return failure.code().message();
}

/// What a failure says of its reason.
std::string reason_of(const std::exception_ptr& failure)
{
    try {
        std::rethrow_exception(failure);
    } catch (const std::system_error& error) {
        return reason(error);
    } catch (const foundation::core::except::IMsgIDException& error) {
        return host::message_text(error.message_id());
    } catch (const std::exception& error) {
        return error.what();
    } catch (...) {
        return "unknown reason";
    }
}

std::string native_path(const fl::ustring& path)
{
    std::string native;
    try {
        native = fl::i18n::ustring_to_utf8(path);
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception&) {
        raise<errors::OpenFailed>(path, std::string("the name is not well-formed UTF-16"));
    }
    // The system would take it for the end of the name.
    if (native.find('\0') != std::string::npos)
        raise<errors::OpenFailed>(path, std::string("the name holds a zero character"));
    return native;
}

[[noreturn]] void raise_open_failure(const fl::ustring& path, const std::system_error& failure)
{
    switch (failure.code().value()) {
    case EACCES:
    case EPERM:
    case EROFS:
        raise<errors::PermissionDenied>(path);
    case ENOENT:
    case ENOTDIR:
        raise<errors::NoSuchFile>(path);
    case EISDIR:
    case ENXIO: // a pipe without a reader, a socket, a device that is not there
        raise<errors::NotRegularFile>(path);
    default:
        raise<errors::OpenFailed>(path, reason(failure));
    }
}

[[noreturn]] void raise_open_failure(const fl::ustring& path, const std::exception_ptr& failure)
{
    try {
        std::rethrow_exception(failure);
    } catch (const std::system_error& error) {
        raise_open_failure(path, error);
    } catch (...) {
        raise<errors::OpenFailed>(path, reason_of(failure));
    }
}

/// Never waits: a pipe is opened without its other end, and looked at afterwards.
std::shared_ptr<open_file> open(const fl::ustring& path, int flags)
{
    const auto native = native_path(path);
    constexpr mode_t permissions = 0666; // less the user's mask
    for (;;) {
        open_file opened(
            ::open(native.c_str(), flags | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, permissions));
        if (opened.is_open())
            return std::make_shared<open_file>(std::move(opened));
        if (errno != EINTR)
            raise_open_failure(path, system_failure(errno));
    }
}

struct stat attributes_of(const open_file& file, const fl::ustring& path)
{
    struct stat attributes = {};
    if (::fstat(file.descriptor(), &attributes) != 0)
        raise_open_failure(path, system_failure(errno));
    return attributes;
}

void wait_for_writes(const open_file& file, const fl::ustring& path)
{
    const int flags = ::fcntl(file.descriptor(), F_GETFL);
    if (flags < 0 || ::fcntl(file.descriptor(), F_SETFL, flags & ~O_NONBLOCK) < 0)
        raise_open_failure(path, system_failure(errno));
}

/// The descriptor for a transfer of `count` bytes; raises what stands against it.
int ready_descriptor(const File& file, long count)
{
    if (!file.handle || !file.handle->is_open())
        throw system_failure(EBADF);
    if (count < 0)
        throw system_failure(EINVAL);
    return file.handle->descriptor();
}

} // namespace

File make_readable_file(const fl::ustring& path)
{
    auto handle = open(path, O_RDONLY);
    if (!S_ISREG(attributes_of(*handle, path).st_mode))
        raise<errors::NotRegularFile>(path);
    return {std::move(handle), path};
}

File make_writeable_file(const fl::ustring& path)
{
    auto handle = open(path, O_WRONLY | O_CREAT | O_TRUNC);
    const auto mode = attributes_of(*handle, path).st_mode;
    if (S_ISCHR(mode))
        wait_for_writes(*handle, path);
    else if (!S_ISREG(mode))
        raise<errors::NotRegularFile>(path);
    return {std::move(handle), path};
}

foundation::storage::vfs::File make_vfs_file(const fl::ustring& path)
{
    return foundation::storage::vfs::File(path);
}

// The functions take files by value: hosts and tests bring their own in their place.
// NOLINTBEGIN(performance-unnecessary-value-param)

io_result read(File file, char* buffer, long count)
{
    try {
        const int descriptor = ready_descriptor(file, count);
        for (;;) {
            const auto bytes = ::read(descriptor, buffer, static_cast<std::size_t>(count));
            if (bytes >= 0)
                return static_cast<long>(bytes);
            if (errno != EINTR)
                throw system_failure(errno);
        }
    } catch (...) {
        return std::current_exception();
    }
}

io_result write(File file, const char* buffer, long count)
{
    try {
        const int descriptor = ready_descriptor(file, count);
        long written = 0;
        while (written < count) {
            const auto bytes =
                ::write(descriptor, buffer + written, static_cast<std::size_t>(count - written));
            if (bytes >= 0)
                written += static_cast<long>(bytes);
            else if (errno != EINTR)
                throw system_failure(errno);
        }
        return written;
    } catch (...) {
        return std::current_exception();
    }
}

std::exception_ptr close(File file)
{
    if (!file.handle || !file.handle->is_open())
        return nullptr;
    // The descriptor is gone whatever the answer is. After an interruption nobody knows whether all
    // that was written has arrived.
    if (::close(file.handle->release()) == 0)
        return nullptr;
    return std::make_exception_ptr(system_failure(errno));
}

void handle_exception(const std::exception_ptr& failure, File file, Operation operation)
{
    if (!failure)
        return;
    switch (operation) {
    case Operation::open:
        raise_open_failure(file.path, failure);
    case Operation::read:
        raise<errors::ReadFailed>(file.path, reason_of(failure));
    case Operation::write:
        raise<errors::WriteFailed>(file.path, reason_of(failure));
    case Operation::close:
        break;
    }
    raise<errors::CloseFailed>(file.path, reason_of(failure));
}

// NOLINTEND(performance-unnecessary-value-param)

} // namespace tarnix::io::common::file

namespace foundation::storage::vfs {

provider::FileAttributes File::getAttributes() const
{
    using namespace tarnix::io::common::file;
    struct stat attributes = {};
    if (::stat(native_path(path_).c_str(), &attributes) != 0)
        raise_open_failure(path_, system_failure(errno));
    return provider::FileAttributes(static_cast<std::size_t>(attributes.st_size));
}

} // namespace foundation::storage::vfs
