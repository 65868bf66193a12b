#pragma once

#include "flavours.hpp"
#include "scene.hpp"

#include <live/core/core_session.hpp>

#include <filesystem>
#include <string>

namespace tarnix::test {

/// Sets the proxy of the host's settings to the one of a flavour, if any, for its own lifetime.
class proxy_setting {
public:
    explicit proxy_setting(const flavour& where);
    ~proxy_setting();
    proxy_setting(const proxy_setting&) = delete;
    proxy_setting& operator=(const proxy_setting&) = delete;
};

/// A session of the library that is connected to an emptied server with the scene on it.
class core_on_server : public core_session {
public:
    explicit core_on_server(const flavour& where);

    using core_session::local;
    using core_session::session;
    using core_session::warnings;

    std::filesystem::path root() const { return server_.root(); }
    /// The URL of a path below the login folder, encoded already.
    std::string url(const std::string& path) const { return start_url_ + path; }
    const std::string& start_url() const { return start_url_; }
    const live_server& server() const { return server_; }

    ftp_login ftp_arguments() const;
    sftp_login sftp_arguments() const;
    /// What the flavour asks of an unconnected session.
    std::string log_in(core::curl_ptr& handle) const;

    /// What came of an operation, the changes on the server and to the session included.
    std::string outcome(std::string (*operation)(core_on_server&));

private:
    const flavour& where_;
    const live_server& server_;
    proxy_setting proxy_;
    std::string start_url_;
    std::string start_folder_;
    scene scene_;
};

} // namespace tarnix::test
