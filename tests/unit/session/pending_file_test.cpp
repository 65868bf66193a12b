#include "pending_file.hpp"

#include <support/temporary_folder.hpp>
#include <tarnix/ftp/errors.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace tarnix::ftp {
namespace {

namespace fs = std::filesystem;
using test::read_bytes;
using test::write_bytes;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class PendingFileTest : public testing::Test {
protected:
    std::vector<std::string> names() const
    {
        std::vector<std::string> found;
        for (const auto& entry : fs::directory_iterator(folder_.path()))
            found.push_back(entry.path().filename().string());
        return found;
    }

    static void replace(const fs::path& target, std::string_view content)
    {
        pending_file file(target);
        write_bytes(file.path(), content);
        file.commit();
    }

    test::temporary_folder folder_;
};

TEST_F(PendingFileTest, is_gone_without_a_commit)
{
    {
        pending_file file(folder_ / "a");
        write_bytes(file.path(), "half");
        EXPECT_FALSE(fs::exists(folder_ / "a"));
        EXPECT_EQ(file.path().parent_path(), folder_.path());
    }
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(PendingFileTest, has_the_final_name_after_the_commit)
{
    replace(folder_ / "a", "whole");
    EXPECT_THAT(names(), ElementsAre("a"));
    EXPECT_EQ(read_bytes(folder_ / "a"), "whole");
}

TEST_F(PendingFileTest, leaves_the_old_file_until_the_commit)
{
    write_bytes(folder_ / "a", "old");
    {
        pending_file file(folder_ / "a");
        write_bytes(file.path(), "new");
        EXPECT_EQ(read_bytes(folder_ / "a"), "old");
    }
    EXPECT_EQ(read_bytes(folder_ / "a"), "old");
    replace(folder_ / "a", "new");
    EXPECT_EQ(read_bytes(folder_ / "a"), "new");
    EXPECT_THAT(names(), ElementsAre("a"));
}

TEST_F(PendingFileTest, gets_the_permissions_of_the_old_file)
{
    write_bytes(folder_ / "a", "old");
    fs::permissions(folder_ / "a", fs::perms::owner_read | fs::perms::owner_write);
    pending_file file(folder_ / "a");
    file.commit();
    EXPECT_EQ(fs::status(folder_ / "a").permissions(),
              fs::perms::owner_read | fs::perms::owner_write);
}

TEST_F(PendingFileTest, keeps_owner_and_group_where_it_may)
{
    write_bytes(folder_ / "a", "old");
    fs::permissions(folder_ / "a", fs::perms::owner_write | fs::perms::group_all);
    // Only root may give a file away; for anybody else it is theirs already.
    const auto is_root = ::geteuid() == 0;
    ASSERT_EQ(
        ::chown((folder_ / "a").c_str(), is_root ? 1 : ::geteuid(), is_root ? 2 : ::getegid()), 0);
    struct stat before {};
    ASSERT_EQ(::stat((folder_ / "a").c_str(), &before), 0);
    pending_file file(folder_ / "a");
    file.commit();
    struct stat after {};
    ASSERT_EQ(::stat((folder_ / "a").c_str(), &after), 0);
    EXPECT_EQ(after.st_uid, before.st_uid);
    EXPECT_EQ(after.st_gid, before.st_gid);
    EXPECT_EQ(after.st_mode, before.st_mode);
}

TEST_F(PendingFileTest, keeps_the_access_control_list)
{
    write_bytes(folder_ / "a", "old");
    fs::permissions(folder_ / "a", fs::perms::owner_read | fs::perms::owner_write);
    // Version 2; owner rw, user 1234 rw, group none, mask rw, others none.
    constexpr std::string_view list("\x02\0\0\0"
                                    "\x01\0\x06\0\xFF\xFF\xFF\xFF"
                                    "\x02\0\x06\0\xD2\x04\0\0"
                                    "\x04\0\0\0\xFF\xFF\xFF\xFF"
                                    "\x10\0\x06\0\xFF\xFF\xFF\xFF"
                                    "\x20\0\0\0\xFF\xFF\xFF\xFF",
                                    44);
    constexpr auto name = "system.posix_acl_access";
    const auto path = (folder_ / "a").string();
    ASSERT_EQ(::setxattr(path.c_str(), name, list.data(), list.size(), 0), 0)
        << "a file system without access control lists?";
    pending_file file(folder_ / "a");
    file.commit();
    std::string kept(100, '\0');
    const auto size = ::getxattr(path.c_str(), name, kept.data(), kept.size());
    ASSERT_GT(size, 0);
    kept.resize(static_cast<std::size_t>(size));
    EXPECT_EQ(kept, list);
}

TEST_F(PendingFileTest, stays_where_it_was_begun)
{
    const auto here = fs::current_path();
    fs::current_path(folder_.path());
    pending_file file("a");
    fs::current_path(here);
    write_bytes(file.path(), "whole");
    file.commit();
    EXPECT_EQ(read_bytes(folder_ / "a"), "whole");
}

TEST_F(PendingFileTest, needs_a_name)
{
    EXPECT_THROW(pending_file{fs::path()}, failure);
    EXPECT_THROW(pending_file(folder_ / ""), failure);
}

TEST_F(PendingFileTest, never_runs_as_another_user)
{
    write_bytes(folder_ / "a", "old");
    fs::permissions(folder_ / "a", fs::perms::owner_all | fs::perms::set_uid | fs::perms::set_gid |
                                       fs::perms::sticky_bit);
    pending_file file(folder_ / "a");
    file.commit();
    EXPECT_EQ(fs::status(folder_ / "a").permissions(), fs::perms::owner_all);
}

TEST_F(PendingFileTest, gets_the_permissions_of_any_new_file)
{
    write_bytes(folder_ / "other", "");
    pending_file file(folder_ / "a");
    file.commit();
    EXPECT_EQ(fs::status(folder_ / "a").permissions(), fs::status(folder_ / "other").permissions());
}

TEST_F(PendingFileTest, follows_a_link)
{
    write_bytes(folder_ / "real", "old");
    fs::create_symlink("real", folder_ / "link");
    replace(folder_ / "link", "new");
    EXPECT_TRUE(fs::is_symlink(folder_ / "link"));
    EXPECT_EQ(read_bytes(folder_ / "real"), "new");
}

TEST_F(PendingFileTest, follows_links_to_what_is_not_there_yet)
{
    fs::create_directory(folder_ / "folder");
    fs::create_symlink("folder/link", folder_ / "link");
    fs::create_symlink("real", folder_ / "folder" / "link");
    replace(folder_ / "link", "new");
    EXPECT_TRUE(fs::is_symlink(folder_ / "link"));
    EXPECT_TRUE(fs::is_symlink(folder_ / "folder" / "link"));
    EXPECT_EQ(read_bytes(folder_ / "folder" / "real"), "new");
}

TEST_F(PendingFileTest, refuses_a_link_that_only_the_system_can_follow_to_a_pipe)
{
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    try {
        pending_file("/proc/self/fd/" + std::to_string(ends[1]));
        ADD_FAILURE() << "was taken";
    } catch (const failure& refused) {
        EXPECT_THAT(refused.what(), HasSubstr("it is no regular file"));
    }
    ::close(ends[0]);
    ::close(ends[1]);
}

TEST_F(PendingFileTest, refuses_links_that_lead_nowhere)
{
    fs::create_symlink("b", folder_ / "a");
    fs::create_symlink("a", folder_ / "b");
    EXPECT_THROW(pending_file(folder_ / "a"), failure);
    fs::create_symlink("missing/file", folder_ / "c");
    EXPECT_THROW(pending_file(folder_ / "c"), failure);
}

TEST_F(PendingFileTest, refuses_what_is_no_regular_file)
{
    fs::create_directory(folder_ / "folder");
    EXPECT_THROW(pending_file(folder_ / "folder"), failure);
    EXPECT_THROW(pending_file("/dev/null"), failure);
    EXPECT_THAT(names(), ElementsAre("folder"));
}

TEST_F(PendingFileTest, refuses_a_folder_that_is_not_there)
{
    try {
        pending_file file(folder_ / "missing" / "a");
        FAIL() << "was made";
    } catch (const failure& error) {
        EXPECT_THAT(error.what(), HasSubstr("missing"));
        EXPECT_THAT(error.what(), HasSubstr("No such file"));
    }
}

TEST_F(PendingFileTest, commit_tells_when_the_name_cannot_be_given)
{
    pending_file file(folder_ / "a");
    fs::create_directory(folder_ / "a");
    EXPECT_THROW(file.commit(), failure);
}

struct stat file_of(uid_t owner, gid_t group, mode_t permissions)
{
    struct stat file {};
    file.st_uid = owner;
    file.st_gid = group;
    file.st_mode = S_IFREG | permissions;
    return file;
}

TEST(ModeInPlaceOfTest, is_the_old_one_without_what_lends_rights)
{
    const auto old = file_of(1, 2, 07654);
    EXPECT_EQ(mode_in_place_of(old, old), 0654U);
}

TEST(ModeInPlaceOfTest, gives_another_group_no_more_than_everybody)
{
    const auto made = file_of(0, 1, 06664);
    EXPECT_EQ(mode_in_place_of(file_of(0, 0, 06664), made), 0644U);
    EXPECT_EQ(mode_in_place_of(file_of(0, 0, 0070), made), 0600U);
}

TEST(ModeInPlaceOfTest, lets_another_owner_read_and_write)
{
    EXPECT_EQ(mode_in_place_of(file_of(0, 0, 0464), file_of(1, 0, 0464)), 0664U);
}

} // namespace
} // namespace tarnix::ftp
