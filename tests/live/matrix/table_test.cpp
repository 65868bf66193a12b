#include "differences.hpp"
#include "flavours.hpp"

#include <gmock/gmock.h>

#include <set>
#include <sstream>

namespace tarnix::test {
namespace {

TEST(TableTest, each_group_has_a_run_of_its_own)
{
    std::set<std::string> groups;
    for (const auto& one : flavours())
        groups.insert(one.group);
    std::istringstream words(TARNIX_MATRIX_GROUPS);
    std::set<std::string> runs;
    for (std::string word; words >> word;)
        runs.insert(word);
    EXPECT_EQ(runs, groups);
}

TEST(TableTest, no_two_flavours_have_one_name)
{
    std::set<std::string> names;
    for (const auto& one : flavours())
        EXPECT_TRUE(names.insert(one.full_name()).second) << one.full_name();
}

TEST(TableTest, flavours_without_transfers_say_why)
{
    for (const auto& one : flavours()) {
        const auto transfers =
            one.checks != coverage::no_data_transfer && one.checks != coverage::none;
        EXPECT_EQ(one.obstacle.empty(), transfers) << one.full_name();
        EXPECT_EQ(one.library_says.empty(), transfers) << one.full_name();
        EXPECT_EQ(one.session_says.empty(), transfers) << one.full_name();
    }
}

TEST(TableTest, each_difference_is_about_a_check_on_a_server)
{
    std::set<std::string> servers{"SFTP"};
    for (const auto& one : flavours())
        servers.insert({one.server, one.software(), one.full_name()});
    for (const auto& row : differences()) {
        EXPECT_THAT(servers, testing::Contains(row.who));
        EXPECT_THAT(known_checks(),
                    testing::Contains(std::pair(std::string(row.layer), std::string(row.check))));
    }
}

} // namespace
} // namespace tarnix::test
