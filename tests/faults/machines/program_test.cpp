#include <live/cli/program_run.hpp>
#include <support/scripted_server.hpp>
#include <support/temporary_folder.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <iostream>

namespace {

using namespace tarnix::test;
using testing::AnyOf;
using testing::IsEmpty;
using testing::StartsWith;

class ProgramTest : public testing::TestWithParam<std::vector<std::string>> {
protected:
    ProgramTest()
    {
        server_.tree().add_file("/home/u/file", content_);
        server_.tree().add_folder("/home/u/shelf");
        write_bytes(folder_ / "data", content_);
    }

    program_result run_with_descriptors(int number)
    {
        program wanted;
        wanted.under = {"/usr/bin/prlimit", "--nofile=" + std::to_string(number)};
        wanted.environment = {{"TARNIX_FTP_PASSWORD", "secret"}};
        wanted.arguments = {"ftp://u@" + server_.address() + ":" + std::to_string(server_.port())};
        wanted.arguments.insert(wanted.arguments.end(), GetParam().begin(), GetParam().end());
        wanted.folder = folder_.path();
        return tarnix::test::run(wanted);
    }

    std::vector<std::string> files() const
    {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder_.path()))
            if (const auto name = entry.path().filename().string(); name != "data")
                names.push_back(name);
        return names;
    }

    const std::string content_ = std::string(100000, 'c');
    scripted_server server_{"/home/u", new_loopback()};
    temporary_folder folder_;
};

/// UndefinedBehaviorSanitizer needs a descriptor to look at a pointer, and takes its lack for a bad
/// pointer. Only a program that was built with it says such a thing.
bool sanitizer_lacked_a_descriptor(const program_result& result)
{
    return result.code == 1 && result.error.find("object has invalid vptr") != std::string::npos;
}

TEST_P(ProgramTest, says_in_a_line_what_it_cannot_do_with_few_descriptors)
{
    constexpr int least = 4; // the system needs one more than the standard streams to start it
    constexpr int enough = 24;
    constexpr int not_started = 127;
    int failures = 0;
    for (int number = least; number <= enough; ++number) {
        SCOPED_TRACE(number);
        const auto result = run_with_descriptors(number);
        EXPECT_EQ(result.signal, 0);
        if (result.code == not_started && number < enough)
            continue;
        if (sanitizer_lacked_a_descriptor(result) && number < enough) {
            ++failures;
            for (const auto& name : files())
                std::filesystem::remove(folder_ / name);
            continue;
        }
        EXPECT_THAT(result.code, AnyOf(0, 3, 7, 8, 12));
        if (result.code == 0) {
            EXPECT_EQ(result.error, "");
            EXPECT_EQ(files().size(), GetParam().front() == "get" ? 1U : 0U);
        } else {
            ++failures;
            EXPECT_THAT(result.error, StartsWith("tarnix-ftp: "));
            EXPECT_EQ(std::count(result.error.begin(), result.error.end(), '\n'), 1)
                << result.error;
            EXPECT_THAT(files(), IsEmpty());
        }
        EXPECT_TRUE(result.code == 0 || number < enough);
        std::filesystem::remove(folder_ / "file");
    }
    EXPECT_GT(failures, 0);
    std::cout << "counted: " << failures << " runs that lacked descriptors\n";
}

INSTANTIATE_TEST_SUITE_P(Commands, ProgramTest,
                         testing::Values(std::vector<std::string>{"ls", "shelf"},
                                         std::vector<std::string>{"put", "data"},
                                         std::vector<std::string>{"get", "file"}),
                         [](const auto& one) { return one.param.front(); });

} // namespace
