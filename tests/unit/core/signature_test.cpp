#include <support/fake_files.hpp>
#include <support/fake_framework.hpp>
#include <support/fake_services.hpp>
#include <support/log_recorder.hpp>
#include <support/option_recorder.hpp>

#include <tarnix/io/ftp/core.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace tarnix::test {
namespace {

using namespace tarnix::io::ftp::core;
using foundation::httpclient_core::libcurlinitializer::LibCurlInitializer;
using foundation::httpproxy::ProxySelector;

constexpr unsigned entry_and_exit = 32 | 64;

/// Where every operation succeeds, so that each function that traces is reached.
class traced_session : public testing::Test {
protected:
    traced_session()
    {
        framework_.add<ProxySelector>(selector_);
        framework_.add<LibCurlInitializer>(std::make_shared<fake_initializer>([] {}));
        selector_->answers["http://"] = {{"proxy", 8080}};
        recorder_.start_at("ftp://server/home/");
    }

    /// Enough answers that every PWD is understood.
    void answer_pwd(int requests)
    {
        recorder_.answer(
            std::vector<scripted_answer>(static_cast<std::size_t>(requests), folder_is("/home")));
    }

    std::shared_ptr<fake_proxy_selector> selector_ = std::make_shared<fake_proxy_selector>();
    fake_framework framework_;
    fake_files files_;
    option_recorder recorder_;
    curl_ptr handle_{false};
};

struct traced_function {
    std::string name;
    std::string signature;
    std::string source;
    std::optional<int> line; ///< only where it is fixed
    std::function<void(curl_ptr&)> call;
    int requests = 0;
};

void PrintTo(const traced_function& function, std::ostream* out)
{
    *out << function.name;
}

class signatures : public traced_session, public testing::WithParamInterface<traced_function> {};

TEST_P(signatures, stand_in_the_records_of_entry_and_exit_with_their_place)
{
    const auto& expected = GetParam();
    answer_pwd(expected.requests);
    const log_recorder log(getLogger(), entry_and_exit);
    expected.call(handle_);
    const auto records = log.records();
    std::vector<log_record> own;
    std::copy_if(records.begin(), records.end(), std::back_inserter(own),
                 [&](const log_record& record) { return record.message == expected.signature; });
    ASSERT_GE(own.size(), 2U) << "no records of " << expected.signature;
    EXPECT_EQ(own.size() % 2, 0U);
    EXPECT_EQ(own.front().severity, 32);
    EXPECT_EQ(own.back().severity, 64);
    for (const auto& record : own) {
        EXPECT_EQ(record.file, expected.source);
        EXPECT_GT(record.line, 0);
        if (expected.line) {
            EXPECT_EQ(record.line, expected.line);
        }
    }
}

const std::vector<traced_function> functions{
    {"default_constructor", "tarnix::io::ftp::core::curl_ptr::curl_ptr()", "src/types",
     std::nullopt, [](curl_ptr&) { curl_ptr(); }},
    {"constructor", "tarnix::io::ftp::core::curl_ptr::curl_ptr(bool)", "src/types", std::nullopt,
     [](curl_ptr&) { curl_ptr(false); }},
    {"move_constructor", "tarnix::io::ftp::core::curl_ptr::curl_ptr(curl_ptr &&)", "src/types",
     std::nullopt, [](curl_ptr& h) { curl_ptr(std::move(h)); }},
    {"destructor", "tarnix::io::ftp::core::curl_ptr::~curl_ptr()", "src/types", std::nullopt,
     [](curl_ptr&) { curl_ptr(false); }},
    {"configure_debug_mode",
     "void tarnix::io::ftp::core::(anonymous namespace)::configure_debug_mode(curl_ptr &)",
     "src/types", std::nullopt, [](curl_ptr&) { curl_ptr(false); }},
    {"perform", "CURLcode tarnix::io::ftp::core::curl_ptr::perform()", "src/types", std::nullopt,
     [](curl_ptr& h) { h.perform(); }},
    {"unsafe_cd", "CURLcode tarnix::io::ftp::core::unsafe_cd(curl_ptr &, const std::string &)",
     "src/cd", 18, [](curl_ptr& h) { unsafe_cd(h, "ftp://server/"); }},
    {"cd", "std::string tarnix::io::ftp::core::cd(curl_ptr &, const std::string &)", "src/cd", 33,
     [](curl_ptr& h) { cd(h, "ftp://server/"); }, 2},
    {"current_remote_url", "std::string tarnix::io::ftp::core::current_remote_url(curl_ptr &)",
     "src/pwd", std::nullopt, [](curl_ptr& h) { current_remote_url(h); }},
    {"last_response_code", "long tarnix::io::ftp::core::last_response_code(curl_ptr &)",
     "src/folder", std::nullopt, [](curl_ptr& h) { last_response_code(h); }},
    {"pwd", "std::string tarnix::io::ftp::core::pwd(curl_ptr &)", "src/pwd", std::nullopt,
     [](curl_ptr& h) { pwd(h); }, 1},
    {"percent_encode_path",
     "std::string tarnix::io::ftp::core::percent_encode_path(curl_ptr &, const std::string &)",
     "src/path", std::nullopt, [](curl_ptr& h) { percent_encode_path(h, "a"); }},
    {"make_absolute_url",
     "std::string tarnix::io::ftp::core::make_absolute_url(curl_ptr &, const std::string &, const "
     "std::string &, const bool)",
     "src/path", std::nullopt,
     [](curl_ptr& h) { make_absolute_url(h, "ftp://server/", "/a", false); }},
    {"fullurl",
     "std::string tarnix::io::ftp::core::fullurl(curl_ptr &, const std::string &, const bool)",
     "src/path", std::nullopt, [](curl_ptr& h) { fullurl(h, "a", false); }},
    {"fullfile", "std::string tarnix::io::ftp::core::fullfile(curl_ptr &, const std::string &)",
     "src/path", std::nullopt, [](curl_ptr& h) { fullfile(h, "a"); }, 1},
    {"connect",
     "std::string tarnix::io::ftp::core::connect(curl_ptr &, const std::string &, const "
     "std::string &, const std::string &, const long, const std::string &, const std::string &, "
     "const bool, const std::string &, const bool, const bool, const long, const long)",
     "src/connect", 120,
     [](curl_ptr& h) {
         connect(h, "ftp://server/", "", "", 21, "", "none", false, "", true, true, 0, 0);
     },
     4},
    {"connect_helper",
     "std::string tarnix::io::ftp::core::connect_helper(curl_ptr &, const std::string &, const "
     "std::string &, const long, const bool, const std::string &, const std::string &, const bool, "
     "const bool, const long, const long, const bool)",
     "src/connect", 195,
     [](curl_ptr& h) {
         connect_helper(h, "server", "", 22, false, "", "", true, true, 0, 0, false);
     },
     2},
    {"transfer_timeout", "void tarnix::io::ftp::core::transfer_timeout(curl_ptr &, const long)",
     "src/connect", 340, [](curl_ptr& h) { transfer_timeout(h, 1); }},
    {"connection_timeout", "void tarnix::io::ftp::core::connection_timeout(curl_ptr &, const long)",
     "src/connect", 349, [](curl_ptr& h) { connection_timeout(h, 1); }},
    {"configure_proxy", "void tarnix::io::ftp::core::configure_proxy(curl_ptr &)", "src/proxy", 36,
     [](curl_ptr& h) { configure_proxy(h); }},
    {"setCurlProxySettings",
     "void tarnix::io::ftp::core::(anonymous namespace)::setCurlProxySettings(curl_ptr &, const "
     "foundation::httpproxy::ProxyList &)",
     "src/proxy", 17, [](curl_ptr& h) { configure_proxy(h); }},
    {"is_folder", "bool tarnix::io::ftp::core::is_folder(curl_ptr &, const std::string &)",
     "src/folder", std::nullopt, [](curl_ptr& h) { is_folder(h, "a"); }, 3},
    {"create_folder", "void tarnix::io::ftp::core::create_folder(curl_ptr &, const std::string &)",
     "src/folder", std::nullopt, [](curl_ptr& h) { create_folder(h, "a"); }},
    {"delete_folder", "void tarnix::io::ftp::core::delete_folder(curl_ptr &, const std::string &)",
     "src/folder", std::nullopt, [](curl_ptr& h) { delete_folder(h, "a"); }},
    {"sftp_is_folder",
     "std::pair<CURLcode, std::string> tarnix::io::ftp::core::sftp_is_folder(curl_ptr &, const "
     "std::string &, const bool)",
     "src/folder", std::nullopt, [](curl_ptr& h) { sftp_is_folder(h, "a", false); }},
    {"sftp_create_folder",
     "void tarnix::io::ftp::core::sftp_create_folder(curl_ptr &, const std::string &)",
     "src/folder", std::nullopt, [](curl_ptr& h) { sftp_create_folder(h, "a"); }, 3},
    {"sftp_delete_folder",
     "void tarnix::io::ftp::core::sftp_delete_folder(curl_ptr &, const std::string &)",
     "src/folder", std::nullopt, [](curl_ptr& h) { sftp_delete_folder(h, "a"); }, 1},
    {"list", "std::string tarnix::io::ftp::core::list(curl_ptr &, const std::string &)",
     "src/folder", std::nullopt, [](curl_ptr& h) { list(h, "a"); }},
    {"nlst", "std::string tarnix::io::ftp::core::nlst(curl_ptr &, const std::string &)",
     "src/folder", std::nullopt, [](curl_ptr& h) { nlst(h, "a"); }},
    {"parse_nlst_listing",
     "std::vector<std::string_view> tarnix::io::ftp::core::parse_nlst_listing(const std::string &)",
     "src/folder", std::nullopt, [](curl_ptr&) { parse_nlst_listing("a"); }},
    {"dir", "std::vector<std::string> tarnix::io::ftp::core::dir(curl_ptr &, const std::string &)",
     "src/folder", std::nullopt, [](curl_ptr& h) { dir(h, "a"); }},
    {"send_file",
     "void tarnix::io::ftp::core::send_file(curl_ptr &, const fl::ustring &, const fl::ustring &, "
     "const bool)",
     "src/file", std::nullopt, [](curl_ptr& h) { send_file(h, u"a", u"b", false); }},
    {"receive_file",
     "void tarnix::io::ftp::core::receive_file(curl_ptr &, const fl::ustring &, const fl::ustring "
     "&, const bool)",
     "src/file", std::nullopt, [](curl_ptr& h) { receive_file(h, u"a", u"b", false); }},
    {"make_file_with_size",
     "std::pair<common::file::File, size_t> tarnix::io::ftp::core::(anonymous "
     "namespace)::make_file_with_size(const fl::ustring &)",
     "src/file", std::nullopt, [](curl_ptr& h) { send_file(h, u"a", u"b", false); }},
    {"delete_remote_file",
     "void tarnix::io::ftp::core::delete_remote_file(curl_ptr &, const fl::ustring &)", "src/file",
     std::nullopt, [](curl_ptr& h) { delete_remote_file(h, u"a"); }},
    {"rename_remote_file",
     "void tarnix::io::ftp::core::rename_remote_file(curl_ptr &, const fl::ustring &, const "
     "fl::ustring &)",
     "src/file", std::nullopt, [](curl_ptr& h) { rename_remote_file(h, u"a", u"b"); }},
    {"sftp_delete_remote_file",
     "void tarnix::io::ftp::core::sftp_delete_remote_file(curl_ptr &, const fl::ustring &)",
     "src/file", std::nullopt, [](curl_ptr& h) { sftp_delete_remote_file(h, u"/a"); }},
    {"sftp_rename_remote_file",
     "void tarnix::io::ftp::core::sftp_rename_remote_file(curl_ptr &, const fl::ustring &, const "
     "fl::ustring &)",
     "src/file", std::nullopt, [](curl_ptr& h) { sftp_rename_remote_file(h, u"/a", u"/b"); }},
    {"is_file", "bool tarnix::io::ftp::core::is_file(curl_ptr &, const fl::ustring &)", "src/file",
     std::nullopt, [](curl_ptr& h) { is_file(h, u"a"); }},
    {"syst", "std::string tarnix::io::ftp::core::syst(curl_ptr &)", "src/syst", std::nullopt,
     [](curl_ptr& h) { syst(h); }},
};

INSTANTIATE_TEST_SUITE_P(functions, signatures, testing::ValuesIn(functions),
                         [](const auto& tested) { return tested.param.name; });

TEST_F(traced_session, functions_that_do_not_trace_write_no_record)
{
    curl_ptr other(false);
    const log_recorder log(getLogger(), ~0U);
    add_trailing_slash("a");
    percent_encode(handle_, "a");
    percent_decode(handle_, "a");
    split_string("a", "b");
    match_response_code("257 a", "257");
    parse_pwd_response("257 \"a\"");
    set_option(handle_, CURLOPT_PORT, 21);
    handle_.throw_if_null();
    handle_.get();
    other = std::move(handle_);
    EXPECT_EQ(log.lines(), std::vector<std::string>{});
}

TEST_F(traced_session, the_two_sftp_entries_do_not_trace)
{
    answer_pwd(4);
    const log_recorder log(getLogger(), entry_and_exit);
    connect_with_password(handle_, "server", "", 22, "", false, "", "", true, true, 0, 0, false);
    connect_with_keys(handle_, "server", "", 22, "", "", "", false, "", "", true, true, 0, 0,
                      false);
    for (const auto& record : log.records()) {
        EXPECT_EQ(record.message.find("connect_with"), std::string::npos) << record.message;
        if (record.message.find("::connect_helper(") != std::string::npos) {
            EXPECT_EQ(record.depth, 0);
        }
    }
}

TEST_F(traced_session, the_default_constructor_traces_after_the_one_it_delegates_to)
{
    const log_recorder log(getLogger(), 32);
    const curl_ptr handle;
    EXPECT_EQ(log.messages(32),
              (std::vector<std::string>{"tarnix::io::ftp::core::curl_ptr::curl_ptr(bool)",
                                        "void tarnix::io::ftp::core::(anonymous "
                                        "namespace)::configure_debug_mode(curl_ptr &)",
                                        "tarnix::io::ftp::core::curl_ptr::curl_ptr()"}));
}

TEST_F(traced_session, sizing_a_file_nests_in_its_upload)
{
    const log_recorder log(getLogger(), 32);
    send_file(handle_, u"a", u"b", false);
    const auto records = log.records();
    const auto sizing = std::find_if(records.begin(), records.end(), [](const log_record& record) {
        return record.message.find("make_file_with_size") != std::string::npos;
    });
    ASSERT_NE(sizing, records.end());
    EXPECT_EQ(records.front().depth, 0);
    EXPECT_EQ(sizing->depth, 1);
}

TEST_F(traced_session, an_operation_that_raises_says_so_at_its_exit)
{
    const curl_ptr holder(std::move(handle_));
    const log_recorder log(getLogger(), 64);
    getLogger().set_levels(entry_and_exit);
    EXPECT_ANY_THROW(pwd(handle_));
    EXPECT_EQ(log.messages(64).back(),
              "std::string tarnix::io::ftp::core::pwd(curl_ptr &) [throw]");
}

} // namespace
} // namespace tarnix::test
