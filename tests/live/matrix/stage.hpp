#pragma once

#include "flavours.hpp"

#include <support/live_server.hpp>
#include <support/temporary_folder.hpp>
#include <tarnix/host/standalone.hpp>

#include <filesystem>
#include <functional>
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

/// The files and the passphrase of the key that a flavour logs in with; empty where it has none.
struct key_login {
    std::string private_key_file;
    std::string public_key_file;
    std::string passphrase;
};

key_login key_login_to(const flavour& where);

/// What a session of either layer with a server stands on.
class stage {
public:
    explicit stage(const flavour& where);

    const temporary_folder& local() const { return local_; }
    const flavour& place() const { return where_; }
    std::filesystem::path root() const { return server_.root(); }

protected:
    /// What came of an operation on a new scene, with the changes on the server. The text of a
    /// failure goes to `details`.
    std::string outcome_on_scene(const std::function<std::string()>& operation,
                                 std::string& details) const;

    /// `text` with ROOT and LOCAL in place of the folders.
    std::string without_folders(const std::string& text) const;

private:
    const flavour& where_;
    const live_server& server_;
    const proxy_setting proxy_;
    const host::standalone host_;
    const temporary_folder local_;
};

} // namespace tarnix::test
