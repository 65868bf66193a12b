#include "temporary_folder.hpp"

#include <tarnix/io/common/file.hpp>
#include <tarnix/io/common/file_errors.hpp>

#include <fl/i18n/ustring_conversion.hpp>

#include <gmock/gmock.h>

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace {

using namespace tarnix::io::common::file;
namespace ids = TARNIX::io::common::file;

template <typename Tag>
using error = foundation::core::except::Exception<Tag, std::exception, void>;

fl::ustring ustring(const std::filesystem::path& path)
{
    return fl::i18n::utf8_to_ustring(path.string());
}

void put(const std::filesystem::path& path, const std::string& content)
{
    std::ofstream(path, std::ios::binary) << content;
}

std::string content_of(const std::filesystem::path& path)
{
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}

/// The one argument, or the path and the reason, that the exception of `Tag` carries.
template <typename Tag, typename Action>
std::vector<std::string> arguments_of(Action action)
{
    try {
        action();
        ADD_FAILURE() << "nothing was raised";
    } catch (const error<Tag>& exception) {
        std::vector<std::string> texts;
        for (const auto& argument : exception.message_id().arguments) {
            if (const auto* path = std::get_if<std::u16string>(&argument))
                texts.push_back(fl::i18n::ustring_to_utf8(*path));
            else
                texts.push_back(std::get<std::string>(argument));
        }
        return texts;
    } catch (const foundation::core::except::IMsgIDException& exception) {
        ADD_FAILURE() << "another identifier was raised: " << exception.error_id();
    }
    return {};
}

long bytes_of(const io_result& result)
{
    if (const auto* bytes = std::get_if<long>(&result))
        return *bytes;
    ADD_FAILURE() << "failed";
    return -1;
}

std::exception_ptr failure_of(const io_result& result)
{
    const auto* failure = std::get_if<std::exception_ptr>(&result);
    if (!failure || !*failure)
        throw std::runtime_error("no failure");
    return *failure;
}

/// The process's descriptor of the file by that name, if it has one.
std::optional<int> descriptor_of(const std::filesystem::path& path)
{
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        if (std::filesystem::read_symlink(entry.path(), gone) == path)
            return std::stoi(entry.path().filename());
    }
    return std::nullopt;
}

/// Without the rights of the superuser while it lives.
class ordinary_user {
public:
    ordinary_user()
    {
        if (before_ == 0 && ::seteuid(nobody) != 0)
            throw std::system_error(errno, std::generic_category(), "seteuid");
    }
    ~ordinary_user()
    {
        if (before_ == 0 && ::seteuid(0) != 0)
            std::abort();
    }
    ordinary_user(const ordinary_user&) = delete;
    ordinary_user& operator=(const ordinary_user&) = delete;

private:
    static constexpr uid_t nobody = 65534;

    uid_t before_ = ::geteuid();
};

class files_test : public testing::Test {
protected:
    /// A path in the test's own folder.
    std::filesystem::path in_folder(const std::string& name) const { return folder_ / name; }

    temporary_folder folder_;
};

TEST_F(files_test, a_file_is_written_and_read_back)
{
    const auto path = in_folder("data");
    const std::string content("bytes\0\r\n\xFF", 9);
    const auto out = make_writeable_file(ustring(path));
    EXPECT_EQ(bytes_of(write(out, content.data(), 4)), 4);
    EXPECT_EQ(bytes_of(write(out, content.data() + 4, 5)), 5);
    EXPECT_EQ(bytes_of(write(out, content.data(), 0)), 0);
    EXPECT_EQ(close(out), nullptr);
    EXPECT_EQ(content_of(path), content);

    const auto in = make_readable_file(ustring(path));
    EXPECT_EQ(in.path, ustring(path));
    std::string buffer(16, '?');
    EXPECT_EQ(bytes_of(read(in, buffer.data(), 6)), 6);
    EXPECT_EQ(bytes_of(read(in, buffer.data() + 6, 10)), 3);
    EXPECT_EQ(bytes_of(read(in, buffer.data() + 9, 7)), 0);
    EXPECT_EQ(bytes_of(read(in, buffer.data() + 9, 0)), 0);
    EXPECT_EQ(buffer.substr(0, 9), content);
    EXPECT_EQ(close(in), nullptr);
}

TEST_F(files_test, opening_for_writing_empties_an_existing_file)
{
    const auto path = in_folder("data");
    put(path, "old content");
    EXPECT_EQ(close(make_writeable_file(ustring(path))), nullptr);
    EXPECT_EQ(content_of(path), "");
}

TEST_F(files_test, names_beyond_ascii_are_utf8_on_disk)
{
    const auto path = in_folder("gr\xC3\xBC\xC3\x9F \xF0\x9F\x98\x80");
    EXPECT_EQ(close(make_writeable_file(ustring(path))), nullptr);
    EXPECT_TRUE(std::filesystem::exists(path));
}

TEST_F(files_test, a_missing_file_is_no_such_file)
{
    const auto path = in_folder("missing");
    const auto in_missing_folder = in_folder("missing/data");
    put(in_folder("file"), "");
    const auto below_a_file = in_folder("file/data");
    const auto read_it = [](const std::filesystem::path& name) {
        return arguments_of<ids::NoSuchFile>([&] { make_readable_file(ustring(name)); });
    };
    EXPECT_THAT(read_it(path), testing::ElementsAre(path.string()));
    EXPECT_THAT(read_it(below_a_file), testing::ElementsAre(below_a_file.string()));
    EXPECT_THAT(read_it(""), testing::ElementsAre(""));
    EXPECT_THAT(
        arguments_of<ids::NoSuchFile>([&] { make_writeable_file(ustring(in_missing_folder)); }),
        testing::ElementsAre(in_missing_folder.string()));
    EXPECT_THAT(
        arguments_of<ids::NoSuchFile>([&] { make_vfs_file(ustring(path)).getAttributes(); }),
        testing::ElementsAre(path.string()));
}

TEST_F(files_test, a_refused_file_is_permission_denied)
{
    std::filesystem::permissions(folder_.path(), std::filesystem::perms(0755));
    const auto secret = in_folder("secret");
    put(secret, "content");
    std::filesystem::permissions(secret, std::filesystem::perms::none);
    std::filesystem::create_directory(in_folder("locked"));
    put(in_folder("locked/data"), "content");
    std::filesystem::permissions(in_folder("locked"), std::filesystem::perms::none);
    {
        const ordinary_user user;
        EXPECT_THAT(
            arguments_of<ids::PermissionDenied>([&] { make_readable_file(ustring(secret)); }),
            testing::ElementsAre(secret.string()));
        EXPECT_THAT(
            arguments_of<ids::PermissionDenied>([&] { make_writeable_file(ustring(secret)); }),
            testing::ElementsAre(secret.string()));
        EXPECT_THAT(arguments_of<ids::PermissionDenied>(
                        [&] { make_writeable_file(ustring(in_folder("locked/new"))); }),
                    testing::ElementsAre(in_folder("locked/new").string()));
        EXPECT_THAT(arguments_of<ids::PermissionDenied>(
                        [&] { make_vfs_file(ustring(in_folder("locked/data"))).getAttributes(); }),
                    testing::ElementsAre(in_folder("locked/data").string()));
    }
    std::filesystem::permissions(in_folder("locked"), std::filesystem::perms(0755));
    std::filesystem::permissions(secret, std::filesystem::perms(0644));
    EXPECT_EQ(content_of(secret), "content");
}

TEST_F(files_test, a_folder_is_not_a_file)
{
    EXPECT_THAT(
        arguments_of<ids::NotRegularFile>([&] { make_readable_file(ustring(folder_.path())); }),
        testing::ElementsAre(folder_.path().string()));
    EXPECT_THAT(
        arguments_of<ids::NotRegularFile>([&] { make_writeable_file(ustring(folder_.path())); }),
        testing::ElementsAre(folder_.path().string()));
}

TEST_F(files_test, a_pipe_is_an_error_at_once)
{
    const auto path = in_folder("pipe");
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    const auto expect_refused_at_once = [&](auto open_it) {
        auto refused = std::async(std::launch::async, [&] {
            return arguments_of<ids::NotRegularFile>([&] { open_it(ustring(path)); });
        });
        if (refused.wait_for(std::chrono::seconds(30)) == std::future_status::timeout) {
            ADD_FAILURE() << "waits for the other end";
            ::close(::open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
        }
        EXPECT_THAT(refused.get(), testing::ElementsAre(path.string()));
    };
    expect_refused_at_once(make_readable_file);
    expect_refused_at_once(make_writeable_file);
    const int reader = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(reader, 0);
    expect_refused_at_once(make_readable_file);
    expect_refused_at_once(make_writeable_file);
    ::close(reader);
}

TEST_F(files_test, a_socket_is_not_a_file)
{
    const auto path = in_folder("socket");
    const int listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    ASSERT_LT(path.string().size(), sizeof address.sun_path);
    path.string().copy(address.sun_path, path.string().size());
    ASSERT_EQ(::bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_THAT(arguments_of<ids::NotRegularFile>([&] { make_readable_file(ustring(path)); }),
                testing::ElementsAre(path.string()));
    EXPECT_THAT(arguments_of<ids::NotRegularFile>([&] { make_writeable_file(ustring(path)); }),
                testing::ElementsAre(path.string()));
    ::close(listener);
}

TEST_F(files_test, a_device_can_be_written_but_not_read)
{
    EXPECT_THAT(arguments_of<ids::NotRegularFile>([] { make_readable_file(u"/dev/zero"); }),
                testing::ElementsAre("/dev/zero"));
    const auto null = make_writeable_file(u"/dev/null");
    EXPECT_EQ(bytes_of(write(null, "text", 4)), 4);
    EXPECT_EQ(close(null), nullptr);
}

TEST_F(files_test, any_other_failure_to_open_tells_the_reason)
{
    const auto loop = in_folder("loop");
    std::filesystem::create_symlink(loop, loop);
    EXPECT_THAT(arguments_of<ids::OpenFailed>([&] { make_readable_file(ustring(loop)); }),
                testing::ElementsAre(loop.string(), std::generic_category().message(ELOOP)));
    EXPECT_THAT(
        arguments_of<ids::OpenFailed>([&] { make_vfs_file(ustring(loop)).getAttributes(); }),
        testing::ElementsAre(loop.string(), std::generic_category().message(ELOOP)));
    const std::string long_name(5000, 'x');
    EXPECT_THAT(arguments_of<ids::OpenFailed>([&] { make_writeable_file(ustring(long_name)); }),
                testing::ElementsAre(long_name, std::generic_category().message(ENAMETOOLONG)));
}

TEST_F(files_test, a_name_that_cannot_be_a_name_is_an_error)
{
    const auto path = in_folder("data");
    const auto with_zero = ustring(path) + fl::ustring(u"\0more", 5);
    EXPECT_THAT(arguments_of<ids::OpenFailed>([&] { make_writeable_file(with_zero); })[1],
                testing::HasSubstr("zero character"));
    EXPECT_FALSE(std::filesystem::exists(path));

    const auto ill_formed = ustring(path) + fl::ustring(1, u'\xD800');
    for (const auto& open : {make_readable_file, make_writeable_file}) {
        try {
            open(ill_formed);
            ADD_FAILURE() << "nothing was raised";
        } catch (const error<ids::OpenFailed>& exception) {
            EXPECT_EQ(std::get<std::u16string>(exception.message_id().arguments[0]), ill_formed);
        }
    }
    EXPECT_TRUE(std::filesystem::is_empty(folder_.path()));
}

TEST_F(files_test, the_size_is_the_file_systems)
{
    const auto path = in_folder("data");
    put(path, "");
    EXPECT_EQ(make_vfs_file(ustring(path)).getAttributes().getSize(), 0U);
    put(path, "12345");
    EXPECT_EQ(make_vfs_file(ustring(path)).path(), ustring(path));
    EXPECT_EQ(make_vfs_file(ustring(path)).getAttributes().getSize(), 5U);
    const std::uintmax_t three_gibibytes = 3ULL << 30;
    std::filesystem::resize_file(path, three_gibibytes + 1);
    EXPECT_EQ(make_vfs_file(ustring(path)).getAttributes().getSize(), three_gibibytes + 1);
    EXPECT_EQ(close(make_readable_file(ustring(path))), nullptr);
}

TEST_F(files_test, a_full_disk_is_a_write_failure_with_its_reason)
{
    const auto full = make_writeable_file(u"/dev/full");
    const auto failure = failure_of(write(full, "text", 4));
    EXPECT_THAT(
        arguments_of<ids::WriteFailed>([&] { handle_exception(failure, full, Operation::write); }),
        testing::ElementsAre("/dev/full", std::generic_category().message(ENOSPC)));
    EXPECT_EQ(close(full), nullptr);
}

TEST_F(files_test, using_a_file_the_wrong_way_is_a_failure)
{
    const auto path = in_folder("data");
    put(path, "content");
    char buffer[4] = {};
    const auto in = make_readable_file(ustring(path));
    EXPECT_THROW(std::rethrow_exception(failure_of(write(in, "text", 4))), std::system_error);
    EXPECT_THROW(std::rethrow_exception(failure_of(read(in, buffer, -1))), std::system_error);
    const auto out = make_writeable_file(ustring(path));
    EXPECT_THROW(std::rethrow_exception(failure_of(read(out, buffer, 4))), std::system_error);
    EXPECT_THROW(std::rethrow_exception(failure_of(write(out, "text", -1))), std::system_error);
    EXPECT_THROW(std::rethrow_exception(failure_of(read(File{}, buffer, 4))), std::system_error);
    EXPECT_THROW(std::rethrow_exception(failure_of(write(File{}, "text", 4))), std::system_error);
    EXPECT_EQ(close(File{}), nullptr);
}

TEST_F(files_test, closing_ends_all_copies_and_a_second_close_does_nothing)
{
    const auto path = in_folder("data");
    const auto file = make_writeable_file(ustring(path));
    const auto copy = file;
    EXPECT_TRUE(descriptor_of(path).has_value());
    EXPECT_EQ(close(file), nullptr);
    EXPECT_FALSE(descriptor_of(path).has_value());
    EXPECT_EQ(close(copy), nullptr);
    EXPECT_EQ(close(file), nullptr);
    EXPECT_THROW(std::rethrow_exception(failure_of(write(copy, "text", 4))), std::system_error);
}

TEST_F(files_test, the_last_copy_closes_what_nobody_closed)
{
    const auto path = in_folder("data");
    {
        const auto copy = [&] {
            const auto file = make_writeable_file(ustring(path));
            return file;
        }();
        EXPECT_TRUE(descriptor_of(path).has_value());
    }
    EXPECT_FALSE(descriptor_of(path).has_value());
}

TEST_F(files_test, a_refused_file_is_not_left_open)
{
    EXPECT_THROW(make_readable_file(ustring(folder_.path())), error<ids::NotRegularFile>);
    EXPECT_FALSE(descriptor_of(folder_.path()).has_value());
}

TEST_F(files_test, a_failed_close_is_reported_once)
{
    const auto path = in_folder("data");
    const auto file = make_writeable_file(ustring(path));
    const auto descriptor = descriptor_of(path);
    ASSERT_TRUE(descriptor.has_value());
    ASSERT_EQ(::close(*descriptor), 0);
    const auto failure = close(file);
    EXPECT_THAT(
        arguments_of<ids::CloseFailed>([&] { handle_exception(failure, file, Operation::close); }),
        testing::ElementsAre(path.string(), std::generic_category().message(EBADF)));
    EXPECT_EQ(close(file), nullptr);
}

TEST_F(files_test, child_processes_do_not_get_the_file)
{
    const auto path = in_folder("data");
    const auto file = make_writeable_file(ustring(path));
    const auto descriptor = descriptor_of(path);
    ASSERT_TRUE(descriptor.has_value());
    EXPECT_NE(::fcntl(*descriptor, F_GETFD) & FD_CLOEXEC, 0);
}

TEST_F(files_test, handling_no_failure_does_nothing)
{
    for (const auto operation :
         {Operation::close, Operation::open, Operation::read, Operation::write})
        EXPECT_NO_THROW(handle_exception(nullptr, File{}, operation));
    EXPECT_EQ(static_cast<int>(Operation::close), 0);
}

TEST_F(files_test, handling_a_failure_raises_the_error_of_the_operation)
{
    const File file{nullptr, u"name"};
    const auto failure = std::make_exception_ptr(std::runtime_error("the reason"));
    const auto handle = [&](const std::exception_ptr& what, Operation operation) {
        return [&file, what, operation] { handle_exception(what, file, operation); };
    };
    const auto expected = testing::ElementsAre("name", "the reason");
    EXPECT_THAT(arguments_of<ids::CloseFailed>(handle(failure, Operation::close)), expected);
    EXPECT_THAT(arguments_of<ids::OpenFailed>(handle(failure, Operation::open)), expected);
    EXPECT_THAT(arguments_of<ids::ReadFailed>(handle(failure, Operation::read)), expected);
    EXPECT_THAT(arguments_of<ids::WriteFailed>(handle(failure, Operation::write)), expected);
    const auto refused =
        std::make_exception_ptr(std::system_error(EACCES, std::generic_category()));
    EXPECT_THAT(arguments_of<ids::PermissionDenied>(handle(refused, Operation::open)),
                testing::ElementsAre("name"));
    EXPECT_THAT(
        arguments_of<ids::CloseFailed>(handle(std::make_exception_ptr(17), Operation::close)),
        testing::ElementsAre("name", "unknown reason"));
    const auto with_identifier = [] {
        try {
            make_readable_file(u"/dev/zero");
        } catch (...) {
            return std::current_exception();
        }
        return std::exception_ptr();
    }();
    EXPECT_THAT(arguments_of<ids::ReadFailed>(handle(with_identifier, Operation::read))[1],
                testing::HasSubstr("\"/dev/zero\" is not a file"));
}

/// The two ends of a terminal that passes bytes on unchanged.
class terminal {
public:
    terminal() : master_(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC))
    {
        if (master_ < 0 || ::grantpt(master_) != 0 || ::unlockpt(master_) != 0)
            throw std::system_error(errno, std::generic_category(), "posix_openpt");
        name_ = ::ptsname(master_);
        // Held open, so that the settings stay.
        slave_ = ::open(name_.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
        termios settings{};
        if (slave_ < 0 || ::tcgetattr(slave_, &settings) != 0)
            throw std::system_error(errno, std::generic_category(), name_);
        ::cfmakeraw(&settings);
        ::tcsetattr(slave_, TCSANOW, &settings);
    }
    ~terminal()
    {
        ::close(slave_);
        ::close(master_);
    }
    terminal(const terminal&) = delete;
    terminal& operator=(const terminal&) = delete;

    const std::string& name() const { return name_; }

    /// The next bytes that were written; none after half a minute without any.
    std::string read()
    {
        constexpr int patience = 30'000;
        pollfd waiting{master_, POLLIN, 0};
        char buffer[512];
        if (::poll(&waiting, 1, patience) != 1)
            return {};
        const auto bytes = ::read(master_, buffer, sizeof buffer);
        return bytes > 0 ? std::string(buffer, static_cast<std::size_t>(bytes)) : std::string();
    }

private:
    int master_;
    int slave_ = -1;
    std::string name_;
};

TEST_F(files_test, a_slow_device_gets_every_byte_whatever_interrupts)
{
    // No SA_RESTART: each signal ends a system call that waits.
    struct sigaction quiet {};
    struct sigaction before {};
    quiet.sa_handler = [](int) {};
    ASSERT_EQ(::sigaction(SIGUSR1, &quiet, &before), 0);

    std::optional<terminal> device(std::in_place);
    const std::string content(300'000, 'x');
    const auto file = make_writeable_file(ustring(device->name()));
    io_result result;
    std::thread writer(
        [&] { result = write(file, content.data(), static_cast<long>(content.size())); });
    std::string received;
    while (received.size() < content.size()) {
        ::pthread_kill(writer.native_handle(), SIGUSR1);
        const auto more = device->read();
        if (more.empty())
            break;
        received += more;
    }
    // A writer that still waits ends with the other end.
    device.reset();
    writer.join();
    ::sigaction(SIGUSR1, &before, nullptr);
    EXPECT_EQ(bytes_of(result), static_cast<long>(content.size()));
    EXPECT_EQ(received, content);
}

} // namespace
