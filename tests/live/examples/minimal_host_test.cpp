#include <live/cli/program_run.hpp>

#include <support/identifier_matchers.hpp>
#include <support/live_server.hpp>
#include <support/temporary_folder.hpp>

#include <tarnix/host/standalone.hpp>
#include <tarnix/io/ftp/core.hpp>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

using namespace tarnix::test;

namespace fs = std::filesystem;
namespace ids = tarnix::io::ftp::core::ids;

namespace {

class MinimalHostTest : public testing::Test {
protected:
    const live_server& server() const { return server_; }
    std::string port() const { return std::to_string(server_.port()); }
    fs::path local(const std::string& name) const { return local_ / name; }

    /// Sends the file "data" to `remote`.
    program_result transfer(const std::string& remote, const std::string& password) const
    {
        program wanted;
        wanted.file = TARNIX_MINIMAL_HOST;
        wanted.arguments = {server_.host(), port(), server_.user(), local("data"), remote};
        wanted.environment["MINIMAL_HOST_PASSWORD"] = password;
        return run(wanted);
    }

    void expect_failure(const program_result& result, const resource_core::BaseMsgID& id) const
    {
        EXPECT_EQ(result.code, 1);
        EXPECT_EQ(result.error, tarnix::host::message_text(id) + '\n');
        EXPECT_FALSE(fs::exists(local("data.back")));
    }

private:
    const live_server& server_ = running_server("vsftpd");
    const temporary_folder local_;
};

std::string every_byte_many_times()
{
    std::string bytes;
    for (int i = 0; i < 256 * 1000; ++i)
        bytes += static_cast<char>(i % 256);
    return bytes;
}

TEST_F(MinimalHostTest, uploads_a_file_and_fetches_it_back)
{
    const auto content = every_byte_many_times();
    const auto data = write_bytes(local("data"), content).string();
    const auto result = transfer("two words", server().password());
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.error, "");
    EXPECT_EQ(result.out, "connected, working folder " + server().root().string() + "\nuploaded " +
                              data + " as two words\nfetched it back as " + data +
                              ".back\ndisconnected\n");
    EXPECT_EQ(read_bytes(server().root() / "two words"), content);
    EXPECT_EQ(read_bytes(local("data.back")), content);
}

TEST_F(MinimalHostTest, wrong_password_is_said_in_the_words_of_the_catalogue)
{
    write_bytes(local("data"), "x");
    const auto result = transfer("remote", server().password() + "x");
    expect_failure(result, id_of<ids::BadLogin>("ftp://" + server().host()));
    EXPECT_EQ(result.out, "");
}

TEST_F(MinimalHostTest, missing_local_file_ends_it_with_the_words_for_that)
{
    const auto result = transfer("remote", server().password());
    expect_failure(result, id_of<ids::NotFound>(local("data").u16string()));
    EXPECT_EQ(result.out, "connected, working folder " + server().root().string() + '\n');
}

TEST_F(MinimalHostTest, missing_remote_folder_ends_it_with_the_words_for_that)
{
    write_bytes(local("data"), "x");
    const auto result = transfer("missing/remote", server().password());
    expect_failure(result, id_of<ids::UploadFailed>(local("data").u16string()));
}

TEST_F(MinimalHostTest, wrong_number_of_arguments_shows_the_usage)
{
    program wanted;
    wanted.file = TARNIX_MINIMAL_HOST;
    wanted.arguments = {server().host(), port()};
    const auto result = run(wanted);
    EXPECT_EQ(result.code, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.error, "usage: minimal_host SERVER PORT USER LOCAL-FILE REMOTE-FILE\n");
}

} // namespace
