#include <support/fake_files.hpp>
#include <support/identifier_matchers.hpp>
#include <support/log_recorder.hpp>
#include <support/option_recorder.hpp>

#include <tarnix/io/ftp/core.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <exception>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace tarnix::test {
namespace {

using namespace tarnix::io::ftp::core;
namespace file_ids = TARNIX::io::common::file;
using lines = std::vector<std::string>;

std::exception_ptr some_failure()
{
    return std::make_exception_ptr(std::runtime_error("the disk is gone"));
}

class local_files : public testing::Test {
protected:
    local_files() { recorder_.start_at("ftp://server/"); }

    void send() { send_file(handle_, u"local", u"remote", false); }
    void receive() { receive_file(handle_, u"remote", u"local", false); }

    /// Runs `action` with the transfer function and its data while an operation transfers.
    void in_transfer(CURLoption function, CURLoption data,
                     const std::function<void(curl_write_callback, void*)>& action)
    {
        recorder_.answer({{.code = CURLE_WRITE_ERROR,
                           .reply = 226,
                           .during =
                               [this, function, data, action] {
                                   action(recorder_.function_of<curl_write_callback>(function),
                                          const_cast<void*>(recorder_.pointer_of(data)));
                               }},
                          {}});
    }

    fake_files files_;
    option_recorder recorder_;
    curl_ptr handle_{false};
};

auto upload_failed()
{
    return id_of<ids::UploadFailed>(std::u16string(u"local"));
}

auto file_closing_failed()
{
    return id_of<file_ids::CloseFailed>(std::u16string(u"local"), "disk full");
}

// Reading

TEST_F(local_files, a_read_of_minus_1_ends_the_upload_as_the_end_of_the_file)
{
    files_.read_results = {-1L};
    EXPECT_NO_THROW(send());
    EXPECT_EQ(recorder_.uploaded(), "");
}

TEST_F(local_files, a_read_of_minus_1_after_data_ends_the_upload_there)
{
    files_.read_results = {3L, -1L, 5L};
    EXPECT_NO_THROW(send());
    EXPECT_EQ(recorder_.uploaded().size(), 3U);
    EXPECT_EQ(files_.read_results.size(), 1U) << "what follows is not asked for";
}

TEST_F(local_files, a_failed_read_aborts_the_upload_and_its_error_is_lost)
{
    files_.read_results = {some_failure()};
    EXPECT_ERROR_ID(send(), upload_failed());
    EXPECT_THAT(files_.calls(),
                testing::ElementsAre("open to read local", "size of local", "read 16",
                                     "close local", "judge close of local"));
}

TEST_F(local_files, the_read_callback_returns_the_count_or_the_abort_mark)
{
    in_transfer(CURLOPT_READFUNCTION, CURLOPT_READDATA, [this](auto read, auto data) {
        std::string buffer(8, '\0');
        files_.content = "abcdefghij";
        EXPECT_EQ(read(buffer.data(), 2, 4, data), 8U) << "size times count";
        EXPECT_EQ(buffer, "abcdefgh");
        EXPECT_EQ(read(buffer.data(), 1, 8, data), 2U);
        EXPECT_EQ(read(buffer.data(), 1, 8, data), 0U);
        files_.read_results = {5L, 0L, -1L, some_failure()};
        EXPECT_EQ(read(buffer.data(), 1, 8, data), 5U);
        EXPECT_EQ(read(buffer.data(), 1, 8, data), 0U);
        EXPECT_EQ(read(buffer.data(), 1, 8, data), 0U);
        EXPECT_EQ(read(buffer.data(), 1, 8, data), std::size_t{0x10000000});
    });
    EXPECT_ERROR_ID(send(), upload_failed());
}

TEST_F(local_files, the_callbacks_copy_the_file_for_each_call_and_keep_no_copy)
{
    in_transfer(CURLOPT_READFUNCTION, CURLOPT_READDATA, [this](auto read, auto data) {
        const auto before = files_.open_copies();
        char byte = 0;
        read(&byte, 1, 1, data);
        EXPECT_EQ(files_.open_copies(), before);
        EXPECT_EQ(before, 1);
    });
    EXPECT_ANY_THROW(send());
    EXPECT_EQ(files_.open_copies(), 0);
}

// Writing

TEST_F(local_files, a_failed_write_fails_the_download_with_the_reply)
{
    files_.write_results = {some_failure()};
    recorder_.answer({{.reply = 426, .body = {"abc", "never written"}}, {}});
    EXPECT_ERROR_ID(receive(), id_of<ids::FTPError>(426LL));
    EXPECT_THAT(files_.calls(), testing::ElementsAre("open to write local", "write 3",
                                                     "close local", "judge close of local"));
}

TEST_F(local_files, the_write_callback_returns_the_count_or_0)
{
    in_transfer(CURLOPT_WRITEFUNCTION, CURLOPT_WRITEDATA, [this](auto write, auto data) {
        std::string bytes = "abcdef";
        EXPECT_EQ(write(bytes.data(), 2, 3, data), 6U) << "size times count";
        EXPECT_EQ(files_.content, "abcdef");
        files_.write_results = {4L, some_failure()};
        EXPECT_EQ(write(bytes.data(), 1, 6, data), 4U);
        EXPECT_EQ(write(bytes.data(), 1, 6, data), 0U);
    });
    EXPECT_ERROR_ID(receive(), id_of<ids::FTPError>(226LL));
}

TEST_F(local_files, a_short_write_fails_the_download)
{
    files_.write_results = {2L};
    recorder_.answer({{.reply = 226, .body = {"abc"}}, {}});
    EXPECT_ERROR_ID(receive(), id_of<ids::FTPError>(226LL));
}

// Closing

class closing_fails : public local_files {
protected:
    closing_fails()
    {
        files_.close_result =
            std::make_exception_ptr(error<file_ids::CloseFailed>(file_closing_failed()));
    }
};

TEST_F(closing_fails, a_file_that_cannot_be_closed_fails_a_good_upload)
{
    EXPECT_ERROR_ID(send(), file_closing_failed());
}

TEST_F(closing_fails, the_closing_outranks_a_failed_upload)
{
    recorder_.answer({{.code = CURLE_UPLOAD_FAILED, .reply = 553}, {}});
    EXPECT_ERROR_ID(send(), file_closing_failed());
}

TEST_F(closing_fails, a_file_that_cannot_be_closed_fails_a_good_download)
{
    EXPECT_ERROR_ID(receive(), file_closing_failed());
}

TEST_F(closing_fails, the_closing_outranks_a_failed_download)
{
    recorder_.answer({{.code = CURLE_REMOTE_FILE_NOT_FOUND, .reply = 550}, {}});
    EXPECT_ERROR_ID(receive(), file_closing_failed());
}

// Opening

error<ids::PermissionDenied> refusal()
{
    return error<ids::PermissionDenied>(id_of<ids::PermissionDenied>(std::u16string(u"inner")));
}

auto not_found()
{
    return id_of<ids::NotFound>(std::u16string(u"local"));
}

class opening_fails : public local_files {
protected:
    /// What is logged when `failure` keeps the local file from being opened.
    lines logged(const std::function<void()>& failure, unsigned levels = 1 | 4 | 8 | 256)
    {
        files_.before_open = failure;
        const log_recorder log(getLogger(), levels);
        EXPECT_ANY_THROW(send());
        return log.lines();
    }
};

TEST_F(opening_fails, refused_access_is_permission_denied_with_the_local_path)
{
    files_.before_open = [] { throw refusal(); };
    EXPECT_ERROR_ID(send(), id_of<ids::PermissionDenied>(std::u16string(u"local")));
    EXPECT_THROW(send(), error<ids::PermissionDenied>);
}

TEST_F(opening_fails, refused_access_while_sizing_is_permission_denied_too)
{
    files_.before_size = [] { throw refusal(); };
    EXPECT_ERROR_ID(send(), id_of<ids::PermissionDenied>(std::u16string(u"local")));
    EXPECT_EQ(files_.open_copies(), 0) << "the open file is released";
}

TEST_F(opening_fails, refused_access_writes_no_diagnostic_record)
{
    EXPECT_EQ(logged([] { throw refusal(); }), lines{});
}

TEST_F(opening_fails, any_other_refusal_reads_as_a_missing_file)
{
    const std::vector<std::function<void()>> failures{
        [] { throw std::runtime_error("no such file"); },
        [] {
            throw error<file_ids::NoSuchFile>(
                id_of<file_ids::NoSuchFile>(std::u16string(u"local")));
        },
        [] {
            throw error<file_ids::NotRegularFile>(
                id_of<file_ids::NotRegularFile>(std::u16string(u"local")));
        },
        [] { throw 1; }};
    for (const auto& failure : failures) {
        files_.before_open = failure;
        EXPECT_ERROR_ID(send(), not_found());
    }
}

TEST_F(opening_fails, a_file_that_cannot_be_sized_reads_as_missing)
{
    files_.before_size = [] { throw std::runtime_error("gone"); };
    EXPECT_ERROR_ID(send(), not_found());
    EXPECT_EQ(files_.open_copies(), 0);
    EXPECT_EQ(recorder_.value_of(CURLOPT_UPLOAD), "untouched");
}

TEST_F(opening_fails, the_reason_is_logged_at_level_8)
{
    const auto records = logged([] { throw std::runtime_error("the reason"); });
    ASSERT_EQ(records.size(), 1U);
    EXPECT_THAT(records[0], testing::StartsWith("8 "));
    EXPECT_THAT(records[0], testing::HasSubstr("std::runtime_error"));
    EXPECT_THAT(records[0], testing::HasSubstr("std::exception::what: the reason"));
}

TEST_F(opening_fails, what_is_no_exception_class_has_no_diagnostic_information)
{
    EXPECT_EQ(logged([] { throw 1; }), lines{"8 No diagnostic information available."});
}

TEST_F(opening_fails, with_level_8_disabled_no_reason_is_logged)
{
    EXPECT_EQ(logged([] { throw std::runtime_error("the reason"); }, 1 | 4 | 256), lines{});
}

TEST_F(opening_fails, a_download_passes_every_failure_on_unchanged)
{
    files_.before_open = [] { throw refusal(); };
    EXPECT_ERROR_ID(receive(), id_of<ids::PermissionDenied>(std::u16string(u"inner")));
    files_.before_open = [] { throw 1; };
    EXPECT_THROW(receive(), int);
}

} // namespace
} // namespace tarnix::test
