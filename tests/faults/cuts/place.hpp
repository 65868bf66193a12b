#pragma once

#include <support/cutting_gate.hpp>
#include <support/option_recorder.hpp>
#include <support/scripted_server.hpp>
#include <support/temporary_folder.hpp>

#include <resource_core/base_msg_id.hpp>
#include <tarnix/ftp/session.hpp>
#include <tarnix/io/ftp/core.hpp>

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tarnix::test {

/// Who makes the connections for data.
enum class data_mode { passive, active };

/// Where one run takes place: a server of its own, the gate before it, a client and its files. One
/// in a thread.
struct place {
    static constexpr auto login_folder = "/home/u";
    static constexpr auto working_folder = "/home/u/w";

    explicit place(data_mode mode = data_mode::passive);
    ~place();
    place(const place&) = delete;
    place& operator=(const place&) = delete;

    const data_mode mode;
    option_recorder options{option_recorder::requests::real};
    scripted_server server{login_folder, new_loopback()};
    cutting_gate gate{server.address(), server.port()};
    temporary_folder local;
    std::optional<io::ftp::core::curl_ptr> handle;
    std::optional<ftp::session> session;

    /// Told by who prepared the place.
    std::string files_before;
    /// The host's warning handler: the Ids of the warnings, each on the thread of its place.
    static void note_warning(const resource_core::BaseMsgID& message);
    std::vector<std::string> warnings;

    /// A fresh connection of the handle to the login folder.
    void connect_handle();
    std::string server_url() const { return "ftp://" + gate.address(); }
    /// Of an absolute path.
    std::string url(const std::string& path) const { return server_url() + '/' + path; }
    void connect_session();
    /// By name, of all that were ever set; the port of the gate reads "the gate's".
    std::map<std::string, std::string> option_values() const;
};

} // namespace tarnix::test
