#pragma once

#include "core_on_server.hpp"
#include "flavours.hpp"

#include <support/live_server.hpp>
#include <support/temporary_folder.hpp>
#include <tarnix/ftp/session.hpp>
#include <tarnix/host/standalone.hpp>

#include <filesystem>
#include <string>

namespace tarnix::test {

ftp::url url_of(const flavour& where);

/// The login, and the CA or host key to trust, that go with a flavour.
ftp::session_options login_to(const flavour& where);

/// A session of the session layer that is connected to a server, in the login folder.
class session_on_flavour {
public:
    explicit session_on_flavour(const flavour& where);

    ftp::session& session() { return session_; }
    std::filesystem::path root() const { return server_.root(); }
    const temporary_folder& local() const { return local_; }
    const flavour& place() const { return where_; }

    /// What came of an operation on the scene, with the changes on the server and to the session.
    /// The text of a failure goes to `details`. Afterwards the session is in the login folder
    /// again.
    std::string outcome(std::string (*operation)(session_on_flavour&), std::string& details);

private:
    const flavour& where_;
    const live_server& server_;
    const proxy_setting proxy_;
    const host::standalone host_;
    const temporary_folder local_;
    ftp::session session_;
};

} // namespace tarnix::test
