#include "session_on_server.hpp"

#include <cerrno>
#include <cstdlib>
#include <system_error>

namespace tarnix::test {

namespace fs = std::filesystem;

namespace {

/// A folder that the server's user can use too.
fs::path make_open_folder(const fs::path& path)
{
    fs::create_directory(path);
    fs::permissions(path, fs::perms::all);
    return path;
}

fs::path make_folder_of_test(const fs::path& root)
{
    auto name = (root / "test-XXXXXX").string();
    if (!::mkdtemp(name.data()))
        throw std::system_error(errno, std::generic_category(), name);
    return make_open_folder(name);
}

ftp::session_options starting_in(const std::string& kind, const fs::path& folder)
{
    auto options = login_to(kind);
    options.starting_folder = folder;
    return options;
}

} // namespace

ftp::url url_of(const std::string& kind)
{
    const auto& server = running_server(kind);
    ftp::url result;
    result.scheme = kind == "sshd"         ? ftp::protocol::sftp
                    : kind == "vsftpd-tls" ? ftp::protocol::ftpes
                                           : ftp::protocol::ftp;
    result.host = server.host();
    result.port = static_cast<std::uint16_t>(server.port());
    return result;
}

ftp::session_options login_to(const std::string& kind)
{
    const auto& server = running_server(kind);
    ftp::session_options options;
    options.user = server.user();
    options.password = server.password();
    if (kind == "sshd")
        options.known_hosts_file = server["known_hosts"];
    if (kind == "vsftpd-tls")
        options.ca_file = server["ca_file"];
    return options;
}

std::optional<ftp::failure_kind> failure_of(const std::function<void()>& operation)
{
    try {
        operation();
    } catch (const ftp::failure& failure) {
        return failure.kind();
    }
    return std::nullopt;
}

SessionOnServerTest::SessionOnServerTest()
    : remote_(make_folder_of_test(running_server(GetParam()).root())),
      session_(url_of(GetParam()), starting_in(GetParam(), remote_))
{
}

SessionOnServerTest::~SessionOnServerTest()
{
    std::error_code ignored;
    fs::remove_all(remote_, ignored);
}

fs::path SessionOnServerTest::make_remote_folder(const std::string& name) const
{
    return make_open_folder(remote(name));
}

fs::path SessionOnServerTest::make_remote_file(const std::string& name, const std::string& content)
{
    auto path = write_bytes(remote(name), content);
    fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read |
                              fs::perms::others_read);
    return path;
}

} // namespace tarnix::test
