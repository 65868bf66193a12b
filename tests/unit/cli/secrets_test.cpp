#include "secrets.hpp"

#include "arguments.hpp"
#include "local_files.hpp"

#include <support/temporary_folder.hpp>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <future>
#include <string>

namespace tarnix::cli {
namespace {

constexpr auto variable = "TARNIX_TEST_SECRET";

class SecretTest : public testing::Test {
protected:
    ~SecretTest() override { ::unsetenv(variable); }

    secret_sources sources(const std::string& file = {})
    {
        return {file, variable, [] { return std::string("typed"); }};
    }

    test::temporary_folder folder_;
};

TEST_F(SecretTest, a_file_goes_before_the_environment)
{
    ::setenv(variable, "from environment", 1);
    const auto file = test::write_bytes(folder_ / "secret", "from file\nsecond line\n");
    EXPECT_EQ(find_secret(sources(file)), "from file");
}

TEST_F(SecretTest, the_environment_goes_before_the_prompt)
{
    ::setenv(variable, "from environment", 1);
    EXPECT_EQ(find_secret(sources()), "from environment");
}

TEST_F(SecretTest, the_prompt_comes_last)
{
    EXPECT_EQ(find_secret(sources()), "typed");
    ::setenv(variable, "", 1);
    EXPECT_EQ(find_secret(sources()), "typed");
}

TEST_F(SecretTest, without_a_prompt_there_may_be_none)
{
    EXPECT_EQ(find_secret({"", variable, {}}), std::nullopt);
}

TEST_F(SecretTest, only_the_line_end_of_the_file_is_dropped)
{
    const auto with = [&](const char* text) {
        return find_secret(sources(test::write_bytes(folder_ / "secret", text)));
    };
    EXPECT_EQ(with("pass word "), "pass word ");
    EXPECT_EQ(with("pass\r\n"), "pass");
    EXPECT_EQ(with(" pass\n"), " pass");
}

TEST_F(SecretTest, a_file_without_a_secret_is_an_error)
{
    EXPECT_THROW(find_secret(sources(folder_ / "missing")), local_file_error);
    EXPECT_THROW(find_secret(sources(test::write_bytes(folder_ / "empty", ""))), local_file_error);
    EXPECT_THROW(find_secret(sources(test::write_bytes(folder_ / "blank", "\nsecret\n"))),
                 local_file_error);
}

TEST_F(SecretTest, a_pipe_is_a_file_too)
{
    const auto pipe = (folder_ / "pipe").string();
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    auto written = std::async(std::launch::async, [&] {
        std::ofstream(pipe) << "from pipe\n"; // waits for the reader
    });
    EXPECT_EQ(find_secret(sources(pipe)), "from pipe");
    written.get();
}

TEST_F(SecretTest, a_pipe_that_nobody_writes_to_is_given_up)
{
    const auto pipe = (folder_ / "pipe").string();
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    auto impatient = sources(pipe);
    impatient.patience = std::chrono::milliseconds(20);
    EXPECT_THROW(find_secret(impatient), local_file_error);
    const int writer = ::open(pipe.c_str(), O_RDWR | O_CLOEXEC);
    EXPECT_EQ(::write(writer, "half", 4), 4);
    EXPECT_THROW(find_secret(impatient), local_file_error);
    ::close(writer);
}

TEST_F(SecretTest, a_line_without_an_end_is_given_up)
{
    EXPECT_THROW(find_secret(sources("/dev/zero")), local_file_error);
    EXPECT_THROW(find_secret(sources(folder_.path())), local_file_error);
}

TEST_F(SecretTest, what_the_prompt_raises_passes_through)
{
    EXPECT_THROW(find_secret({"", variable, []() -> std::string { throw usage_error("x"); }}),
                 usage_error);
}

} // namespace
} // namespace tarnix::cli
