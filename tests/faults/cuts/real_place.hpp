#pragma once

#include <support/cutting_gate.hpp>
#include <support/temporary_folder.hpp>
#include <support/through_gate.hpp>

#include <tarnix/ftp/session.hpp>

#include <filesystem>
#include <optional>
#include <string>

namespace tarnix::test {

/// A running server whose connections are secured.
struct real_server {
    ftp::url url;
    ftp::session_options login;
    /// The login folder, as the server and the test name it.
    std::filesystem::path root;

    /// One of those that servers.py starts. For the main thread.
    static real_server of_kind(const std::string& kind);
};

/// Where one run takes place: a folder of its own on a real server, a gate before that, a session
/// and its local files. One in a thread, which makes all connections.
struct real_place {
    explicit real_place(const real_server& at);
    ~real_place();
    real_place(const real_place&) = delete;
    real_place& operator=(const real_place&) = delete;

    const real_server& server;
    const std::filesystem::path remote;
    temporary_folder local;
    cutting_gate gate;
    through_gate way;
    std::optional<ftp::session> session;

    /// Starts in the folder of the place.
    void connect_session();
    /// The session, or a new one where there is none, lists a folder; raises when it cannot.
    void use_session();

    /// Several records of TLS, in lines.
    static const std::string text;
    void add_file(const std::string& name, const std::string& content) const;
    void add_folder(const std::string& name) const;
    /// As in " f=whole g/"; what there is in the folder on the server.
    std::string remote_files() const;
};

} // namespace tarnix::test
