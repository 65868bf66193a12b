#pragma once

#include <support/identifier_matchers.hpp>
#include <support/scripted_server.hpp>

#include <resource_core/base_msg_id.hpp>
#include <tarnix/host/standalone.hpp>
#include <tarnix/io/ftp/core.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

namespace tarnix::test {

namespace ids = io::ftp::core::ids;

using io::ftp::core::curl_ptr;
using testing::ElementsAre;
using testing::IsEmpty;

/// The commands of a transcript.
using lines = std::vector<std::string>;

/// A part of a transcript.
template <typename... Commands>
lines sent(const Commands&... commands)
{
    return {std::string(commands)...};
}

/// The parts of a transcript, joined.
lines operator+(lines first, const lines& second);

/// What tables of cases are made of.
struct test_row {
    std::string label;
};

inline std::ostream& operator<<(std::ostream& out, const test_row& row)
{
    return out << row.label;
}

/// Names a case by its label.
template <typename Row>
std::string label_of(const testing::TestParamInfo<Row>& row)
{
    return row.param.label;
}

/// What `connect` takes, by name.
struct connect_arguments {
    std::string url = "ftp://127.0.0.1";
    std::string username = "u";
    std::string password = "secret";
    std::string connection_mode = "passive";
    std::string tls_mode = "none";
    bool use_proxy = false;
    std::string ca_file{};
    bool verify_peer = false;
    bool verify_host = false;
    long low_speed_limit = 0;
    long low_speed_time = 0;
};

/// One session and one scripted server, whose login folder is /home/u.
class WireTest : public testing::Test {
protected:
    static constexpr auto home_url = "ftp://127.0.0.1//home/u/";

    explicit WireTest(const host::standalone_options& options = {});
    ~WireTest() override;

    void TearDown() override;

    scripted_server& server() { return server_; }
    curl_ptr& session() { return session_; }
    /// The Ids of the warnings so far.
    const lines& warnings() const { return warnings_; }

    /// Connects to the scripted server.
    std::string connect(const connect_arguments& arguments = {});
    /// Connects to its login folder and forgets what that sent.
    void start_session();
    /// The session stands in the login folder and, once the server behaves, lists it: what the
    /// requests before changed is back as it was.
    void expect_usable_session();

    // What libcurl sends.

    static lines login();
    /// One change of folder for each level of /home/u, from the root.
    static lines home_levels();
    /// The move back of a session whose control connection is gone.
    static lines login_again();

private:
    host::standalone host_;
    host::warning_handler earlier_handler_;
    lines warnings_;
    scripted_server server_{"/home/u"};
    curl_ptr session_;
};

} // namespace tarnix::test
