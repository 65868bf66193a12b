#pragma once

#include "core_on_server.hpp"
#include "flavours.hpp"
#include "scene.hpp"

#include <support/live_server.hpp>
#include <support/temporary_folder.hpp>
#include <tarnix/ftp/session.hpp>
#include <tarnix/host/standalone.hpp>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace tarnix::test {

ftp::url url_of(const flavour& where);

/// The login, and the CA or host key to trust, that go with a flavour.
ftp::session_options login_to(const flavour& where);

/// A session of the session layer that is connected to an emptied server with the scene on it.
class session_on_flavour : public testing::Test {
public:
    explicit session_on_flavour(const flavour& where);

    ftp::session& session() { return session_; }
    std::filesystem::path root() const { return root_; }
    const temporary_folder& local() const { return local_; }
    const flavour& place() const { return where_; }

    /// What came of an operation, the changes on the server and to the session included. The text
    /// of a failure goes to `details`.
    std::string outcome(std::string (*operation)(session_on_flavour&), std::string& details);

private:
    const flavour& where_;
    const host::standalone host_;
    const std::filesystem::path root_;
    proxy_setting proxy_;
    temporary_folder local_;
    ftp::session session_;
    scene scene_;
};

} // namespace tarnix::test
