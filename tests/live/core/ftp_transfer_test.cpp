#include "ftp_flavours.hpp"
#include "transfer_cases.hpp"

#include <support/identifier_matchers.hpp>

#include <fl/i18n/ustring_conversion.hpp>

#include <gmock/gmock.h>

#include <filesystem>

using namespace tarnix::test;
using testing::Contains;
using testing::Not;

namespace fs = std::filesystem;

namespace {

class FtpTransferTest : public connected_ftp {
protected:
    void TearDown() override { EXPECT_EQ(core::pwd(session()), root()); }
};

INSTANTIATE_TEST_SUITE_P(Vsftpd, FtpTransferTest, all_ftp_flavours, name_of_flavour);

TEST_P(FtpTransferTest, binary_upload_and_download_keep_every_byte)
{
    expect_all_bytes_kept(session(), root(), local());
    EXPECT_THAT(commands_received(server()), Contains("TYPE I"));
}

TEST_P(FtpTransferTest, empty_file)
{
    expect_empty_file_kept(session(), root(), local());
}

TEST_P(FtpTransferTest, text_goes_with_the_line_ends_of_each_side)
{
    const std::string lines = "first\nsecond\n\nlast";
    const auto original = write_bytes(local() / "original", lines);
    core::send_file(session(), original.u16string(), u"remote", as_text);
    EXPECT_EQ(read_bytes(root() / "remote"), lines);
    const auto copy = local() / "copy";
    core::receive_file(session(), u"remote", copy.u16string(), as_text);
    EXPECT_EQ(read_bytes(copy), lines);
    EXPECT_THAT(commands_received(server()), Not(Contains("TYPE I")));
}

TEST_P(FtpTransferTest, text_download_makes_line_feeds_of_all_line_ends)
{
    write_bytes(root() / "remote", "dos\r\nmac\runix\n");
    const auto copy = local() / "copy";
    core::receive_file(session(), u"remote", copy.u16string(), as_text);
    EXPECT_EQ(read_bytes(copy), "dos\nmac\nunix\n");
}

TEST_P(FtpTransferTest, binary_download_keeps_line_ends)
{
    write_bytes(root() / "remote", "dos\r\nmac\runix\n");
    const auto copy = local() / "copy";
    core::receive_file(session(), u"remote", copy.u16string(), binary);
    EXPECT_EQ(read_bytes(copy), "dos\r\nmac\runix\n");
}

TEST_P(FtpTransferTest, a_text_transfer_leaves_the_next_one_binary)
{
    write_bytes(root() / "remote", "a\r\nb");
    const auto copy = local() / "copy";
    core::receive_file(session(), u"remote", copy.u16string(), as_text);
    core::receive_file(session(), u"remote", copy.u16string(), binary);
    EXPECT_EQ(read_bytes(copy), "a\r\nb");
}

TEST_P(FtpTransferTest, names_with_blanks_and_other_letters)
{
    const auto original = write_bytes(local() / "das Original ✓", "content");
    for (const std::u16string name : {u"two words", u"größer", u"50%41", u"a#b?c", u"𝄞"}) {
        core::send_file(session(), original.u16string(), name, binary);
        EXPECT_EQ(read_bytes(root() / name), "content");
        const auto copy = local() / "die Kopie ✓";
        core::receive_file(session(), name, copy.u16string(), binary);
        EXPECT_EQ(read_bytes(copy), "content");
        fs::remove(copy);
    }
}

TEST_P(FtpTransferTest, names_in_other_folders)
{
    make_folder(root() / "a" / "b");
    const auto original = write_bytes(local() / "original", "content");
    core::send_file(session(), original.u16string(), u"a/b/relative", binary);
    const auto absolute = root() / "a" / "absolute";
    core::send_file(session(), original.u16string(), absolute.u16string(), binary);
    EXPECT_EQ(read_bytes(root() / "a" / "b" / "relative"), "content");
    EXPECT_EQ(read_bytes(absolute), "content");
    const auto copy = local() / "copy";
    core::receive_file(session(), absolute.u16string(), copy.u16string(), binary);
    EXPECT_EQ(read_bytes(copy), "content");
}

TEST_P(FtpTransferTest, upload_replaces_a_longer_file)
{
    const auto original = write_bytes(local() / "original", "new");
    core::send_file(session(), write_bytes(local() / "old", "old and longer").u16string(),
                    u"remote", binary);
    core::send_file(session(), original.u16string(), u"remote", binary);
    EXPECT_EQ(read_bytes(root() / "remote"), "new");
}

TEST_P(FtpTransferTest, missing_local_file_is_not_found_and_nothing_is_sent)
{
    const auto missing = (local() / "missing").u16string();
    EXPECT_ERROR_ID(core::send_file(session(), missing, u"remote", binary),
                    id_of<ids::NotFound>(missing));
    EXPECT_FALSE(fs::exists(root() / "remote"));
}

TEST_P(FtpTransferTest, refused_upload_failed)
{
    make_folder(root() / "locked");
    fs::permissions(root() / "locked", fs::perms(0555));
    const auto original = write_bytes(local() / "original", "content").u16string();
    for (const std::u16string name : {u"missing/remote", u"locked/remote", u"locked"})
        EXPECT_ERROR_ID(core::send_file(session(), original, name, binary),
                        id_of<ids::UploadFailed>(original));
}

TEST_P(FtpTransferTest, missing_remote_file_is_unavailable_and_leaves_an_empty_one)
{
    for (const bool mode : {binary, as_text}) {
        const auto copy = write_bytes(local() / "copy", "old content");
        EXPECT_ERROR_ID(core::receive_file(session(), u"missing file", copy.u16string(), mode),
                        id_of<ids::FileUnavailable>(u"missing file"));
        EXPECT_EQ(read_bytes(copy), "");
    }
}

TEST_P(FtpTransferTest, remote_folder_and_closed_file_are_unavailable)
{
    make_folder(root() / "folder");
    fs::permissions(write_bytes(root() / "closed", "x"), fs::perms::none);
    const auto copy = (local() / "copy").u16string();
    for (const std::u16string name : {u"folder", u"closed"})
        EXPECT_ERROR_ID(core::receive_file(session(), name, copy, binary),
                        id_of<ids::FileUnavailable>(name));
}

TEST_P(FtpTransferTest, local_file_that_cannot_be_made_is_the_file_layers_error)
{
    write_bytes(root() / "remote", "content");
    const auto copy = (local() / "missing" / "copy").u16string();
    EXPECT_THROW(core::receive_file(session(), u"remote", copy, binary),
                 foundation::core::except::IMsgIDException);
}

} // namespace
