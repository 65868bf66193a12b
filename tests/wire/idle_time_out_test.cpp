#include "wire_test.hpp"

#include <support/temporary_folder.hpp>

#include <functional>
#include <optional>

namespace tarnix::test {

namespace {

/// What an operation makes of a server that has said 421 and hung up in the meantime: libcurl finds
/// the 421 waiting, takes it for the reply to its next command and gives up.
struct idle_row : test_row {
    std::function<void(curl_ptr&, const temporary_folder&)> run;
    std::optional<resource_core::BaseMsgID> id;
};

class IdleTimeOutTest : public WireTest, public testing::WithParamInterface<idle_row> {};

TEST_P(IdleTimeOutTest, operation_after_it_fails_and_the_session_recovers)
{
    server().tree().add_folder("/home/u/sub");
    server().tree().add_file("/home/u/f", "content");
    start_session();
    server().time_out_connections();
    const temporary_folder local;
    if (GetParam().id)
        EXPECT_ERROR_ID(GetParam().run(session(), local), *GetParam().id);
    else
        GetParam().run(session(), local);
    EXPECT_TRUE(server().tree().is_folder("/home/u/sub"));
    expect_usable_session();
}

namespace core = io::ftp::core;

INSTANTIATE_TEST_SUITE_P(
    Operations, IdleTimeOutTest,
    testing::Values(idle_row{{"pwd"},
                             [](curl_ptr& h, const auto&) { core::pwd(h); },
                             id_of<ids::InternalError>("PWD", "Could not get PWD response")},
                    idle_row{{"cd"},
                             [](curl_ptr& h, const auto&) { core::cd(h, "ftp://127.0.0.1//home"); },
                             id_of<ids::NoSuchDirectory>("ftp://127.0.0.1//home")},
                    idle_row{
                        {"is_folder"},
                        [](curl_ptr& h, const auto&) { EXPECT_FALSE(core::is_folder(h, "sub")); },
                        {}},
                    idle_row{{"create_folder"},
                             [](curl_ptr& h, const auto&) { core::create_folder(h, "new"); },
                             id_of<ids::InternalError>("mkdir", "new")},
                    idle_row{{"delete_folder"},
                             [](curl_ptr& h, const auto&) { core::delete_folder(h, "sub"); },
                             id_of<ids::FTPError>(421)},
                    idle_row{{"list"},
                             [](curl_ptr& h, const auto&) {
                                 EXPECT_EQ(core::list(h, ""), "");
                                 EXPECT_EQ(core::last_response_code(h), 421);
                             },
                             {}},
                    idle_row{{"dir"},
                             [](curl_ptr& h, const auto&) {
                                 EXPECT_THAT(core::dir(h, ""), IsEmpty());
                                 EXPECT_EQ(core::last_response_code(h), 421);
                             },
                             {}},
                    idle_row{{"receive_file"},
                             [](curl_ptr& h, const auto& local) {
                                 core::receive_file(h, u"f", (local / "down").u16string(), false);
                             },
                             id_of<ids::FTPError>(421)}),
    label_of<idle_row>);

TEST_F(IdleTimeOutTest, upload_after_it_fails_and_the_session_recovers)
{
    start_session();
    const temporary_folder local;
    const auto file = write_bytes(local / "f", "content").u16string();
    server().time_out_connections();
    EXPECT_ERROR_ID(send_file(session(), file, u"up", false), id_of<ids::UploadFailed>(file));
    EXPECT_FALSE(server().tree().is_file("/home/u/up"));
    expect_usable_session();
}

} // namespace

} // namespace tarnix::test
