#include "session.hpp"

#include <support/fake_files.hpp>

#include <memory>
#include <stdexcept>

namespace tarnix::test {
namespace {

class transfer_options : public scripted_session {
protected:
    static constexpr auto home = "ftp://server/home/u/";

    static transcript uploading(const std::string& url, const std::string& mode,
                                const std::string& size)
    {
        return steps({{"URL=" + url, "CRLF=" + mode, "TRANSFERTEXT=" + mode, "READDATA=set",
                       "READFUNCTION=set", "UPLOAD=1", "INFILESIZE_LARGE=" + size, "perform",
                       "INFILESIZE_LARGE=-1", "UPLOAD=0", "READFUNCTION=fread", "READDATA=stdin",
                       "TRANSFERTEXT=0", "CRLF=0"},
                      moving_to(home)});
    }

    static transcript downloading(const std::string& url, const std::string& mode)
    {
        return steps({{"URL=" + url, "CRLF=" + mode, "TRANSFERTEXT=" + mode, "WRITEFUNCTION=set",
                       "WRITEDATA=set", "perform", "WRITEDATA=fwrite", "WRITEFUNCTION=null",
                       "TRANSFERTEXT=0", "CRLF=0"},
                      moving_to(home)});
    }

    fake_files files_;
};

// Upload

TEST_F(transfer_options, upload_in_binary_mode_sets_both_text_options_to_0)
{
    files_.content = "a\r\nb";
    recorder_.answer({{.reply = 226}, {.reply = 250}});
    send_file(handle_, u"local", u"my data", false);
    EXPECT_EQ(recorder_.take(), uploading("ftp://server/home/u/my%20data", "0", "4"));
    EXPECT_EQ(recorder_.uploaded(), "a\r\nb");
}

TEST_F(transfer_options, upload_in_text_mode_sets_both_text_options_to_1)
{
    files_.content = "a\nb";
    send_file(handle_, u"local", u"/pub/x", true);
    EXPECT_EQ(recorder_.take(), uploading("ftp://server//pub/x", "1", "3"));
}

TEST_F(transfer_options, upload_of_an_empty_file_announces_size_0)
{
    send_file(handle_, u"local", u"x", false);
    EXPECT_EQ(recorder_.take(), uploading("ftp://server/home/u/x", "0", "0"));
    EXPECT_EQ(recorder_.uploaded(), "");
}

TEST_F(transfer_options, upload_announces_a_size_beyond_4_gibibytes)
{
    files_.size = std::size_t{5} << 30;
    send_file(handle_, u"local", u"x", false);
    EXPECT_EQ(recorder_.take(), uploading("ftp://server/home/u/x", "0", "5368709120"));
}

TEST_F(transfer_options, after_an_upload_reading_is_from_standard_input_by_fread_again)
{
    send_file(handle_, u"local", u"x", true);
    EXPECT_EQ(recorder_.value_of(CURLOPT_READDATA), "stdin");
    EXPECT_EQ(recorder_.value_of(CURLOPT_READFUNCTION), "fread");
    EXPECT_EQ(recorder_.value_of(CURLOPT_UPLOAD), "0");
    EXPECT_EQ(recorder_.value_of(CURLOPT_INFILESIZE_LARGE), "-1");
    EXPECT_EQ(recorder_.value_of(CURLOPT_CRLF), "0");
    EXPECT_EQ(recorder_.value_of(CURLOPT_TRANSFERTEXT), "0");
}

TEST_F(transfer_options, upload_converts_the_remote_name_to_utf_8)
{
    send_file(handle_, u"local", u"gr\u00fc\u00df", false);
    EXPECT_EQ(recorder_.take().front(), "URL=ftp://server/home/u/gr%C3%BC%C3%9F");
}

TEST_F(transfer_options, upload_closes_the_file_after_options_and_folder_are_back)
{
    transcript before_closing;
    files_.on_close = [&] { before_closing = recorder_.take(); };
    send_file(handle_, u"local", u"x", false);
    EXPECT_EQ(before_closing, uploading("ftp://server/home/u/x", "0", "0"));
    EXPECT_EQ(recorder_.take_all(), transcript{});
}

TEST_F(transfer_options, upload_opens_sizes_reads_closes_and_judges_the_closing)
{
    files_.content = "abc";
    send_file(handle_, u"local", u"x", false);
    EXPECT_EQ(files_.calls(), (transcript{"open to read local", "size of local", "read 16",
                                          "read 16", "close local", "judge close of local"}));
    EXPECT_EQ(files_.open_copies(), 0);
}

TEST_F(transfer_options, a_failed_upload_raises_with_the_local_path)
{
    recorder_.answer({{.code = CURLE_UPLOAD_FAILED, .reply = 553}, {}});
    EXPECT_ERROR_ID(send_file(handle_, u"local", u"x", false),
                    id_of<ids::UploadFailed>(std::u16string(u"local")));
    EXPECT_EQ(recorder_.take(), uploading("ftp://server/home/u/x", "0", "0"));
    EXPECT_EQ(files_.calls().back(), "judge close of local");
}

TEST_F(transfer_options, a_missing_local_file_leaves_the_options_unchanged)
{
    files_.before_open = [] { throw std::runtime_error("no such file"); };
    EXPECT_ERROR_ID(send_file(handle_, u"local", u"x", false),
                    id_of<ids::NotFound>(std::u16string(u"local")));
    EXPECT_EQ(recorder_.take(), transcript{});
}

TEST_F(transfer_options, an_upload_on_an_empty_handle_leaves_the_local_file_untouched)
{
    const curl_ptr holder(std::move(handle_));
    EXPECT_ERROR_ID(send_file(handle_, u"local", u"x", false), id_of<ids::InvalidCurlHandle>());
    EXPECT_EQ(files_.calls(), transcript{});
}

TEST_F(transfer_options, a_remote_name_that_is_not_well_formed_raises_before_the_file_is_opened)
{
    const std::u16string lone_surrogate{0xd800};
    EXPECT_THROW(send_file(handle_, u"local", lone_surrogate, false), std::exception);
    EXPECT_THROW(receive_file(handle_, lone_surrogate, u"local", false), std::exception);
    EXPECT_EQ(files_.calls(), transcript{});
    EXPECT_EQ(recorder_.take(), transcript{});
}

// Download

TEST_F(transfer_options, download_in_binary_mode_sets_both_text_options_to_0)
{
    recorder_.answer({{.reply = 226, .body = {"one", "two"}}, {.reply = 250}});
    receive_file(handle_, u"my data", u"local", false);
    EXPECT_EQ(recorder_.take(), downloading("ftp://server/home/u/my%20data", "0"));
    EXPECT_EQ(files_.content, "onetwo");
}

TEST_F(transfer_options, download_in_text_mode_sets_both_text_options_to_1)
{
    receive_file(handle_, u"/pub/x", u"local", true);
    EXPECT_EQ(recorder_.take(), downloading("ftp://server//pub/x", "1"));
}

TEST_F(transfer_options,
       after_a_download_the_writer_is_libcurls_own_and_its_data_the_address_of_fwrite)
{
    receive_file(handle_, u"x", u"local", false);
    EXPECT_EQ(recorder_.value_of(CURLOPT_WRITEFUNCTION), "null");
    EXPECT_EQ(recorder_.value_of(CURLOPT_WRITEDATA), "fwrite");
    EXPECT_EQ(recorder_.value_of(CURLOPT_CRLF), "0");
    EXPECT_EQ(recorder_.value_of(CURLOPT_TRANSFERTEXT), "0");
}

TEST_F(transfer_options, download_opens_writes_closes_and_judges_the_closing)
{
    recorder_.answer({{.body = {"abc", "de"}}, {}});
    receive_file(handle_, u"x", u"local", false);
    EXPECT_EQ(files_.calls(), (transcript{"open to write local", "write 3", "write 2",
                                          "close local", "judge close of local"}));
    EXPECT_EQ(files_.open_copies(), 0);
}

TEST_F(transfer_options, download_creates_the_file_before_any_byte_is_fetched)
{
    files_.before_open = [this] { EXPECT_EQ(recorder_.take(), transcript{}); };
    receive_file(handle_, u"x", u"local", false);
    EXPECT_EQ(files_.calls().front(), "open to write local");
}

TEST_F(transfer_options, download_closes_the_file_after_options_and_folder_are_back)
{
    transcript before_closing;
    files_.on_close = [&] { before_closing = recorder_.take(); };
    receive_file(handle_, u"x", u"local", false);
    EXPECT_EQ(before_closing, downloading("ftp://server/home/u/x", "0"));
    EXPECT_EQ(recorder_.take_all(), transcript{});
}

TEST_F(transfer_options, a_download_refused_with_550_is_an_unavailable_file_and_leaves_it_empty)
{
    recorder_.answer({{.code = CURLE_REMOTE_FILE_NOT_FOUND, .reply = 550}, {.reply = 250}});
    EXPECT_ERROR_ID(receive_file(handle_, u"my data", u"local", false),
                    id_of<ids::FileUnavailable>(std::u16string(u"my data")));
    EXPECT_EQ(files_.content, "");
    EXPECT_EQ(files_.calls(),
              (transcript{"open to write local", "close local", "judge close of local"}));
    EXPECT_EQ(recorder_.take(), downloading("ftp://server/home/u/my%20data", "0"));
}

TEST_F(transfer_options, a_download_that_fails_otherwise_is_an_ftp_error_with_the_reply)
{
    for (const auto reply : {450LL, 426LL, 0LL, 226LL}) {
        recorder_.answer({{.code = CURLE_PARTIAL_FILE, .reply = static_cast<long>(reply)}, {}});
        EXPECT_ERROR_ID(receive_file(handle_, u"x", u"local", false), id_of<ids::FTPError>(reply));
    }
}

TEST_F(transfer_options, a_download_with_code_0_succeeds_whatever_the_reply)
{
    recorder_.answer({{.reply = 550}, {}});
    EXPECT_NO_THROW(receive_file(handle_, u"x", u"local", false));
}

TEST_F(transfer_options, a_partial_download_is_kept)
{
    recorder_.answer({{.code = CURLE_PARTIAL_FILE, .reply = 426, .body = {"half"}}, {}});
    EXPECT_ANY_THROW(receive_file(handle_, u"x", u"local", false));
    EXPECT_EQ(files_.content, "half");
}

TEST_F(transfer_options, a_local_file_that_cannot_be_created_passes_the_file_layers_error_on)
{
    files_.before_open = [] {
        throw error<TARNIX::io::common::file::OpenFailed>(
            id_of<TARNIX::io::common::file::OpenFailed>(std::u16string(u"local"),
                                                        std::string("disk full")));
    };
    EXPECT_ERROR_ID(receive_file(handle_, u"x", u"local", false),
                    id_of<TARNIX::io::common::file::OpenFailed>(std::u16string(u"local"),
                                                                std::string("disk full")));
    EXPECT_EQ(recorder_.take(), transcript{});
}

TEST_F(transfer_options, a_download_on_an_empty_handle_leaves_the_local_file_untouched)
{
    const curl_ptr holder(std::move(handle_));
    EXPECT_ERROR_ID(receive_file(handle_, u"x", u"local", false), id_of<ids::InvalidCurlHandle>());
    EXPECT_EQ(files_.calls(), transcript{});
}

} // namespace
} // namespace tarnix::test
