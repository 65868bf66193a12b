// What the host makes of a close that is interrupted, which only some file systems do.

#include <tarnix/io/common/file.hpp>
#include <tarnix/io/common/file_errors.hpp>

#include <fl/i18n/ustring_conversion.hpp>
#include <foundation/core/except.hpp>

#include "temporary_folder.hpp"

#include <gtest/gtest.h>

#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <exception>
#include <string>

namespace {

thread_local bool is_interrupted = false;

} // namespace

/// Stands in for the system's in the whole program.
extern "C" __attribute__((visibility("default"))) int close(int descriptor)
{
    const auto result = static_cast<int>(::syscall(SYS_close, descriptor));
    if (!is_interrupted)
        return result;
    is_interrupted = false;
    errno = EINTR;
    return -1;
}

namespace {

namespace file = tarnix::io::common::file;
using close_failure = foundation::core::except::Exception<TARNIX::io::common::file::CloseFailed,
                                                          std::exception, void>;

TEST(CloseTest, an_interruption_is_a_failure)
{
    const temporary_folder folder;
    const auto opened =
        file::make_writeable_file(fl::i18n::utf8_to_ustring((folder / "a").string()));
    is_interrupted = true;
    const auto failure = file::close(opened);
    EXPECT_FALSE(is_interrupted);
    ASSERT_TRUE(failure);
    EXPECT_THROW(file::handle_exception(failure, opened, file::Operation::close), close_failure);
    // The descriptor is gone: it is not closed a second time.
    EXPECT_FALSE(file::close(opened));
}

} // namespace
