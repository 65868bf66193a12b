#include "lane.hpp"
#include "live_scene.hpp"
#include "sweep.hpp"

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

// Sessions whose memory runs out, with real servers and OpenSSL or libssh2 below libcurl.

namespace {

using namespace tarnix::test;

const std::string no_handle = "identifier TARNIX:io:ftp:curl:CurlHandleInitializationFailure";
const std::string ftp = "identifier TARNIX:io:ftp:ftp:";
const std::string lost = "failure 0 ";
const std::string insecure = "failure 1 ";
const std::string no_transfer = "failure 6 ";

/// One operation with one server.
struct encrypted_case {
    std::string label;
    counterpart with;
    expectation expected;
    /// From one allocation that fails to the next.
    int step;
};

std::ostream& operator<<(std::ostream& out, const encrypted_case& one)
{
    return out << one.label;
}

// From one allocation that fails to the next, unless every single one is asked for.
constexpr int with_tls = 23;
constexpr int with_ssh = 7;

const counterpart over_tls{"vsftpd-tls", "ftpes", "ca_file"};
const counterpart over_ssh{"sshd", "sftp", "known_hosts"};

/// What a session says why it failed may be beside the point, when OpenSSL or libssh2 below libcurl
/// have forgotten what they were doing; but it says that it failed.
expectation any_failure(const std::string& operation)
{
    return {operation, {no_handle, ftp, "failure "}};
}

std::vector<encrypted_case> cases()
{
    return {
        {"tls_connect", over_tls, any_failure("session_connect"), with_tls},
        {"tls_list", over_tls, any_failure("session_list"), with_tls},
        {"tls_exists", over_tls, any_failure("session_exists"), with_tls},
        {"tls_mkdir", over_tls, any_failure("session_mkdir"), with_tls},
        {"tls_put", over_tls, any_failure("session_put"), with_tls},
        {"tls_get", over_tls, any_failure("session_get"), with_tls},
        {"tls_rename", over_tls, any_failure("session_rename"), with_tls},
        {"ssh_connect", over_ssh, any_failure("session_connect"), with_ssh},
        {"ssh_cd", over_ssh, any_failure("session_cd"), with_ssh},
        {"ssh_names", over_ssh, any_failure("session_names"), with_ssh},
        {"ssh_exists", over_ssh, any_failure("session_exists"), with_ssh},
        {"ssh_is_file", over_ssh, any_failure("session_is_file"), with_ssh},
        {"ssh_mkdir", over_ssh, any_failure("session_mkdir"), with_ssh},
        {"ssh_rmdir", over_ssh, any_failure("session_rmdir"), with_ssh},
        {"ssh_put", over_ssh, any_failure("session_put"), with_ssh},
        {"ssh_get", over_ssh, any_failure("session_get"), with_ssh},
        {"ssh_delete", over_ssh, any_failure("session_delete"), with_ssh},
        {"ssh_rename", over_ssh, any_failure("session_rename"), with_ssh},
    };
}

/// Servers that are not those that were meant: no shortage may make the session take them.
std::vector<encrypted_case> impostors()
{
    const expectation expected{.operation = "session_connect",
                               .raises = {no_handle, lost, insecure, no_transfer},
                               .must_fail = true};
    return {
        {"other_authority", {"vsftpd-tls", "ftpes", "other_ca_file"}, expected, with_tls},
        {"no_tls", {"vsftpd", "ftpes", ""}, expected, with_tls},
        {"other_host_key", {"sshd", "sftp", "wrong_known_hosts"}, expected, with_ssh},
        {"other_fingerprint",
         {"sshd", "sftp", "SHA256:" + std::string(43, 'A')},
         expected,
         with_ssh},
    };
}

class EncryptedShortagesTest : public testing::TestWithParam<encrypted_case> {};

TEST_P(EncryptedShortagesTest, allocations_fail_in_turn)
{
    constexpr int side_by_side = 6;
    std::vector<std::unique_ptr<lane>> lanes;
    for (int i = 1; i <= side_by_side; ++i)
        lanes.push_back(std::make_unique<lane>(std::make_unique<live_scene>(GetParam().with, i)));
    sweep runs(GetParam().expected, std::move(lanes));
    const auto step = GetParam().step;
    for (const auto& how : {manner{"one", fault::one_allocation, false, step},
                            manner{"all from one on", fault::all_allocations, false, step}}) {
        SCOPED_TRACE(how.name);
        runs.fail_allocations(how);
    }
}

INSTANTIATE_TEST_SUITE_P(Operations, EncryptedShortagesTest, testing::ValuesIn(cases()),
                         [](const auto& one) { return one.param.label; });
INSTANTIATE_TEST_SUITE_P(Impostors, EncryptedShortagesTest, testing::ValuesIn(impostors()),
                         [](const auto& one) { return one.param.label; });

} // namespace
