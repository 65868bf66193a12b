#pragma once

#include "flavours.hpp"
#include "stage.hpp"

#include <live/core/core_session.hpp>

#include <string>

namespace tarnix::test {

/// A session of the library that is connected to a server, in the login folder.
class core_on_server : public stage {
public:
    explicit core_on_server(const flavour& where);

    core::curl_ptr& session() { return session_; }
    /// The URL of a path below the login folder, encoded already.
    std::string url(const std::string& path) const { return start_url_ + path; }
    const std::string& start_url() const { return start_url_; }

    /// What came of an operation on the scene, with the changes on the server and to the session.
    /// Afterwards the session is in the login folder again.
    std::string outcome(std::string (*operation)(core_on_server&), std::string& details);

private:
    core::curl_ptr session_;
    std::string start_folder_;
    std::string start_url_;
};

/// The arguments of the library's connect operations that go with a flavour.
ftp_login ftp_login_to(const flavour& where);
sftp_login sftp_login_to(const flavour& where);

/// Logs in as the flavour says; the working folder.
std::string log_in(core::curl_ptr& handle, const flavour& where);

} // namespace tarnix::test
