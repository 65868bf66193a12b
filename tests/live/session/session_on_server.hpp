#pragma once

#include <tarnix/ftp/session.hpp>

#include <tarnix/host/standalone.hpp>

#include <support/live_server.hpp>
#include <support/temporary_folder.hpp>

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace tarnix::test {

/// The URL of a running server: sftp for "sshd", ftpes for "vsftpd-tls", ftp for "vsftpd".
ftp::url url_of(const std::string& kind);

/// What a session with its user, its password, its CA and its host key needs.
ftp::session_options login_to(const std::string& kind);

/// The kind of the failure that `operation` raises; none when it raises nothing. Anything that is
/// no failure passes through.
std::optional<ftp::failure_kind> failure_of(const std::function<void()>& operation);

/// With a session on the server that the parameter names, in a folder of this test's own.
class SessionOnServerTest : public testing::TestWithParam<std::string> {
protected:
    SessionOnServerTest();
    ~SessionOnServerTest() override;

    bool is_sftp() const { return GetParam() == "sshd"; }

    /// The path of `name` in the test's folder on the server, where the test may look as well.
    std::filesystem::path remote(const std::string& name) const { return remote_ / name; }
    std::filesystem::path make_remote_folder(const std::string& name) const;
    std::filesystem::path make_remote_file(const std::string& name, const std::string& content);

private:
    const host::standalone host_;
    std::filesystem::path remote_;

protected:
    ftp::session session_;
    temporary_folder local_;
};

} // namespace tarnix::test
