#include <tarnix/host/log_sink.hpp>

#include <foundation/log/diagnostic_logger.hpp>

#include <gmock/gmock.h>

#include <ios>
#include <memory>
#include <new>
#include <sstream>
#include <streambuf>
#include <string>
#include <thread>
#include <vector>

namespace {

using foundation::log::basic_diagnostic_logger;
using tarnix::host::secrets;
using tarnix::host::stream_log_sink;

class log_sink_test : public testing::Test {
protected:
    log_sink_test() { log_.set_levels(~0U); }

    std::string written(unsigned level, const std::string& message,
                        secrets treatment = secrets::masked)
    {
        std::ostringstream stream;
        const stream_log_sink sink(stream, treatment);
        log_.write(level, message);
        return stream.str();
    }

    basic_diagnostic_logger<char> log_{"a channel"};
};

TEST_F(log_sink_test, a_line_names_the_level)
{
    EXPECT_EQ(written(1, "m"), "[data] m\n");
    EXPECT_EQ(written(4, "m"), "[protocol] m\n");
    EXPECT_EQ(written(8, "m"), "[information] m\n");
    EXPECT_EQ(written(32, "m"), "[entry] m\n");
    EXPECT_EQ(written(64, "m"), "[exit] m\n");
    EXPECT_EQ(written(128, "m"), "[result] m\n");
    EXPECT_EQ(written(256, "m"), "[unknown] m\n");
    EXPECT_EQ(written(2, "m"), "[level 2] m\n");
}

TEST_F(log_sink_test, a_line_is_indented_by_depth_and_tells_the_place_of_a_trace)
{
    std::ostringstream stream;
    const stream_log_sink sink(stream);
    log_.write(32, "void f()", "src/f", 17);
    log_.enter();
    log_.write(4, "inside");
    log_.leave();
    log_.write(64, "void f()", "src/f", 17);
    EXPECT_EQ(stream.str(), "[entry] void f() (src/f:17)\n"
                            "[protocol]   inside\n"
                            "[exit] void f() (src/f:17)\n");
}

TEST_F(log_sink_test, a_password_is_masked_unless_asked_for)
{
    EXPECT_EQ(written(4, "[HEADER OUT] PASS open sesame"), "[protocol] [HEADER OUT] PASS ****\n");
    EXPECT_EQ(written(4, "[HEADER OUT] pass open sesame"), "[protocol] [HEADER OUT] pass ****\n");
    EXPECT_EQ(written(4, "[HEADER OUT] PASS "), "[protocol] [HEADER OUT] PASS ****\n");
    EXPECT_EQ(written(4, "[HEADER OUT] PASS open sesame", secrets::shown),
              "[protocol] [HEADER OUT] PASS open sesame\n");
}

TEST_F(log_sink_test, the_credentials_for_a_proxy_are_masked_and_the_rest_of_the_request_is_not)
{
    const std::string request = "[HEADER OUT] CONNECT h:21 HTTP/1.1\r\nHost: h:21\r\n"
                                "Proxy-Authorization: Basic dTpw\r\nUser-Agent: x\r\n\r\n";
    EXPECT_EQ(written(4, request),
              "[protocol] [HEADER OUT] CONNECT h:21 HTTP/1.1\\r\\nHost: h:21\\r\\n"
              "Proxy-Authorization: ****\\nUser-Agent: x\\r\\n\\r\\n\n");
    EXPECT_THAT(written(4, request, secrets::shown), testing::HasSubstr("Basic dTpw"));
}

TEST_F(log_sink_test, other_lines_are_shown_as_they_are)
{
    EXPECT_EQ(written(4, "[HEADER OUT] PASV"), "[protocol] [HEADER OUT] PASV\n");
    EXPECT_EQ(written(4, "[HEADER OUT] USER PASS word"),
              "[protocol] [HEADER OUT] USER PASS word\n");
    EXPECT_EQ(written(4, "[HEADER IN] PASS it on"), "[protocol] [HEADER IN] PASS it on\n");
    EXPECT_EQ(written(1, "[DATA IN] PASS it on"), "[data] [DATA IN] PASS it on\n");
}

TEST_F(log_sink_test, control_characters_are_escaped)
{
    const std::string message("a\tb\r\n\x1B[2J\0\x7F\xC3\xA9", 13);
    EXPECT_EQ(written(1, message), "[data] a\\x09b\\r\\n\\x1b[2J\\x00\\x7f\xC3\xA9\n");
    EXPECT_EQ(written(1, "\xC2\x9B"
                         "2J\x9B"
                         "2J caf\xE9"),
              "[data] \\xc2\\x9b2J\\x9b2J caf\xE9\n");
}

TEST_F(log_sink_test, nothing_is_written_after_its_end)
{
    std::ostringstream stream;
    {
        const stream_log_sink sink(stream);
        log_.write(4, "during");
    }
    log_.write(4, "after");
    EXPECT_EQ(stream.str(), "[protocol] during\n");
}

TEST_F(log_sink_test, two_sinks_both_get_every_line)
{
    std::ostringstream first;
    std::ostringstream second;
    const stream_log_sink one(first);
    const stream_log_sink two(second, secrets::shown);
    log_.write(4, "[HEADER OUT] PASS x");
    EXPECT_EQ(first.str(), "[protocol] [HEADER OUT] PASS ****\n");
    EXPECT_EQ(second.str(), "[protocol] [HEADER OUT] PASS x\n");
}

class raising_buffer : public std::streambuf {
protected:
    std::streamsize xsputn(const char*, std::streamsize) override { throw std::bad_alloc(); }
    int_type overflow(int_type) override { throw std::bad_alloc(); }
    int sync() override { throw std::bad_alloc(); }
};

TEST_F(log_sink_test, a_stream_that_raises_loses_lines_and_nothing_else)
{
    raising_buffer buffer;
    std::ostream stream(&buffer);
    stream.exceptions(std::ios::badbit | std::ios::failbit);
    EXPECT_NO_THROW({
        const stream_log_sink sink(stream);
        log_.write(4, "lost");
        log_.write(4, "lost too");
    });
    EXPECT_TRUE(stream.bad());
}

TEST_F(log_sink_test, lines_of_many_threads_stay_whole)
{
    std::ostringstream stream;
    {
        const stream_log_sink sink(stream);
        std::vector<std::thread> threads;
        for (int thread = 0; thread < 4; ++thread) {
            threads.emplace_back([this] {
                for (int round = 0; round < 250; ++round)
                    log_.write(8, "one line of text");
            });
        }
        for (auto& thread : threads)
            thread.join();
    }
    std::istringstream lines(stream.str());
    int count = 0;
    for (std::string line; std::getline(lines, line); ++count)
        ASSERT_EQ(line, "[information] one line of text");
    EXPECT_EQ(count, 1000);
}

TEST_F(log_sink_test, sinks_come_and_go_while_other_threads_write)
{
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 2; ++thread) {
        threads.emplace_back([this] {
            for (int round = 0; round < 2000; ++round)
                log_.write(8, "text");
        });
    }
    for (int round = 0; round < 200; ++round) {
        const auto stream = std::make_unique<std::ostringstream>();
        const stream_log_sink sink(*stream);
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(written(8, "still works"), "[information] still works\n");
}

} // namespace
