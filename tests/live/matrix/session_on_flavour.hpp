#pragma once

#include "flavours.hpp"
#include "stage.hpp"

#include <tarnix/ftp/session.hpp>

#include <string>

namespace tarnix::test {

ftp::url url_of(const flavour& where);

/// The login, and the CA or host key to trust, that go with a flavour.
ftp::session_options login_to(const flavour& where);

/// A session of the session layer that is connected to a server, in the login folder.
class session_on_flavour : public stage {
public:
    explicit session_on_flavour(const flavour& where);

    ftp::session& session() { return session_; }

    /// What came of an operation on the scene, with the changes on the server and to the session.
    /// The text of a failure goes to `details`. Afterwards the session is in the login folder
    /// again.
    std::string outcome(std::string (*operation)(session_on_flavour&), std::string& details);

private:
    ftp::session session_;
};

} // namespace tarnix::test
