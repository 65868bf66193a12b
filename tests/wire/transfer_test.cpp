#include "wire_test.hpp"

#include <support/temporary_folder.hpp>

#include <filesystem>

namespace tarnix::test {

namespace {

using std::string_literals::operator""s;

class TransferTest : public WireTest {
protected:
    void SetUp() override { start_session(); }

    std::u16string local(const std::string& name) const { return (local_ / name).u16string(); }
    std::u16string make_local(const std::string& name, const std::string& content) const
    {
        return write_bytes(local_ / name, content).u16string();
    }
    std::string read_local(const std::string& name) const { return read_bytes(local_ / name); }

private:
    temporary_folder local_;
};

const auto binary_bytes = "a\r\nb\nc\rd\0e\xff"s;

// Uploads

TEST_F(TransferTest, upload_is_binary_byte_for_byte)
{
    send_file(session(), make_local("f", binary_bytes), u"up.bin", false);
    EXPECT_THAT(server().received(), ElementsAre("EPSV", "TYPE I", "STOR up.bin"));
    EXPECT_THAT(server().received_data(), ElementsAre(binary_bytes));
    EXPECT_EQ(server().tree().read("/home/u/up.bin"), binary_bytes);
    expect_usable_session();
}

TEST_F(TransferTest, upload_as_text_converts_line_ends)
{
    send_file(session(), make_local("f", "one\ntwo\n"), u"up.txt", true);
    EXPECT_THAT(server().received(), ElementsAre("EPSV", "TYPE A", "STOR up.txt"));
    EXPECT_THAT(server().received_data(), ElementsAre("one\r\ntwo\r\n"));
    expect_usable_session();
}

TEST_F(TransferTest, text_mode_is_over_after_the_transfer)
{
    send_file(session(), make_local("f", "one\n"), u"t", true);
    send_file(session(), make_local("f", "one\n"), u"b", false);
    EXPECT_THAT(server().received_data(), ElementsAre("one\r\n", "one\n"));
    EXPECT_THAT(server().received(),
                ElementsAre("EPSV", "TYPE A", "STOR t", "EPSV", "TYPE I", "STOR b"));
}

TEST_F(TransferTest, second_upload_needs_no_type)
{
    const auto file = make_local("f", "x");
    send_file(session(), file, u"1", false);
    send_file(session(), file, u"2", false);
    EXPECT_THAT(server().received(), ElementsAre("EPSV", "TYPE I", "STOR 1", "EPSV", "STOR 2"));
}

TEST_F(TransferTest, empty_file_is_uploaded_as_an_empty_file)
{
    for (const bool text_mode : {false, true}) {
        send_file(session(), make_local("f", ""), u"empty", text_mode);
        EXPECT_EQ(server().tree().read("/home/u/empty"), "");
        ASSERT_TRUE(server().tree().remove_file("/home/u/empty"));
    }
    EXPECT_THAT(server().received_data(), ElementsAre("", ""));
    expect_usable_session();
}

TEST_F(TransferTest, large_upload_arrives_whole)
{
    std::string bytes;
    for (int number = 0; bytes.size() < 3'000'000; ++number)
        bytes += std::to_string(number);
    send_file(session(), make_local("f", bytes), u"large", false);
    EXPECT_TRUE(server().tree().read("/home/u/large") == bytes);
}

TEST_F(TransferTest, upload_to_an_absolute_path_goes_there_and_back)
{
    server().tree().add_folder("/srv/in box");
    send_file(session(), make_local("f", "x"), u"/srv/in box/up", false);
    EXPECT_EQ(server().received(),
              sent("CWD /", "CWD srv", "CWD in box", "EPSV", "TYPE I", "STOR up") + home_levels());
    EXPECT_EQ(server().tree().read("/srv/in box/up"), "x");
    expect_usable_session();
}

TEST_F(TransferTest, upload_into_a_relative_folder_goes_there_and_back)
{
    server().tree().add_folder("/home/u/sub");
    send_file(session(), make_local("f", "x"), u"sub/up", false);
    EXPECT_EQ(server().received(),
              home_levels() + sent("CWD sub", "EPSV", "TYPE I", "STOR up") + home_levels());
    expect_usable_session();
}

TEST_F(TransferTest, names_of_all_kinds_reach_the_server)
{
    const auto file = make_local("f", "x");
    send_file(session(), file, u"100%.txt", false);
    send_file(session(), file, u"a b#c?d;type=i", false);
    send_file(session(), file, u"gr\u00fc\u00dfe \U0001F600", false);
    EXPECT_THAT(server().tree().names("/home/u"),
                testing::UnorderedElementsAre("100%.txt", "a b#c?d;type=i",
                                              "gr\xc3\xbc\xc3\x9f"
                                              "e \xf0\x9f\x98\x80"));
    receive_file(session(), u"gr\u00fc\u00dfe \U0001F600", local("back"), false);
    EXPECT_EQ(read_local("back"), "x");
    expect_usable_session();
}

struct upload_row : test_row {
    std::string word;
    int reply;
    lines commands;
};

class UploadReplyTest : public TransferTest, public testing::WithParamInterface<upload_row> {};

TEST_P(UploadReplyTest, refusal_raises_upload_failed_with_the_local_path)
{
    const auto file = make_local("f", "content");
    server().reply_to(GetParam().word, GetParam().reply, "refused");
    EXPECT_ERROR_ID(send_file(session(), file, u"up", false), id_of<ids::UploadFailed>(file));
    EXPECT_EQ(server().received(), GetParam().commands);
    expect_usable_session();
}

INSTANTIATE_TEST_SUITE_P(
    Replies, UploadReplyTest,
    testing::Values(upload_row{{"not_available"}, "STOR", 550, {"EPSV", "TYPE I", "STOR up"}},
                    upload_row{{"bad_name"}, "STOR", 553, {"EPSV", "TYPE I", "STOR up"}},
                    upload_row{{"no_space"}, "STOR", 452, {"EPSV", "TYPE I", "STOR up"}},
                    upload_row{{"no_data_connection"}, "STOR", 425, {"EPSV", "TYPE I", "STOR up"}},
                    upload_row{{"unknown_type"}, "TYPE", 504, {"EPSV", "TYPE I"}}),
    label_of<upload_row>);

class UploadEndTest : public TransferTest, public testing::WithParamInterface<int> {};

TEST_P(UploadEndTest, bad_end_raises_upload_failed)
{
    const auto file = make_local("f", "content");
    server().reply_to(scripted_server::end_of("STOR"), GetParam(), "sorry");
    EXPECT_ERROR_ID(send_file(session(), file, u"up", false), id_of<ids::UploadFailed>(file));
    EXPECT_THAT(server().received_data(), ElementsAre("content"));
    expect_usable_session();
}

INSTANTIATE_TEST_SUITE_P(Replies, UploadEndTest, testing::Values(426, 451, 552));

TEST_F(TransferTest, upload_on_a_connection_that_dies_raises_upload_failed)
{
    const auto file = make_local("f", "content");
    server().close_on("STOR");
    EXPECT_ERROR_ID(send_file(session(), file, u"up", false), id_of<ids::UploadFailed>(file));
    EXPECT_EQ(server().received(), sent("EPSV", "TYPE I", "STOR up") + login_again());
    expect_usable_session();
}

TEST_F(TransferTest, upload_into_a_missing_folder_raises_upload_failed)
{
    const auto file = make_local("f", "content");
    EXPECT_ERROR_ID(send_file(session(), file, u"missing/up", false),
                    id_of<ids::UploadFailed>(file));
    EXPECT_EQ(server().received(), home_levels() + sent("CWD missing") + home_levels());
    expect_usable_session();
}

TEST_F(TransferTest, upload_of_a_missing_file_raises_not_found_and_sends_nothing)
{
    EXPECT_ERROR_ID(send_file(session(), local("missing"), u"up", false),
                    id_of<ids::NotFound>(local("missing")));
    EXPECT_THAT(server().received(), IsEmpty());
    expect_usable_session();
}

TEST_F(TransferTest, upload_of_a_folder_raises_not_found)
{
    std::filesystem::create_directory(local("folder"));
    EXPECT_ERROR_ID(send_file(session(), local("folder"), u"up", false),
                    id_of<ids::NotFound>(local("folder")));
    EXPECT_THAT(server().received(), IsEmpty());
}

TEST_F(TransferTest, upload_after_a_dropped_connection_goes_to_the_working_folder)
{
    server().tree().add_folder("/home/u/sub");
    cd(session(), std::string(home_url) + "sub");
    server().take_received();
    server().drop_connections();
    send_file(session(), make_local("f", "x"), u"up", false);
    EXPECT_EQ(server().received(),
              login() + home_levels() + sent("CWD sub", "EPSV", "TYPE I", "STOR up"));
    EXPECT_EQ(server().tree().read("/home/u/sub/up"), "x");
}

TEST_F(TransferTest, line_end_in_a_remote_name_is_refused_and_begins_no_command)
{
    const auto file = make_local("f", "x");
    EXPECT_ERROR_ID(send_file(session(), file, u"a\r\nDELE f", false),
                    id_of<ids::UploadFailed>(file));
    EXPECT_EQ(server().received(), login_again());
    expect_usable_session();
}

// Downloads

TEST_F(TransferTest, download_is_binary_byte_for_byte)
{
    server().tree().add_file("/home/u/f", binary_bytes);
    receive_file(session(), u"f", local("down"), false);
    EXPECT_THAT(server().received(), ElementsAre("EPSV", "TYPE I", "SIZE f", "RETR f"));
    EXPECT_EQ(read_local("down"), binary_bytes);
    expect_usable_session();
}

TEST_F(TransferTest, download_as_text_asks_no_size_and_converts_line_ends)
{
    server().tree().add_file("/home/u/f", "one\ntwo\n");
    receive_file(session(), u"f", local("down"), true);
    EXPECT_THAT(server().received(), ElementsAre("EPSV", "TYPE A", "RETR f"));
    EXPECT_EQ(read_local("down"), "one\ntwo\n");
    expect_usable_session();
}

/// libcurl 7.88 remembers on the handle that a text ended in a carriage return.
TEST_F(TransferTest, line_feed_that_begins_a_text_is_lost_after_a_text_that_ended_in_a_return)
{
    server().tree().add_file("/home/u/first", "one\r");
    server().tree().add_file("/home/u/second", "\ntwo\n");
    // As servers do that convert nothing in text mode.
    server().reply_to("TYPE", 200, "So be it.");
    const auto arrives = [&](const std::u16string& name) {
        receive_file(session(), name, local("down"), true);
        return read_local("down");
    };
    EXPECT_EQ(arrives(u"second"), "\ntwo\n");
    EXPECT_EQ(arrives(u"first"), "one\n");
    EXPECT_EQ(arrives(u"second"), "two\n");
    EXPECT_EQ(arrives(u"second"), "\ntwo\n");
}

TEST_F(TransferTest, download_replaces_what_the_local_file_held)
{
    server().tree().add_file("/home/u/f", "new");
    make_local("down", "what was there before");
    receive_file(session(), u"f", local("down"), false);
    EXPECT_EQ(read_local("down"), "new");
}

TEST_F(TransferTest, empty_file_is_downloaded_as_an_empty_file)
{
    server().tree().add_file("/home/u/f", "");
    for (const bool text_mode : {false, true}) {
        const auto target = text_mode ? "text" : "binary";
        receive_file(session(), u"f", local(target), text_mode);
        EXPECT_EQ(read_local(target), "");
    }
    expect_usable_session();
}

TEST_F(TransferTest, large_download_arrives_whole)
{
    std::string bytes;
    for (int number = 0; bytes.size() < 3'000'000; ++number)
        bytes += std::to_string(number);
    server().tree().add_file("/home/u/large", bytes);
    receive_file(session(), u"large", local("down"), false);
    EXPECT_TRUE(read_local("down") == bytes);
}

TEST_F(TransferTest, download_reads_no_further_than_to_the_size_that_the_server_told)
{
    server().tree().add_file("/home/u/f", "grown since");
    server().reply_to("SIZE", 213, "5");
    receive_file(session(), u"f", local("f"), false);
    EXPECT_EQ(read_local("f"), "grown");
}

TEST_F(TransferTest, download_of_a_path_that_names_a_folder_is_its_listing)
{
    server().tree().add_file("/home/u/sub/f", "x");
    for (const std::u16string path : {u"sub/", u"sub/.", u"", u"/"}) {
        receive_file(session(), path, local("listing"), false);
        EXPECT_THAT(server().received(), testing::Contains("LIST"));
        EXPECT_NE(read_local("listing"), "");
    }
}

TEST_F(TransferTest, download_from_an_absolute_path_goes_there_and_back)
{
    server().tree().add_file("/srv/my data/100%", "x");
    receive_file(session(), u"/srv/my data/100%", local("down"), false);
    EXPECT_EQ(server().received(),
              sent("CWD /", "CWD srv", "CWD my data", "EPSV", "TYPE I", "SIZE 100%", "RETR 100%") +
                  home_levels());
    EXPECT_EQ(read_local("down"), "x");
    expect_usable_session();
}

TEST_F(TransferTest, missing_file_raises_file_unavailable_and_leaves_an_empty_local_file)
{
    EXPECT_ERROR_ID(receive_file(session(), u"miss ing", local("down"), false),
                    id_of<ids::FileUnavailable>(u"miss ing"));
    EXPECT_EQ(read_local("down"), "");
    EXPECT_THAT(server().received(), ElementsAre("EPSV", "TYPE I", "SIZE miss ing"));
    expect_usable_session();
}

TEST_F(TransferTest, missing_file_in_text_mode_is_refused_by_the_transfer_itself)
{
    EXPECT_ERROR_ID(receive_file(session(), u"missing", local("down"), true),
                    id_of<ids::FileUnavailable>(u"missing"));
    EXPECT_THAT(server().received(), ElementsAre("EPSV", "TYPE A", "RETR missing"));
    expect_usable_session();
}

TEST_F(TransferTest, server_without_size_serves_downloads)
{
    server().tree().add_file("/home/u/f", "content");
    server().reply_to("SIZE", 500, "What?");
    receive_file(session(), u"f", local("down"), false);
    EXPECT_EQ(read_local("down"), "content");
}

struct download_row : test_row {
    std::string word;
    int reply;
    resource_core::BaseMsgID id;
};

class DownloadReplyTest : public TransferTest, public testing::WithParamInterface<download_row> {};

TEST_P(DownloadReplyTest, refusal_raises_the_mapped_identifier)
{
    server().tree().add_file("/home/u/f", "content");
    server().reply_to(GetParam().word, GetParam().reply, "refused");
    EXPECT_ERROR_ID(receive_file(session(), u"f", local("down"), false), GetParam().id);
    EXPECT_EQ(read_local("down"), "");
    expect_usable_session();
}

INSTANTIATE_TEST_SUITE_P(
    Replies, DownloadReplyTest,
    testing::Values(download_row{{"not_available"}, "RETR", 550, id_of<ids::FileUnavailable>(u"f")},
                    download_row{{"busy"}, "RETR", 450, id_of<ids::FTPError>(450)},
                    download_row{{"local_error"}, "RETR", 451, id_of<ids::FTPError>(451)},
                    download_row{{"no_data_connection"}, "RETR", 425, id_of<ids::FTPError>(425)},
                    download_row{{"not_logged_in"}, "RETR", 530, id_of<ids::FTPError>(530)},
                    download_row{{"bad_name"}, "RETR", 553, id_of<ids::FTPError>(553)},
                    download_row{{"unknown_type"}, "TYPE", 504, id_of<ids::FTPError>(504)}),
    label_of<download_row>);

TEST_F(TransferTest, download_without_passive_mode_raises_the_reply)
{
    server().tree().add_file("/home/u/f", "content");
    server().reply_to("EPSV", 500, "refused");
    server().reply_to("PASV", 502, "refused");
    EXPECT_ERROR_ID(receive_file(session(), u"f", local("down"), false), id_of<ids::FTPError>(502));
    expect_usable_session();
}

class DownloadEndTest : public TransferTest, public testing::WithParamInterface<int> {};

TEST_P(DownloadEndTest, bad_end_raises_the_reply_and_keeps_what_arrived)
{
    server().tree().add_file("/home/u/f", "content");
    server().reply_to(scripted_server::end_of("RETR"), GetParam(), "sorry");
    EXPECT_ERROR_ID(receive_file(session(), u"f", local("down"), false),
                    id_of<ids::FTPError>(GetParam()));
    EXPECT_EQ(read_local("down"), "content");
    expect_usable_session();
}

INSTANTIATE_TEST_SUITE_P(Replies, DownloadEndTest, testing::Values(426, 451));

TEST_F(TransferTest, download_that_ends_with_550_raises_file_unavailable)
{
    server().tree().add_file("/home/u/f", "content");
    server().reply_to(scripted_server::end_of("RETR"), 550, "sorry");
    EXPECT_ERROR_ID(receive_file(session(), u"f", local("down"), false),
                    id_of<ids::FileUnavailable>(u"f"));
    expect_usable_session();
}

TEST_F(TransferTest, download_that_breaks_off_keeps_what_arrived_and_raises_the_reply_before)
{
    // libcurl misses bytes that SIZE announced and no longer waits for the reply at the end.
    server().tree().add_file("/home/u/f", "content");
    server().pace_data({.piece = 1, .gap = std::chrono::milliseconds(0), .cut_after = 3});
    EXPECT_ERROR_ID(receive_file(session(), u"f", local("down"), false), id_of<ids::FTPError>(150));
    EXPECT_EQ(read_local("down"), "con");
    expect_usable_session();
}

TEST_F(TransferTest, download_on_a_connection_that_dies_raises_the_reply_code_0)
{
    server().tree().add_file("/home/u/f", "content");
    server().close_on("RETR");
    EXPECT_ERROR_ID(receive_file(session(), u"f", local("down"), false), id_of<ids::FTPError>(0));
    EXPECT_EQ(server().received(), sent("EPSV", "TYPE I", "SIZE f", "RETR f") + login_again());
    expect_usable_session();
}

TEST_F(TransferTest, download_from_a_missing_folder_raises_file_unavailable)
{
    EXPECT_ERROR_ID(receive_file(session(), u"missing/f", local("down"), false),
                    id_of<ids::FileUnavailable>(u"missing/f"));
    EXPECT_EQ(server().received(), home_levels() + sent("CWD missing") + home_levels());
    expect_usable_session();
}

TEST_F(TransferTest, local_file_that_cannot_be_made_raises_the_file_layers_error)
{
    server().tree().add_file("/home/u/f", "content");
    const auto nowhere = local("missing/down");
    EXPECT_ERROR_ID(receive_file(session(), u"f", nowhere, false),
                    id_of<TARNIX::io::common::file::NoSuchFile>(nowhere));
    EXPECT_THAT(server().received(), IsEmpty());
    expect_usable_session();
}

TEST_F(TransferTest, transfers_go_through_without_another_login)
{
    server().tree().add_file("/home/u/f", "content");
    receive_file(session(), u"f", local("down"), false);
    send_file(session(), local("down"), u"g", false);
    receive_file(session(), u"g", local("again"), true);
    EXPECT_EQ(read_local("again"), "content");
    EXPECT_THAT(server().received(), testing::Not(testing::Contains("USER u")));
}

} // namespace

} // namespace tarnix::test
